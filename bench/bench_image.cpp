// Compositing, scaling and video at 1080p, on one thread and on two, beside other libraries and memcpy with
// the same traffic. The counter `of_memcpy` is the share of memcpy's speed in the same run.
#include "image/composite.h"
#include "image/dib_copy.h"
#include "image/dib_opencl.h"
#include "image/scale.h"

#include <benchmark/benchmark.h>

#ifdef TARN_BENCH_SWSCALE
extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}
#endif
#ifdef TARN_BENCH_YUV
#include <libyuv.h>
#endif
#ifdef _OPENMP
#include <omp.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

using namespace tarn;

namespace {

constexpr int32_t WIDTH = 1920, HEIGHT = 1080;

OwnedDib Noise(QMPIXELTYPE type, int32_t width, int32_t height) {
    BITMAPINFOHEADER* dib = nullptr;
    if (QmDibAlloc(&dib, type, width, height, nullptr, 0, 0, 0) != S_OK) std::abort();
    auto* bytes = static_cast<uint8_t*>(QmDibBits(dib));
    uint64_t x = 1;
    for (uint32_t i = 0; i < dib->biSizeImage; i++) {
        x = x * 6364136223846793005u + 1442695040888963407u;
        bytes[i] = static_cast<uint8_t>(x >> 56);
    }
    if (type == QMPIXEL_RGBAFLOAT)
        for (uint32_t i = 0; i < dib->biSizeImage / 4; i++)
            reinterpret_cast<float*>(bytes)[i] = static_cast<float>(bytes[4 * i]) / 255.0f;
    return OwnedDib(dib);
}
uint8_t* Bits(const OwnedDib& dib) { return static_cast<uint8_t*>(QmDibBits(dib.get())); }

double SecondsOf(const std::function<void()>& work) {
    double best = 1e9;
    for (int round = 0; round < 9; round++) {
        const auto start = std::chrono::steady_clock::now();
        work();
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

/// Reads `in` bytes and writes `out` in one call of `work`.
void Row(const std::string& name, uint64_t in, uint64_t out, const std::function<void()>& work,
         int threads = 1) {
    const auto run = [=](benchmark::State& state) {
#ifdef _OPENMP
        omp_set_num_threads(threads);
#endif
        static const OwnedDib from = Noise(QMPIXEL_RGBA32, 8192, 4096),
                              to = Noise(QMPIXEL_RGBA32, 8192, 4096);
        for (auto _ : state) work();
        const double ours = SecondsOf(work);
        const double limit =
            SecondsOf([&] { std::memcpy(Bits(to), Bits(from), static_cast<size_t>((in + out) / 2)); });
        state.counters["of_memcpy"] = limit / ours;
    };
    const std::string full = threads == 1 ? name : name + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(full.c_str(), run)->UseRealTime()->Unit(benchmark::kMillisecond);
}

void RowOnOneAndTwo(const std::string& name, uint64_t in, uint64_t out, const std::function<void()>& work) {
    Row(name + "/ours", in, out, work);
    Row(name + "/ours", in, out, work, 2);
}

using Shared = std::shared_ptr<OwnedDib>;
Shared Keep(OwnedDib dib) { return std::make_shared<OwnedDib>(std::move(dib)); }

void AddComposites() {
    for (const QMPIXELTYPE type : {QMPIXEL_RGBA32_ALT, QMPIXEL_RGBAFLOAT}) {
        const Shared dst = Keep(Noise(type, WIDTH, HEIGHT)), src = Keep(Noise(type, WIDTH, HEIGHT));
        const uint64_t bytes = (*dst)->biSizeImage;
        const std::string kind = type == QMPIXEL_RGBAFLOAT ? "_float" : "";
        for (const int32_t mode : {1, 3, 4, 6}) {
            const auto work = [=] {
                const QMCOMPOSITEPARAMS params{sizeof params, mode, {}};
                QmDibComposite(dst->get(), nullptr, nullptr, 0, src->get(), nullptr, nullptr, 0, &params, 0);
            };
            RowOnOneAndTwo("composite" + std::to_string(mode) + kind, 2 * bytes, bytes, work);
        }
        if (DibComposite_OpenCL_Initialize() != S_OK) continue;
        Row("composite4" + kind + "/opencl", 2 * bytes, bytes, [=] {
            const QMCOMPOSITEPARAMS params{sizeof params, COMPOSITE_OVER, {}};
            QmDibCompositeOCL(dst->get(), nullptr, nullptr, 0, src->get(), nullptr, nullptr, 0, &params, 0);
        });
    }
}

void AddScales() {
    const Shared src = Keep(Noise(QMPIXEL_RGBA32_ALT, WIDTH, HEIGHT));
    for (const SIZE size : {SIZE{1280, 720}, SIZE{3840, 2160}}) {
        const Shared dst = Keep(Noise(QMPIXEL_RGBA32_ALT, size.cx, size.cy));
        const uint64_t in = (*src)->biSizeImage, out = (*dst)->biSizeImage;
        const std::string to = size.cy == 720 ? "/720" : "/2160";
        const auto add = [&](const char* name, auto scale) {
            RowOnOneAndTwo(name + to, in, out, [=] {
                const SIZE from{WIDTH, HEIGHT};
                scale(Bits(*dst), &size, size.cx * 4, nullptr, Bits(*src), &from, WIDTH * 4, nullptr, 4u);
            });
        };
        add("bilinear", QmDibScale_Bilinear);
        add("bicubic", QmDibScale_BiCubic);
#ifdef TARN_BENCH_YUV
        Row("bilinear" + to + "/libyuv", in, out, [=] {
            libyuv::ARGBScale(Bits(*src), WIDTH * 4, WIDTH, HEIGHT, Bits(*dst), size.cx * 4, size.cx, size.cy,
                              libyuv::kFilterBilinear);
        });
#endif
    }
}

void AddVideo() {
    for (const QMPIXELTYPE type : {QMPIXEL_NV12, QMPIXEL_I420}) {
        const Shared src = Keep(Noise(type, WIDTH, HEIGHT)), dst = Keep(Noise(QMPIXEL_RGBA32, WIDTH, HEIGHT));
        const uint64_t in = (*src)->biSizeImage, out = (*dst)->biSizeImage;
        const std::string name = type == QMPIXEL_NV12 ? "nv12_to_rgba" : "i420_to_rgba";
        RowOnOneAndTwo(name, in, out,
                       [=] { QmDibCopy(dst->get(), nullptr, 0, src->get(), nullptr, 0, DIB_COPY_BT709); });
        const bool isSemi = type == QMPIXEL_NV12;
        const int chroma = isSemi ? WIDTH : WIDTH / 2;
        uint8_t *y = Bits(*src), *u = y + WIDTH * HEIGHT, *v = u + WIDTH * HEIGHT / 4;
#ifdef TARN_BENCH_YUV
        Row(name + "/libyuv", in, out, [=] {
            if (isSemi)
                libyuv::NV12ToARGB(y, WIDTH, u, WIDTH, Bits(*dst), WIDTH * 4, WIDTH, HEIGHT);
            else
                libyuv::H420ToARGB(y, WIDTH, u, chroma, v, chroma, Bits(*dst), WIDTH * 4, WIDTH, HEIGHT);
        });
#endif
#ifdef TARN_BENCH_SWSCALE
        const std::shared_ptr<SwsContext> context(
            sws_getContext(WIDTH, HEIGHT, isSemi ? AV_PIX_FMT_NV12 : AV_PIX_FMT_YUV420P, WIDTH, HEIGHT,
                           AV_PIX_FMT_BGRA, SWS_POINT, nullptr, nullptr, nullptr),
            sws_freeContext);
        Row(name + "/swscale", in, out, [=] {
            const uint8_t* const planes[4] = {y, u, isSemi ? nullptr : v, nullptr};
            const int strides[4] = {WIDTH, chroma, isSemi ? 0 : chroma, 0}, to[4] = {WIDTH * 4};
            uint8_t* const out4[4] = {Bits(*dst)};
            sws_scale(context.get(), planes, strides, 0, HEIGHT, out4, to);
        });
#endif
        (void)chroma, (void)v;
    }
}

}  // namespace

int main(int argc, char** argv) {
    AddComposites();
    AddScales();
    AddVideo();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
