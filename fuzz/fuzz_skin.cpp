// Images of skins and files of settings, on any bytes: refused, or read to the end of what was said to be
// there.
#include "image/skin_bmp.h"
#include "kernel/profile/profile.h"

#include <cstdlib>
#include <numeric>
#include <string_view>

using namespace tarn;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tQMSKINBMP bmp;
    const HRESULT hr = QmSkin_Bmp_Load(&bmp, data, size);
    if (Failed(hr) != (bmp.pixels == nullptr)) std::abort();
    if (bmp.pixels && int64_t{bmp.width} * bmp.height < 1 << 16) {
        QmSkin_Colorize(&bmp, 0x804020);
        QmSkin_TintDib(&bmp, 0x123456, 77);
        volatile uint32_t sum = std::accumulate(bmp.pixels, bmp.pixels + int64_t{bmp.width} * bmp.height, 0u);
        (void)sum;
    }
    QmSkin_Bmp_Free(&bmp);

    const std::string_view text(reinterpret_cast<const char*>(data), size);
    IniFile file(text);
    file.Set("colors", "COLOR_MENU", "#102030");
    const IniFile again(file.Text());
    const std::string* value = again.Find("colors", "COLOR_MENU");
    if (!value || ColorFromText(*value) != 0x302010) std::abort();
    ColorFromText(text);
    return 0;
}
