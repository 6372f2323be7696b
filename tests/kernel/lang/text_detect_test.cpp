#include "kernel/lang/text_detect.h"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <string>

namespace {

std::string Encoded(const char16_t* text, const char* encoding) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(encoding, &status);
    char bytes[1024];
    const int32_t size = ucnv_fromUChars(converter, bytes, sizeof bytes, text, -1, &status);
    ucnv_close(converter);
    EXPECT_TRUE(U_SUCCESS(status)) << encoding;
    return {bytes, static_cast<size_t>(size)};
}

TEST(TextDetect, FindsTheCodePageOfOldTexts) {
    const char16_t* japanese =
        u"これは古いミキサーの設定ファイルに書かれた名前です。録音は東京で行われました。";
    const char16_t* korean = u"이것은 오래된 믹서의 설정 파일에 적힌 이름입니다. 녹음은 서울에서 했습니다.";
    const char16_t* russian = u"Это имя записано в старом файле настроек микшера. Запись сделана в Москве.";
    const char16_t* german = u"Das ist der Name über den Spuren für die Bläser und die große Trommel, schön.";
    const struct {
        const char16_t* text;
        const char* encoding;
        uint32_t codePage;
        bool multiByte;
    } rows[] = {
        {japanese, "Shift_JIS", 932, true},    {japanese, "UTF-8", 65001, true},
        {korean, "EUC-KR", 949, true},         {russian, "windows-1251", 1251, false},
        {german, "windows-1252", 1252, false}, {german, "UTF-8", 65001, true},
        {u"Drums", "UTF-8", 1252, false},
    };
    for (const auto& row : rows) {
        const std::string bytes = Encoded(row.text, row.encoding);
        EXPECT_EQ(QmLang_DetectPossibleCodepage(bytes.data(), static_cast<int32_t>(bytes.size())),
                  row.codePage)
            << row.encoding;
        EXPECT_EQ(QmLang_DetectMultiByteCharacters(bytes.c_str(), -1), row.multiByte) << row.encoding;
    }
    EXPECT_EQ(QmLang_DetectPossibleCodepage(nullptr, 5), 1252u);
    EXPECT_EQ(QmLang_DetectPossibleCodepage("", 0), 1252u);
}

}  // namespace
