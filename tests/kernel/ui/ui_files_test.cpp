// Colour files and themes, files of settings, images of skins.
#include "image/skin_bmp.h"
#include "kernel/codes.h"
#include "kernel/profile/profile.h"
#include "kernel/ui/color_files.h"
#include "kernel/ui/skin_images.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_colors.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <iterator>

using namespace tarn;

namespace {
struct Folder {
    QTemporaryDir dir;
    std::filesystem::path Path(const char* name) const { return dir.filePath(name).toStdString(); }
    std::u16string Name(const char* name) const { return Utf16FromUtf8(Path(name).string()); }
    void Write(const char* name, std::string_view text) const {
        std::ofstream(Path(name), std::ios::binary) << text;
    }
    std::string Read(const char* name) const {
        std::ifstream in(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
};

QByteArray Encoded(const QImage& image, const char* format) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, 100);
    return buffer.data();
}
}  // namespace

TEST(IniFiles, KeepWhatTheyDoNotChange) {
    IniFile file("\xEF\xBB\xBF\xEF\xBB\xBF; a comment\r\nfree = 1\n[ One ]\r\nKey = two words "
                 "\n\n[two]\nkey=3\n[one]\nlate=4\nno sign\n[");
    EXPECT_EQ(*file.Find("ONE", "key"), "two words");
    EXPECT_EQ(*file.Find("", "free"), "1");
    EXPECT_EQ(*file.Find("one", "late"), "4") << "a section may come twice";
    EXPECT_EQ(file.Find("one", "; a comment"), nullptr);
    EXPECT_EQ(file.Find("two", "late"), nullptr);
    file.Set("two", "KEY", "5");
    file.Set("two", "more", "6");
    file.Set("three", "new", "7");
    file.Set("", "top", "8");
    EXPECT_EQ(file.Text(),
              "; a comment\nfree = 1\n[ One ]\nKey = two words \n\n[two]\nKEY=5\nmore=6\n[one]\nlate=4\n"
              "no sign\n[\ntop=8\n[three]\nnew=7\n");
}

TEST(Profiles, ValuesComeBack) {
    const Folder folder;
    const std::u16string name = folder.Name("set.ini");
    EXPECT_EQ(QmGetPrivateProfileColorref(u"a", u"b", 7, name.c_str()), 7u);
    EXPECT_TRUE(QmWritePrivateProfileColorref(u"a", u"b", 0x04AB12, name.c_str()));
    EXPECT_TRUE(QmWritePrivateProfileInt(u"a", u"i", -5, name.c_str()));
    EXPECT_TRUE(QmWritePrivateProfileDWord(u"a", u"d", 0xFFFFFFFF, name.c_str()));
    EXPECT_TRUE(QmWritePrivateProfileDouble(u"a", u"x", 0.1, name.c_str()));
    EXPECT_EQ(folder.Read("set.ini"), "[a]\nb=0x04AB12\ni=-5\nd=4294967295\nx=0.1\n");
    EXPECT_EQ(QmGetPrivateProfileColorref(u"a", u"b", 7, name.c_str()), 0x04AB12u);
    EXPECT_EQ(QmGetPrivateProfileColorref(u"a", u"x", 7, name.c_str()), PROFILE_BAD_COLOR);
    EXPECT_FALSE(QmWritePrivateProfileInt(u"a", u"i", 1, folder.Name("no/such/set.ini").c_str()));
    EXPECT_FALSE(QmWritePrivateProfileInt(u"a", u"i", 1, folder.Name("").c_str())) << "a folder is no file";
    for (const auto& [text, color] : {std::pair{"#102030", 0x302010u},
                                      {"0x04000102", 0x04000102u},
                                      {"ff", 0xFFu},
                                      {"#1020", PROFILE_BAD_COLOR},
                                      {"", PROFILE_BAD_COLOR},
                                      {"12g", PROFILE_BAD_COLOR},
                                      {"-1", PROFILE_BAD_COLOR},
                                      {"123456789", PROFILE_BAD_COLOR}})
        EXPECT_EQ(ColorFromText(text), color) << text;
}

TEST(ColorFiles, LoadWhatWasSaved) {
    const Folder folder;
    ApplyTheme(Theme::Light);
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE), tick = QmGetUIColor(UICOLOR_TICK);
    folder.Write("look.ini", "; mine\n[colors]\nCOLOR_BTNFACE=1\n");
    const std::u16string name = folder.Name("look.ini");
    EXPECT_EQ(QmSaveUIColors(name.c_str(), nullptr, UICOLORS_PALETTE), S_OK);
    EXPECT_TRUE(folder.Read("look.ini").starts_with("; mine\n"));
    ApplyTheme(Theme::Dark);
    EXPECT_NE(QmGetUIColor(COLOR_BTNFACE), face);
    EXPECT_EQ(QmLoadUIColors(name.c_str(), nullptr), S_OK);
    EXPECT_EQ(QmGetUIColor(COLOR_BTNFACE), face);
    EXPECT_EQ(QmGetUIColor(UICOLOR_TICK), tick);

    folder.Write("part.ini", "[look]\nCOLOR_WINDOW=zz\nUICOLOR_118=123456\n");
    EXPECT_EQ(QmLoadUIColors(folder.Name("part.ini").c_str(), u"look"), S_OK);
    EXPECT_EQ(QmGetUIColor(COLOR_WINDOW), UICOLOR_BAD_INDEX) << "unreadable";
    EXPECT_EQ(QmGetUIColor(118), 0x123456u);
    EXPECT_EQ(UIColorEntry(COLOR_BTNFACE), UICOLOR_NONE) << "absent: the window system's";
    EXPECT_EQ(QmGetUIColor(UICOLOR_TICK), QmGetUIColor(-UICOLOR_TICK)) << "absent: the default";
    EXPECT_EQ(QmLoadUIColors(folder.Name("none.ini").c_str(), nullptr), QM_E_OPEN);
    EXPECT_EQ(QmLoadUIColors(folder.Name("").c_str(), nullptr), QM_E_OPEN) << "a folder";
    ApplyTheme(Theme::Dark);
}

