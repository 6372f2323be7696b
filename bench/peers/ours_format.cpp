// The print engine's rows for the program that measures the peers' formatting; its harness and data stand
// beside it there.
#include "peers.h"

#include "kernel/formats/inat.h"
#include "kernel/lang/lang.h"
#include "kernel/print/print.h"
#include "platform/locale.h"

#include <cmath>

using namespace tarn;

namespace {
constexpr size_t N = 1024;
int32_t ints[N];
double dbls[N];
char16_t buf[256];

template <class F>
void add(const char* work, F f) {
    peers::row(work, "ours", "1", static_cast<double>(N), 0, [=]() -> std::function<void()> {
        return [=] {
            for (size_t i = 0; i < N; i++) {
                f(i);
                benchmark::ClobberMemory();
            }
        };
    });
}

peers::AddRows rows([] {
    SetUserLocale("en_US");
    QmLang_GetInternationals(KernelLang());
    peers::Rng r(5);  // the same numbers as the peers'
    for (size_t i = 0; i < N; i++) {
        const int digits = 1 + static_cast<int>(r() % 9);
        const double m = std::pow(10.0, digits);
        ints[i] = static_cast<int>(r.unit() * m) * (r() & 1 ? 1 : -1);
        dbls[i] = r.unit() * std::pow(10.0, static_cast<int>(r() % 5)) * (r() & 1 ? 1 : -1);
    }
    add("grouped_int", [](size_t i) { QmCchPrintF(buf, 256, nullptr, u"$d", ints[i]); });
    add("plain_int", [](size_t i) { QmCchPrintF(buf, 256, nullptr, u"%d", ints[i]); });
    add("fixed1", [](size_t i) { QmCchPrintF(buf, 256, nullptr, u"%.1f", dbls[i]); });
    add("mixed_line", [](size_t i) {
        QmCchPrintF(buf, 256, nullptr, u"%-12s|%6d|%08.3f|%x", u"Track 17", ints[i] % 100000, dbls[i],
                    static_cast<uint32_t>(i));
    });
});
}  // namespace
