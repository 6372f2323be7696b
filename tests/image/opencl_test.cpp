// The device's forms beside those of the processor.
#include "image/dib_opencl.h"
#include "image/video_layout.h"
#include "tests/image/image_support.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>

using namespace tarn;

namespace {

struct Family {
    HRESULT (*initialize)();
    void (*shutdown)();
};
constexpr Family FAMILIES[] = {{DibComposite_OpenCL_Initialize, DibComposite_OpenCL_Shutdown},
                               {DibCopy_OpenCL_Initialize, DibCopy_OpenCL_Shutdown},
                               {DibInterlace_OpenCL_Initialize, DibInterlace_OpenCL_Shutdown},
                               {VidHelp_OpenCL_Initialize, VidHelp_OpenCL_Shutdown},
                               {YUV_OpenCL_Initialize, YUV_OpenCL_Shutdown}};

/// Programs of the tests are not kept with the user's.
class OpenCL : public testing::Test {
protected:
    void SetUp() override {
        char folder[] = "/tmp/tarn-opencl-XXXXXX";
        m_cache = ::mkdtemp(folder);
        ::setenv("XDG_CACHE_HOME", m_cache.c_str(), 1);
        for (const Family& family : FAMILIES)
            ASSERT_EQ(family.initialize(), S_OK) << "no device; pocl is one";
    }
    void TearDown() override {
        for (const Family& family : FAMILIES) family.shutdown();
        std::filesystem::remove_all(m_cache);
    }

    OwnedDib Noise(QMPIXELTYPE type, int32_t width, int32_t height) {
        OwnedDib dib = NewDib(type, width, height);
        FillRandom(dib, m_random);
        if (type == QMPIXEL_RGBAFLOAT)
            for (uint32_t i = 0; i < dib->biSizeImage / 4; i++)
                reinterpret_cast<float*>(Bits(dib))[i] = static_cast<float>(m_random() % 1001) / 1000;
        return dib;
    }
    static QMDIBREF Ref(const OwnedDib& dib) { return {dib.get(), nullptr, 0}; }

    /// The same bits for bytes, 1e-6 for floats.
    static void ExpectClose(const OwnedDib& found, const OwnedDib& expected, const std::string& what) {
        if (found->biBitCount != 128) {
            ASSERT_EQ(Bytes(found), Bytes(expected)) << what;
            return;
        }
        for (uint32_t i = 0; i < found->biSizeImage / 4; i++)
            ASSERT_NEAR(reinterpret_cast<float*>(Bits(found))[i], reinterpret_cast<float*>(Bits(expected))[i],
                        1e-6)
                << what << ' ' << i;
    }
    /// Both forms on the same content.
    void Compare(const OwnedDib& start, const std::string& what,
                 const std::function<HRESULT(const QMDIBREF*)>& onProcessor,
                 const std::function<HRESULT(const QMDIBREF*)>& onDevice) {
        const OwnedDib expected = Copied(start), found = Copied(start);
        const QMDIBREF a = Ref(expected), b = Ref(found);
        ASSERT_EQ(onProcessor(&a), S_OK) << what;
        ASSERT_EQ(onDevice(&b), S_OK) << what;
        ExpectClose(found, expected, what);
    }
    static OwnedDib Copied(const OwnedDib& dib) { return Converted(dib, QmGetPixelType(dib.get())); }

    void ExpectComposites();
    void ExpectFilters();
    void ExpectRefusals();

