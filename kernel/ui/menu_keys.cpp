#include "kernel/ui/menu_keys.h"

#include "kernel/lang/kernel_strings.h"
#include "platform/ui/messages.h"

#include <algorithm>
#include <iterator>

using namespace tarn;

namespace {
struct NamedKey {
    uint32_t key, scan;
    const QMLANGSTRINGID* name;
};
const NamedKey kNamed[] = {
    {VK_BACK, 0x0E, &KS_Key_Backspace}, {VK_TAB, 0x0F, &KS_Key_Tab},
    {VK_RETURN, 0x1C, &KS_Key_Enter},   {VK_ESCAPE, 0x01, &KS_Key_Escape},
    {VK_SPACE, 0x39, &KS_Key_Space},    {VK_PRIOR, 0x149, &KS_Key_PageUp},
    {VK_NEXT, 0x151, &KS_Key_PageDown}, {VK_END, 0x14F, &KS_Key_End},
    {VK_HOME, 0x147, &KS_Key_Home},     {VK_LEFT, 0x14B, &KS_Key_Left},
    {VK_UP, 0x148, &KS_Key_Up},         {VK_RIGHT, 0x14D, &KS_Key_Right},
    {VK_DOWN, 0x150, &KS_Key_Down},     {VK_INSERT, 0x152, &KS_Key_Insert},
    {VK_DELETE, 0x153, &KS_Key_Delete},
};

// By position: the rows of letters and digits as they lie on the keyboard.
struct KeyBlock {
    uint32_t scan;
    const char* keys;
};
constexpr KeyBlock kBlocks[] = {
    {0x02, "1234567890"}, {0x10, "QWERTYUIOP"}, {0x1E, "ASDFGHJKL"}, {0x2C, "ZXCVBNM"}};
constexpr uint32_t kF1Scan = 0x3B, kF11Scan = 0x57;
constexpr uint32_t kPadScans[] = {0x52, 0x4F, 0x50, 0x51, 0x4B, 0x4C, 0x4D, 0x47, 0x48, 0x49};

const NamedKey* Named(uint32_t key) {
    const auto* row = std::ranges::find(kNamed, key, &NamedKey::key);
    return row == std::end(kNamed) ? nullptr : row;
}

bool IsFunction(uint32_t key) { return key >= VK_F1 && key <= VK_F24; }
bool IsPadDigit(uint32_t key) { return key >= VK_NUMPAD0 && key <= VK_NUMPAD9; }
bool IsCharacter(uint32_t key) { return (key >= '0' && key <= '9') || (key >= 'A' && key <= 'Z'); }

std::u16string Number(uint32_t n) {
    std::u16string text;
    for (const char c : std::to_string(n)) text += static_cast<char16_t>(c);
    return text;
}

std::u16string KeyName(uint32_t key) {
    if (const NamedKey* named = Named(key)) return KernelText(*named->name);
    if (IsCharacter(key)) return std::u16string(1, static_cast<char16_t>(key));
    if (key == VK_OEM_3) return u"`";
    std::u16string name;
    if (IsFunction(key)) name.append(u"F").append(Number(key - VK_F1 + 1));
    if (IsPadDigit(key)) name.append(KernelText(KS_Key_Pad)).append(u" ").append(Number(key - VK_NUMPAD0));
    return name;
}
}  // namespace

std::u16string AcceleratorText(const QMACCEL& accelerator) {
    const std::u16string key = KeyName(accelerator.key);
    if (key.empty()) return {};
    std::u16string text;
    const auto add = [&](uint32_t flag, const QMLANGSTRINGID& name) {
        if (accelerator.flags & flag) text.append(KernelText(name)).append(u"+");
    };
    add(ACCEL_CTRL, KS_Key_Ctrl);
    add(ACCEL_ALT, KS_Key_Alt);
    add(ACCEL_SHIFT, KS_Key_Shift);
    return text.append(key);
}

uint32_t VirtualKeyScanCode(uint32_t key) {
    if (const NamedKey* named = Named(key)) return named->scan;
    if (IsPadDigit(key)) return kPadScans[key - VK_NUMPAD0];
    if (IsFunction(key)) {
        const uint32_t n = key - VK_F1;
        return n < 10 ? kF1Scan + n : n < 12 ? kF11Scan + n - 10 : 0;
    }
    for (const KeyBlock& block : kBlocks)
        for (uint32_t i = 0; block.keys[i]; i++)
            if (static_cast<uint32_t>(block.keys[i]) == key) return block.scan + i;
    return 0;
}
