// The % directives against the C library.
#include "kernel/print/print_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

using namespace tarn;

namespace {

class Formats {
public:
    /// The same directive for both, without its size: flags, width and precision in all mixtures.
    std::string Next(std::string_view conversions) {
        std::string format = "%";
        for (const char flag : {'-', '+', ' ', '#', '0'})
            if (m_random() % 4 == 0) format += flag;
        if (m_random() % 2) format += std::to_string(1 + m_random() % 30);
        if (m_random() % 2)
            format += "." + (m_random() % 8 ? std::to_string(m_random() % 20) : std::string());
        return format + conversions[m_random() % conversions.size()];
    }
    uint64_t Bits() { return m_random() >> m_random() % 64; }
    double Double() {
        using Limits = std::numeric_limits<double>;
        constexpr double INF = Limits::infinity(), NAN_ = Limits::quiet_NaN(), MOST = Limits::max(),
                         LEAST = Limits::denorm_min();
        constexpr double SPECIAL[] = {0.0,   -0.0,     0.5,  1.5,  2.5, 0.05, 1e15, 1e16, 1e17,
                                      9.995, 999999.5, 1e-5, 1e-4, INF, -INF, NAN_, MOST, LEAST};
        switch (m_random() % 4) {
        case 0: return SPECIAL[m_random() % std::size(SPECIAL)];
        case 1:
            return std::ldexp(static_cast<double>(static_cast<int64_t>(m_random())),
                              -63 - static_cast<int>(m_random() % 40));
        case 2: return static_cast<double>(static_cast<int64_t>(Bits())) / 1000;
        default:
            return std::ldexp(static_cast<double>(m_random() >> 11),
                              static_cast<int>(m_random() % 1900) - 1000);
        }
    }

private:
    std::mt19937_64 m_random{11};
};

template <class... Values>
std::string Ours(const std::string& format, Values... values) {
    const std::u16string wide = PrintText(std::u16string(format.begin(), format.end()).c_str(), values...);
    return {wide.begin(), wide.end()};
}

template <class... Values>
std::string Theirs(const std::string& format, Values... values) {
    char text[2048];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    std::snprintf(text, sizeof text, format.c_str(), values...);
#pragma GCC diagnostic pop
    return text;
}

std::string WithSize(std::string format, const char* size) { return format.insert(format.size() - 1, size); }

TEST(PrintF, WholeNumbersAsTheCLibraryHasThem) {
    Formats formats;
    for (int i = 0; i < 100000; i++) {
        const std::string format = formats.Next("diuxXo");
        const uint64_t bits = formats.Bits();
        const auto word = static_cast<int32_t>(bits);
        const auto big = static_cast<int64_t>(bits);
        ASSERT_EQ(Ours(format, word), Theirs(format, word)) << format;
        ASSERT_EQ(Ours(WithSize(format, "I32"), word), Theirs(format, word)) << format;
        ASSERT_EQ(Ours(WithSize(format, "l"), word), Theirs(format, word)) << format;
        ASSERT_EQ(Ours(WithSize(format, "h"), word), Theirs(WithSize(format, "h"), word)) << format;
        ASSERT_EQ(Ours(WithSize(format, "hh"), word), Theirs(WithSize(format, "hh"), word)) << format;
        ASSERT_EQ(Ours(WithSize(format, "I64"), big), Theirs(WithSize(format, "l"), big)) << format;
        ASSERT_EQ(Ours(WithSize(format, "ll"), big), Theirs(WithSize(format, "ll"), big)) << format;
    }
}

TEST(PrintF, FloatingPointAsTheCLibraryHasIt) {
    Formats formats;
    for (int i = 0; i < 200000; i++) {
        const std::string format = formats.Next("feEgG");
        const double value = formats.Double();
        ASSERT_EQ(Ours(format, value), Theirs(format, value)) << format << " " << std::hexfloat << value;
    }
}

TEST(PrintF, ManyDirectivesTakeTheirValuesInOrder) {
    Formats formats;
    for (int i = 0; i < 5000; i++) {
        const std::string format = formats.Next("dux") + " and " + formats.Next("fg") + ", " +
                                   WithSize(formats.Next("dx"), "ll") + "; " + formats.Next("d") + "%%" +
                                   formats.Next("e");
        const auto a = static_cast<int32_t>(formats.Bits()), d = static_cast<int32_t>(formats.Bits());
        const double b = formats.Double(), e = formats.Double();
        const auto c = static_cast<int64_t>(formats.Bits());
        ASSERT_EQ(Ours(format, a, b, c, d, e), Theirs(format, a, b, c, d, e)) << format;
    }
}

}  // namespace