    std::mt19937 m_random{15};
    std::string m_cache;
};

void OpenCL::ExpectComposites() {
    const RECT whole{0, 0, 61, 47}, larger{-9, 4, 75, 60}, smaller{5, 7, 30, 22}, part{3, 2, 40, 31};
    for (const QMPIXELTYPE type : {QMPIXEL_RGBA32_ALT, QMPIXEL_RGBAFLOAT})
        for (int32_t mode = 0; mode <= 4; mode++)
            for (const RECT* to : {&whole, &larger, &smaller}) {
                const OwnedDib base = Noise(type, 61, 47), over = Noise(type, 45, 33);
                const QMCOMPOSITEPARAMS params{sizeof params, mode, {}};
                const auto with = [&](auto composite) {
                    return [&, composite](const QMDIBREF* d) {
                        return composite(d->header, nullptr, to, 0, over.get(), nullptr, &part, 0, &params,
                                         0u);
                    };
                };
                Compare(base, "mode " + std::to_string(mode) + " left " + std::to_string(to->left),
                        with(QmDibComposite), with(QmDibCompositeOCL));
                const OwnedDib same = Noise(type, 61, 47);
                const QMDIBREF s = Ref(same);
                Compare(
                    base, "layer",
                    [&](const QMDIBREF* d) {
                        return QmDibComposite(d->header, nullptr, nullptr, 0, same.get(), nullptr, nullptr, 0,
                                              &params, 0);
                    },
                    [&](const QMDIBREF* d) { return QmDibCompositeLayerFXOCL(d, &s, &params, Q14_ONE); });
                // A shift by whole pixels is a composite of what it brings in.
                const RECT fromHere{-4, 6, 57, 53};
                const QMDIBTRANSFORM shift{1, 0, 4, 0, 1, -6};
                if (mode != 0 && mode != 3)  // where nothing changes nothing
                    Compare(
                        base, "transform",
                        [&](const QMDIBREF* d) {
                            return QmDibComposite(d->header, nullptr, &fromHere, 0, same.get(), nullptr,
                                                  nullptr, 0, &params, 0);
                        },
                        [&](const QMDIBREF* d) {
                            return QmDibCompositeTransformOCL(d, &s, &shift, &params);
                        });
            }
}

void OpenCL::ExpectFilters() {
    for (const QMPIXELTYPE type : {QMPIXEL_RGBA32, QMPIXEL_RGBAFLOAT}) {
        const OwnedDib base = Noise(type, 53, 31), first = Noise(type, 53, 31), second = Noise(type, 53, 31);
        const QMDIBREF a = Ref(first), b = Ref(second);
        struct Row {
            const char* name;
            HRESULT (*processor)(const QMDIBREF*, const QMDIBREF*, const QMDIBREF*);
            HRESULT (*device)(const QMDIBREF*, const QMDIBREF*, const QMDIBREF*);
        };
        using R = const QMDIBREF*;
        for (const Row& row : {Row{"over", [](R d, R s, R) { return QmDibOver(d, s); },
                                   [](R d, R s, R) { return QmDibOverOCL(d, s); }},
                               Row{"under", [](R d, R s, R) { return QmDibUnder(d, s); },
                                   [](R d, R s, R) { return QmDibUnderOCL(d, s); }},
                               Row{"cutout", [](R d, R s, R) { return QmDibCutout(d, s); },
                                   [](R d, R s, R) { return QmDibCutoutOCL(d, s); }},
                               Row{"fade", [](R d, R s, R o) { return QmDibWeightedCrossFade(d, s, o, 99); },
                                   [](R d, R s, R o) { return QmDibWeightedCrossFadeOCL(d, s, o, 99); }},
                               Row{"fields", [](R d, R s, R) { return QmDibFieldBlend(d, s); },
                                   [](R d, R s, R) { return QmDibFieldBlendOCL(d, s); }},
                               Row{"interlace", [](R d, R s, R) { return QmDibCopyInterlace(d, s, 1); },
                                   [](R d, R s, R) { return QmDibCopyInterlaceOCL(d, s, 1); }},
                               Row{"blur", [](R d, R s, R) { return QmDibBlur(d, s, 7, 40); },
                                   [](R d, R s, R) { return QmDibBlurOCL(d, s, 7, 40); }},
                               Row{"desaturate", [](R d, R, R) { return QmDibDesaturate(d, 200); },
                                   [](R d, R, R) { return QmDibDesaturateOCL(d, 200); }},
                               Row{"half", [](R d, R s, R) { return QmDibRotate180(d, s); },
                                   [](R d, R s, R) { return QmDibRotate180OCL(d, s); }}})
            Compare(
                base, row.name, [&](R d) { return row.processor(d, &a, &b); },
                [&](R d) { return row.device(d, &a, &b); });
        const OwnedDib tall = Noise(type, 31, 53);
        for (const uint32_t direction : {0u, 1u})
            Compare(
                tall, "turn", [&](R d) { return QmDibRotate90(d, &a, direction); },
                [&](R d) { return QmDibRotate90OCL(d, &a, direction); });
        const QMDIBREF d = Ref(tall);
        ASSERT_EQ(QmDibFrameOCL(&d, 2, 0xFF102030), S_OK);
        uint32_t row[31];
        ASSERT_EQ(QmDibReadRow(tall.get(), nullptr, 0, 20, row), S_OK);
        EXPECT_EQ(row[1], 0xFF102030);
        EXPECT_EQ(row[29], 0xFF102030);
        EXPECT_NE(row[2], 0xFF102030);
    }
    const OwnedDib colors = NewDib(QMPIXEL_RGBA32, 35, 21);
    for (const QMPIXELTYPE type : {QMPIXEL_NV12, QMPIXEL_I420, QMPIXEL_YV12, QMPIXEL_YV16}) {
        const OwnedDib video = Noise(type, 35, 21);
        const QMDIBREF s = Ref(video);
        Compare(
            colors, "video",
            [&](const QMDIBREF* d) {
                return QmDibCopy(d->header, nullptr, 0, video.get(), nullptr, 0, DIB_COPY_BT709);
            },
            [&](const QMDIBREF* d) { return QmDibCopyOCL(d, &s, DIB_COPY_BT709); });
    }
}

void OpenCL::ExpectRefusals() {
    const OwnedDib dib = Noise(QMPIXEL_RGBA32, 4, 4);
    const QMDIBREF d = Ref(dib);
    for (const int32_t mode : {5, 12, -1}) {
        const QMCOMPOSITEPARAMS params{sizeof params, mode, {}};
        EXPECT_EQ(
            QmDibCompositeOCL(dib.get(), nullptr, nullptr, 0, dib.get(), nullptr, nullptr, 0, &params, 0),
            E_FAIL);
    }
    char text[16];
    EXPECT_EQ(QmOpenCL_GetDeviceText(text, sizeof text), S_OK);
    EXPECT_NE(text[0], 0);
    const auto kept = [this] {
        return std::distance(std::filesystem::directory_iterator(m_cache + "/Tarn/opencl"), {});
    };
    EXPECT_EQ(kept(), 5);
    // Without a family, and with programs that were kept and damaged.
    VidHelp_OpenCL_Shutdown();
    EXPECT_EQ(QmDibDesaturateOCL(&d, 1), E_FAIL);
    for (const auto& file : std::filesystem::directory_iterator(m_cache + "/Tarn/opencl"))
        std::filesystem::resize_file(file, 40);
    ASSERT_EQ(VidHelp_OpenCL_Initialize(), S_OK);
    EXPECT_EQ(QmDibDesaturateOCL(&d, 1), S_OK);
}

// Each case is a process, and compiling the programs is most of what it does.
TEST_F(OpenCL, DoesAsTheProcessorAndKeepsPrograms) {
    ExpectComposites();
    ExpectFilters();
    ExpectRefusals();
}

}  // namespace
