// Any format, with the arguments that its directives read, into any capacity: nothing is written past it, the
// length is true, and a smaller capacity gives the beginning of the same text.
#include "kernel/print/directive.h"
#include "kernel/print/print.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr char16_t TEXT[] = u"text";

/// Arguments as they lie in a call: eight of each kind are passed, so the format is cut where it would read
/// more, or where it mixes the kinds of registers.
struct Wanted {
    size_t whole = 0, real = 0;
};

std::u16string UsableFormat(const std::u16string& format) {
    // Integers, texts and characters share the general registers and the stack: all are passed as
    // pointers to the same text, which is right for each of them.
    Wanted wanted;
    size_t at = 0;
    while (at < format.size()) {
        const char16_t c = format[at];
        if (c != u'$' && c != u'%') {
            at++;
            continue;
        }
        if (at + 1 < format.size() && format[at + 1] == c) {
            at += 2;
            continue;
        }
        Directive d;
        const size_t length = ParseDirective(std::u16string_view(format).substr(at + 1), d);
        if (length == 0) {
            at++;
            continue;
        }
        const bool isReal = std::strchr("feEgG", d.conversion);
        const bool isNone = std::strchr("!&*,:", d.conversion);
        size_t& count = isReal ? wanted.real : wanted.whole;
        if (!isNone && ++count > 8) return format.substr(0, at);
        at += 1 + length;
    }
    return format;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 10 || size > 2000) return 0;
    double real = 0;
    std::memcpy(&real, data, sizeof real);
    const uint32_t capacity = data[8] | static_cast<uint32_t>(data[9] & 3) << 8;
    std::u16string format((size - 10) / 2, u'\0');
    std::memcpy(format.data(), data + 10, format.size() * 2);
    // Mostly ASCII makes more directives.
    for (char16_t& c : format)
        if (c > 0x200) c = static_cast<char16_t>(c % 0x60 + 0x20);
    format = UsableFormat(format.c_str());

    const auto print = [&](std::vector<char16_t>& out) {
        uint32_t length = 0;
        const int32_t written =
            QmCchPrintF(out.data(), static_cast<uint32_t>(out.size()), &length, format.c_str(), TEXT, TEXT,
                        TEXT, TEXT, TEXT, TEXT, TEXT, TEXT, real, real, real, real, real, real, real, real);
        if (length != static_cast<uint32_t>(written)) std::abort();
        if (!out.empty() && (length >= out.size() || out[length] != 0)) std::abort();
        return length;
    };
    std::vector<char16_t> whole(100000), part(capacity);
    const uint32_t all = print(whole), some = print(part);
    if (capacity && some != std::min(all, capacity - 1)) std::abort();
    if (some && std::memcmp(whole.data(), part.data(), some * sizeof(char16_t)) != 0) std::abort();
    return 0;
}
