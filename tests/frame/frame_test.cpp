#include "frame/text.h"

#include <cmath>
#include <regex>

#include "support/scratch.h"
#include "vellox/frame.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

WideString Wide(const std::u16string& units) {
    return {units.begin(), units.end()};
}

TEST(Text, ConvertsEveryClassOfCodePointAtEveryPosition) {
    const std::pair<std::string, std::u16string> rows[] = {
        {"", u""},
        {"\x01", u"\x01"},
        {"\x7F", u"\x7F"},
        {"\xC2\x80", u"\x80"},
        {"\xDF\xBF", u"\x7FF"},
        {"\xE0\xA0\x80", u"\x800"},
        {"\xED\x9F\xBF", u"\xD7FF"},
        {"\xEE\x80\x80", u"\xE000"},
        {"\xEF\xBF\xBF", u"\xFFFF"},
        {"\xF0\x90\x80\x80", u"\xD800\xDC00"},
        {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
    };
    for (const auto& [point, units] : rows)
        for (std::size_t length = 0; length <= 20; ++length) {
            const std::string utf8 = std::string(length, 'a') + point + std::string(20 - length, 'b');
            const std::u16string utf16 = std::u16string(length, u'a') + units + std::u16string(20 - length, u'b');
            ASSERT_EQ(Utf8ToWide(utf8), Wide(utf16));
            ASSERT_EQ(WideToUtf8(Wide(utf16).c_str()), utf8);
            ASSERT_TRUE(IsValidUtf8(utf8)) << utf8;
        }
    EXPECT_EQ(WidenBytes("caf\xC3\xA9"), Wide({u"caf\xC3\xA9\0\0", 7}));
    const WideString asShellPath = Wide({u"caf\xE9\0\0", 6});
    EXPECT_EQ(ShellPath("caf\xC3\xA9"), asShellPath);
    EXPECT_EQ(ShellPath("caf\xE9"), HoldsHere(withoutCodePage) ? WideString() : asShellPath);
}

// A question mark stands for the replacement character.
TEST(Text, ReplacesEachMaximalIllFormedSubpart) {
    constexpr OnlyOn bySubpart = OnLinux("Wine takes some ill-formed sequences in fewer parts");
    const TextRow rows[] = {
        {"caf\xE9", "caf?"},
        {"\x80", "?"},
        {"\xFE\xFF", "??"},
        {"\xC3\x28", "?("},
        {"\xC1\xBF", "??"},
        {"\xE0\x9F\xBF", "???", bySubpart},
        {"\xED\xA0\x80", "???", bySubpart},
        {"\xE2\x82z", "?z"},
        {"\xF0\x8F\xBF\xBF", "????", bySubpart},
        {"\xF4\x90\x80\x80", "????", bySubpart},
        {"\xF5\x80", "??"},
        {"\xF0\x9F\xF0\x9F\x98\x80", "?\U0001F600"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "????A", bySubpart},
    };
    for (const auto& [bytes, marked, onlyOn] : RowsHere(rows, &TextRow::expected)) {
        const std::string text = std::regex_replace(marked, std::regex("\\?"), "\uFFFD");
        for (const std::string around : {"", "12345678"})
            EXPECT_EQ(Utf8ToWide(around + bytes + around), Utf8ToWide(around + text + around)) << marked;
        EXPECT_FALSE(IsValidUtf8(bytes)) << marked;
    }
    for (const WideChar half : {WideChar{0xD800}, WideChar{0xDBFF}, WideChar{0xDC00}, WideChar{0xDFFF}})
        EXPECT_EQ(WideToUtf8(WideString{half, 'z', half}.c_str()), "\xEF\xBF\xBDz\xEF\xBF\xBD");
}

TEST(ProcessValues, AreAsDocumented) {
    EXPECT_EQ(GetPlatform(), "windows");
    EXPECT_EQ(GetPlatformType(), "desktop");
    EXPECT_EQ(GetUIScaleFactor(), 1.0F);
    SetUIScaleFactor(NAN);
    EXPECT_TRUE(std::isnan(GetUIScaleFactor()));
}

} // namespace
} // namespace Vellox
