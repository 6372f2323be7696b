// The program itself: what comes out of each command, exit codes, messages.
#include "image/dib_copy.h"
#include "image/pictures.h"
#include "platform/memory.h"
#include "tests/mediafile/media_support.h"
#include "tests/support/program.h"

#include <filesystem>

using namespace tarn;

namespace {

class TarnImage : public MediaTest {
protected:
    Outcome Run(const std::string& arguments) { return RunShell(std::string(TARN_IMAGE) + " " + arguments); }

    /// 2 x 1 pixels: opaque red and half of blue.
    void MakePicture(const std::string& name) {
        const uint32_t pixels[2] = {0xFFFF0000, 0x800000FF};
        BITMAPINFOHEADER header;
        ASSERT_EQ(QmDibInfo(nullptr, nullptr, &header, QMPIXEL_RGBA32, 2, 1, nullptr, 0), S_OK);
        void* png = nullptr;
        size_t size = 0;
        ASSERT_EQ(QmDibToPng(&header, pixels, 0, &png, &size), S_OK);
        Make(name, Bytes(static_cast<uint8_t*>(png), static_cast<uint8_t*>(png) + size));
        MemFree(png);
    }
    std::vector<uint32_t> Pixels(const std::string& name) {
        const Bytes bytes = Content(name);
        BITMAPINFOHEADER* dib = nullptr;
        EXPECT_EQ(QmDibFromPicture(&dib, bytes.data(), bytes.size()), S_OK) << name;
        if (!dib) return {};
        const auto width = static_cast<size_t>(dib->biWidth);
        std::vector<uint32_t> pixels(width * static_cast<size_t>(dib->biHeight));
        for (int32_t y = 0; y < dib->biHeight; y++)
            QmDibReadRow(dib, nullptr, 0, y, pixels.data() + width * static_cast<size_t>(y));
        QmDibFree(dib);
        return pixels;
    }
};

TEST_F(TarnImage, DoesWhatItIsAsked) {
    MakePicture("a.png");
    const std::string a = Path("a.png"), b = Path("b.png"), c = Path("c.dib"), v = Path("v.y4m");
    EXPECT_NE(Run("info " + a).text.find("2 x 1 pixels, rgba32, 32 bits a pixel"), std::string::npos);
    EXPECT_NE(Run("info --json " + a).text.find("\"type\": \"rgba32\""), std::string::npos);
    ASSERT_EQ(Run("convert " + a + " " + c + " --type rgbafloat").code, 0);
    ASSERT_EQ(Run("convert " + c + " " + b + " --type rgba32").code, 0);
    EXPECT_EQ(Content("b.png"), Content("a.png")) << "by way of floats";
    ASSERT_EQ(Run("rotate " + a + " " + b + " 90").code, 0);
    EXPECT_EQ(Pixels("b.png"), (std::vector<uint32_t>{0xFFFF0000, 0x800000FF}));
    ASSERT_EQ(Run("scale " + a + " " + b + " --size 3x1").code, 0);
    EXPECT_EQ(Pixels("b.png"), (std::vector<uint32_t>{0xFFFF0000, 0xC0AA0055, 0x800000FF}))
        << "colours weigh by their alpha";
    ASSERT_EQ(Run("composite " + a + " " + a + " " + b + " --at 1,0 --size 1x1").code, 0);
    EXPECT_EQ(Pixels("b.png")[0], 0xFFFF0000);
    ASSERT_EQ(Run("composite " + a + " " + a + " " + b + " --at=-0.5,0 --mode 0").code, 0);
    EXPECT_EQ(Pixels("b.png").size(), 2u);
    ASSERT_EQ(Run("frame " + a + " " + v).code, 0);
    ASSERT_EQ(Run("frame " + v + " " + b).code, 0);
    EXPECT_EQ(Pixels("b.png").size(), 2u);
}

TEST_F(TarnImage, SaysWhyNot) {
    MakePicture("a.png");
    Make("bad.png", {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0});
    Make("bad.y4m", {'Y', 'U', 'V', '4',  'M', 'P', 'E', 'G', '2', ' ',  'W', '2',
                     ' ', 'H', '2', '\n', 'F', 'R', 'A', 'M', 'E', '\n', 0});
    const std::string a = Path("a.png"), b = Path("b.png");
    struct Row {
        std::string arguments;
        int code;
        const char* text;
    };
    for (const Row& row :
         {Row{"info " + Path("bad.png"), 2, "the PNG is damaged"},
          Row{"info " + Path("bad.y4m"), 2, "neither PNG"},
          Row{"scale " + a + " " + b + " --size 60000x60000", 2, "60000 x 60000 pixels do not fit"},
          Row{"info " + Path("none.png"), 2, "none.png"},
          Row{"convert " + a + " " + Path("x.gif"), 3, ".png, .jpg"},
          Row{"convert " + a + " " + b + " --type rgb", 3, "none of pal1"},
          Row{"scale " + a + " " + b + " --size 5", 3, "WIDTHxHEIGHT"},
          Row{"scale " + a + " " + b + " --size 1e9x1", 3, "131071"},
          Row{"scale " + a + " " + b + " --size nanx1", 3, "WIDTHxHEIGHT"},
          Row{"composite " + a + " " + a + " " + b + " --at 1e300,0", 3, "131071"},
          Row{"frame " + Path("bad.y4m") + " " + b, 2, "ends within frame 0"},
          Row{"frame " + Path("bad.png") + " " + b, 3, "raw video needs --size"},
          Row{"frame " + Path("bad.png") + " " + b + " --size 1x1 --index 3", 2, "no frame 3"},
          Row{"frame " + a + " " + Path("v.yuv") + " --type rgb24", 3, "is no video"}}) {
        const Outcome outcome = Run(row.arguments);
        EXPECT_EQ(outcome.code, row.code) << row.arguments;
        EXPECT_NE(outcome.text.find(row.text), std::string::npos) << row.arguments << ": " << outcome.text;
    }
    EXPECT_FALSE(std::filesystem::exists(b));
}

}  // namespace
