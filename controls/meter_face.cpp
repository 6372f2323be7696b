#include "controls/meter_face.h"

#include "controls/number_text.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/ui/theme.h"

using namespace tarn;

std::u16string MeterName() { return KernelText(KS_Control_Meter); }
std::u16string DecibelText(double decibels) { return NumberText(decibels) + u" dB"; }

void TakeThemeColors(tQMMETER& meter) {
    const MeterTones tones = ThemeMeterTones();
    MeterInst_Message(&meter, METERM_SETCOLORS, tones.background, tones.text);
    MeterInst_Message(&meter, METERM_SETCLIPCOLORS, tones.clipText, tones.clipTextBackground);
    MeterInst_Message(&meter, METERM_SETCLIPBACKGROUND, tones.clipBackground, 0);
}
