#include "controls/number_text.h"

#include "kernel/print/print_text.h"

using namespace tarn;

std::u16string NumberText(double value, const char16_t* format) {
    std::u16string text = PrintText(format, value);
    const bool isZero = text.find_first_of(u"123456789") == text.npos && text.find(u'0') != text.npos;
    return isZero && value < 0 ? PrintText(format, 0.0) : text;
}
