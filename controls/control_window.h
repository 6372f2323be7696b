// Controls as windows: a registered class makes a window that owns one instance record and forwards
// everything to it. Notifications go to the parent when that is a message window, and to whoever asked for
// them with OnNotify. All on the window's thread.
#pragma once

#include "platform/ui/window.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

/// A control that takes values reports each change to the window above by one of these: wparam the code in
/// the low word, lparam the control's ControlHost.
inline constexpr uint32_t WM_HSCROLL = 276, WM_VSCROLL = 277;

/// What a screen reader is told of a control.
struct ControlFace {
    enum class Kind { Slider, Meter, Picture } kind;
    std::u16string (*name)();
    /// All null where there is no value.
    double (*value)(const void* record);
    double (*low)(const void* record);
    double (*high)(const void* record);
    double (*step)(const void* record);
    /// What is said for the value.
    std::u16string (*text)(const void* record);
    /// Null for what only shows. Reports the change as a user's.
    void (*set)(void* record, double value);
};

struct ControlClass {
    const char16_t* name = nullptr;
    size_t recordSize = 0;
    void (*init)(void* record, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) = nullptr;
    void (*deinit)(void* record) = nullptr;
    void (*move)(void* record, const RECT* rect) = nullptr;
    void (*draw)(void* record, QPainter* painter) = nullptr;
    intptr_t (*message)(void* record, uint32_t message, uintptr_t wparam, intptr_t lparam) = nullptr;
    ControlFace face{};
    bool showsFocus = false;  ///< the control draws its focus itself
    /// Paints over the last paint what changed since; null: it is all painted.
    BOOL (*drawChanges)(void* record, QPainter* painter, RECT* changed) = nullptr;
};

/// A class of the functions of an instance.
template <class Record, auto Deinit, auto Move, auto Draw, auto Message>
constexpr ControlClass ControlClassOf(const char16_t* name, decltype(ControlClass::init) init,
                                      const ControlFace& face, bool showsFocus) {
    return {name,
            sizeof(Record),
            init,
            [](void* r) { Deinit(static_cast<Record*>(r)); },
            [](void* r, const RECT* rect) { Move(static_cast<Record*>(r), rect); },
            [](void* r, QPainter* painter) { Draw(static_cast<Record*>(r), painter); },
            [](void* r, uint32_t message, uintptr_t wparam, intptr_t lparam) {
                return Message(static_cast<Record*>(r), message, wparam, lparam);
            },
            face,
            showsFocus};
}

/// False when a class of that name is there. The table must outlive its registration.
bool RegisterControlClass(const ControlClass& type);
void UnregisterControlClass(const ControlClass& type);

class ControlWindow final : public MessageWindow {
public:
    ControlWindow(const ControlClass& type, uint32_t style, uint32_t id, QWidget* parent);
    ~ControlWindow() override;

    const ControlClass& Class() const { return m_class; }
    void* Record() { return m_record.get(); }
    const void* Record() const { return m_record.get(); }

    /// Called with every notification, before the parent; what it returns other than 0 is the answer.
    std::function<intptr_t(uint32_t message, uintptr_t wparam, intptr_t lparam)> OnNotify;

    /// Paints what the last messages changed without a paint of the whole: for meters, many times a second.
    void Refresh();

    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    intptr_t Send(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    /// In the window above, where there is room for it.
    void TrackTip(std::u16string_view text, POINT screen) override;

private:
    void Paint(const PaintInfo& paint);
    intptr_t Key(uint32_t message, uintptr_t wparam, intptr_t lparam);

    const ControlClass& m_class;
    std::unique_ptr<std::byte[]> m_record;
    std::unique_ptr<Tips> m_tip;
    bool m_focused = false;
};

extern "C" {
/// A window of a registered class, or null. The parent owns it; without one the caller does, and deletes it.
QM_API ControlWindow* QmCreateControl(const char16_t* className, uint32_t style, const RECT* rect,
                                      QWidget* parent, uint32_t id);
/// Sends a message to a control; its answer.
QM_API intptr_t QmSendControl(ControlWindow* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
}

/// The control of a class in a window that somebody gave; null for any other window.
template <class Record>
Record* RecordOf(ControlWindow* window, const ControlClass& type) {
    return window && &window->Class() == &type ? static_cast<Record*>(window->Record()) : nullptr;
}