TEST(ColorSources, ASkinAnswersBeforeTheTables) {
    ApplyTheme(Theme::Dark);
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE);
    const QMSKINCOLORPROC skin = [](int32_t index, COLORREF* color) -> BOOL {
        *color = 0x123456;
        return index == 118;
    };
    QmSkin_SetColorSource(skin, skin);
    EXPECT_EQ(QmGetUIColor(118), 0x123456u);
    EXPECT_EQ(QmGetUIColorAbsolute(118), 0x123456u);
    EXPECT_EQ(QmGetUIColor(COLOR_BTNFACE), face);
    QmSkin_SetColorSource(skin, nullptr);
    EXPECT_NE(QmGetUIColor(118), 0x123456u) << "half a source is none";
}

TEST(SkinImages, PngAndJpegBecomePixels) {
    QImage image(5, 3, QImage::Format_ARGB32);
    image.fill(QColor(200, 100, 50, 128));
    image.setPixelColor(0, 0, QColor(255, 0, 0, 255));
    image.setPixelColor(4, 2, QColor(9, 9, 9, 0));
    const QByteArray png = Encoded(image, "PNG");
    tQMSKINBMP bmp;
    ASSERT_EQ(QmSkin_Bmp_Load(&bmp, png.data(), static_cast<size_t>(png.size())), S_OK);
    EXPECT_EQ(bmp.flags, SKINBMP_ALPHA);
    EXPECT_EQ(ViewSkinBmp(bmp), image.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    tQMSKINBMP copy;
    ASSERT_EQ(QmSkin_Bmp_Copy(&copy, &bmp), S_OK);
    QmSkin_TintDib(&copy, 0x00FF00, 255);
    EXPECT_EQ(copy.pixels[0], 0xFF00FF00u);
    EXPECT_EQ(copy.pixels[1], 0x80008000u);
    EXPECT_EQ(copy.pixels[14], 0u);
    EXPECT_EQ(bmp.pixels[0], 0xFFFF0000u) << "a copy is one's own";
    QmSkin_Colorize(&bmp, 0xFF0000);
    EXPECT_EQ(bmp.pixels[0], 0xFF0000FFu) << "hue and saturation of blue";
    QmSkin_Bmp_Free(&copy);
    QmSkin_Bmp_Free(&bmp);

    QImage opaque(64, 40, QImage::Format_RGB32);
    opaque.fill(QColor(30, 90, 160));
    const QByteArray jpeg = Encoded(opaque, "JPG");
    ASSERT_EQ(QmSkin_Bmp_Load(&bmp, jpeg.data(), static_cast<size_t>(jpeg.size())), S_OK);
    EXPECT_EQ(bmp.width, 64);
    EXPECT_EQ(bmp.flags, 0u);
    const QColor read(ViewSkinBmp(bmp).pixel(20, 20));
    EXPECT_NEAR(read.red(), 30, 4);
    EXPECT_NEAR(read.blue(), 160, 4);
    QmSkin_Bmp_Free(&bmp);

    for (const QByteArray& bytes : {png, jpeg})
        for (qsizetype length = 0; length < bytes.size(); length += 7) {
            const HRESULT hr = QmSkin_Bmp_Load(&bmp, bytes.data(), static_cast<size_t>(length));
            EXPECT_EQ(Failed(hr), bmp.pixels == nullptr) << length;
            QmSkin_Bmp_Free(&bmp);
        }
    QByteArray wide = png;
    wide[16] = 0x7F;  // a width of two thousand million
    EXPECT_TRUE(Failed(QmSkin_Bmp_Load(&bmp, wide.data(), static_cast<size_t>(wide.size()))));
    EXPECT_EQ(bmp.pixels, nullptr);
}

TEST(SkinImages, AFolderTakesThePlaceOfTheModulesOwn) {
    const Folder folder;
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::blue);
    image.save(folder.dir.filePath("knob.png"));
    QmSkin_InitCache();
    const std::u16string name = folder.Name("");
    const tQMSKINBMP* first = QmSkin_Bmp_GetFromResContext(name.c_str(), u"knob");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->pixels[0], 0xFF0000FFu);
    EXPECT_EQ(QmSkin_Bmp_GetFromResContext(name.c_str(), u"knob"), first) << "read once";
    EXPECT_EQ(QmSkin_Bmp_GetFromResContext(name.c_str(), u"../knob"), nullptr);
    tQMSKINBMP own;
    EXPECT_EQ(QmSkin_Bmp_GetFromResource(&own, u"knob"), QM_E_NO_RESOURCE);
    EXPECT_EQ(QmSkin_Bmp_GetFromFile(&own, folder.Name("knob.png").c_str()), S_OK);
    QmSkin_Bmp_Free(&own);
    EXPECT_EQ(QmSkin_Bmp_GetFromFile(&own, folder.Name("none.png").c_str()), QM_E_OPEN);
    QmSkin_InitCache();
}
