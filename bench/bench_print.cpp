// The print engine beside the C library, {fmt} and ICU, on the same random numbers; one item a call.
#include "kernel/formats/inat.h"
#include "kernel/lang/lang.h"
#include "kernel/print/print.h"
#include "platform/locale.h"

#include <benchmark/benchmark.h>
#include <unicode/numberformatter.h>
#include <unicode/unum.h>

#include <cmath>
#include <cstdio>
#include <cwchar>
#include <random>
#ifdef TARN_BENCH_FMT
#include <fmt/format.h>
#include <fmt/xchar.h>
#endif

using namespace tarn;

namespace {

constexpr size_t COUNT = 1024;

struct Numbers {
    int32_t whole[COUNT];
    double real[COUNT];

    Numbers() {
        std::mt19937 random(5);
        for (size_t i = 0; i < COUNT; i++) {
            const double size = std::pow(10.0, 1 + random() % 9), sign = random() & 1 ? 1 : -1;
            whole[i] = static_cast<int32_t>(random() / 4294967296.0 * size * sign);
            real[i] = random() / 4294967296.0 * std::pow(10.0, random() % 5) * sign;
        }
        SetUserLocale("en_US");
        QmLang_GetInternationals(KernelLang());
    }
};
const Numbers& Data() {
    static const Numbers numbers;
    return numbers;
}

template <class Call>
void Run(benchmark::State& state, Call call) {
    const Numbers& numbers = Data();
    size_t i = 0;
    for (auto _ : state) {
        call(numbers.whole[i % COUNT], numbers.real[i % COUNT]);
        benchmark::ClobberMemory();
        i++;
    }
}

char16_t out16[256];
wchar_t outW[256];
char out8[256];

#define OURS(name, format, value)                                                                            \
    void name(benchmark::State& state) {                                                                     \
        Run(state, [](int32_t whole, double real) {                                                          \
            (void)whole, (void)real;                                                                         \
            QmCchPrintF(out16, 256, nullptr, format, value);                                                 \
        });                                                                                                  \
    }                                                                                                        \
    BENCHMARK(name)

OURS(Ours_GroupedInt, u"$d", whole);
OURS(Ours_Int, u"%d", whole);
OURS(Ours_GroupedFixed1, u"$.1f", real);
OURS(Ours_Fixed1, u"%.1f", real);
OURS(Ours_FixedPoint2, u"$.2z", whole);
OURS(Ours_Text, u"%s", u"Track 17");

void Ours_Line(benchmark::State& state) {
    Run(state, [](int32_t whole, double real) {
        QmCchPrintF(out16, 256, nullptr, u"%-12s|%6d|%08.3f|%x", u"Track 17", whole % 100000, real,
                    static_cast<uint32_t>(whole));
    });
}
BENCHMARK(Ours_Line);

#define PEER(name, call)                                                                                     \
    void name(benchmark::State& state) {                                                                     \
        Run(state, [](int32_t whole, double real) {                                                          \
            (void)whole, (void)real;                                                                         \
            call;                                                                                            \
        });                                                                                                  \
    }                                                                                                        \
    BENCHMARK(name)

PEER(Snprintf_Int, std::snprintf(out8, 256, "%d", whole));
PEER(Swprintf_Int, std::swprintf(outW, 256, L"%d", whole));
PEER(Snprintf_Fixed1, std::snprintf(out8, 256, "%.1f", real));
PEER(Swprintf_Fixed1, std::swprintf(outW, 256, L"%.1f", real));
PEER(Swprintf_Text, std::swprintf(outW, 256, L"%ls", L"Track 17"));
PEER(Swprintf_Line, std::swprintf(outW, 256, L"%-12ls|%6d|%08.3f|%x", L"Track 17", whole % 100000, real,
                                  static_cast<uint32_t>(whole)));

UNumberFormat* IcuFormat(int32_t decimals) {
    UErrorCode status = U_ZERO_ERROR;
    UNumberFormat* format = unum_open(UNUM_DECIMAL, nullptr, 0, "en_US", nullptr, &status);
    unum_setAttribute(format, UNUM_FRACTION_DIGITS, decimals);
    return format;
}
void Icu_GroupedInt(benchmark::State& state) {
    UNumberFormat* const format = IcuFormat(0);
    Run(state, [&](int32_t whole, double) {
        UErrorCode status = U_ZERO_ERROR;
        unum_format(format, whole, out16, 256, nullptr, &status);
    });
    unum_close(format);
}
BENCHMARK(Icu_GroupedInt);
void Icu_GroupedFixed1(benchmark::State& state) {
    UNumberFormat* const format = IcuFormat(1);
    Run(state, [&](int32_t, double real) {
        UErrorCode status = U_ZERO_ERROR;
        unum_formatDouble(format, real, out16, 256, nullptr, &status);
    });
    unum_close(format);
}
BENCHMARK(Icu_GroupedFixed1);

#ifdef TARN_BENCH_FMT
PEER(Fmt_Int, *fmt::format_to_n(outW, 255, L"{}", whole).out = 0);
PEER(Fmt_Fixed1, *fmt::format_to_n(outW, 255, L"{:.1f}", real).out = 0);
PEER(Fmt_Text, *fmt::format_to_n(outW, 255, L"{}", L"Track 17").out = 0);
PEER(Fmt_Line, *fmt::format_to_n(outW, 255, L"{:<12}|{:6}|{:08.3f}|{:x}", L"Track 17", whole % 100000, real,
                                 static_cast<uint32_t>(whole))
                    .out = 0);
#endif

}  // namespace
