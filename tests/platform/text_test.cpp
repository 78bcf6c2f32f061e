#include "frame/text.h"

#include "support/scratch.h"

namespace Vellox {
namespace {

TEST(Text, ConvertsEveryClassOfCodePointAtEveryPosition) {
    const std::pair<std::string, WideString> rows[] = {
        // clang-format off
        {"\x01", u"\x01"}, {"\x7F", u"\x7F"}, {"\xC2\x80", u"\x80"}, {"\xDF\xBF", u"\x7FF"},
        {"\xE0\xA0\x80", u"\x800"}, {"\xED\x9F\xBF", u"\xD7FF"}, {"\xEE\x80\x80", u"\xE000"},
        {"\xEF\xBF\xBF", u"\xFFFF"}, {"\xF0\x90\x80\x80", u"\xD800\xDC00"}, {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
        // clang-format on
    };
    for (const auto& [point, units] : rows)
        for (std::size_t before = 0; before <= 20; ++before)
            for (const std::size_t behind : {0, 1, 7, 8, 9}) {
                const std::string utf8 = std::string(before, 'a') + point + std::string(behind, 'b');
                const WideString utf16 = WideString(before, u'a') + units + WideString(behind, u'b');
                ASSERT_EQ(Utf8ToWide(utf8), utf16);
                ASSERT_EQ(WideToUtf8(utf16.c_str()), utf8);
                ASSERT_TRUE(IsValidUtf8(utf8)) << utf8;
            }
    EXPECT_TRUE(Utf8ToWide("").empty() && WideToUtf8(u"").empty());
    EXPECT_EQ(Utf8ToWide(std::string("a\0b", 3)), u"a");
}

TEST(Text, ReplacesEachMaximalIllFormedSubpart) {
    // `?` stands for the replacement character.
    const std::pair<std::string, WideString> rows[] = {
        // clang-format off
        {"caf\xE9", u"caf?"}, {"\x80", u"?"}, {"\xFE\xFF", u"??"}, {"\xC3", u"?"}, {"\xC3\x28", u"?("},
        {"\xC0\xAF", u"??"}, {"\xC1\xBF", u"??"}, {"\xE0\x80\xAF", u"???"}, {"\xE0\x9F\xBF", u"???"},
        {"\xF0\x8F\xBF\xBF", u"????"}, {"\xED\xA0\x80", u"???"}, {"\xED\xBF\xBF", u"???"},
        {"\xF4\x90\x80\x80", u"????"}, {"\xF5\x80", u"??"}, {"\xE2\x82", u"?"}, {"\xE2\x82z", u"?z"},
        {"\xF0\x9F\x98", u"?"}, {"\xF0\x9F\xF0\x9F\x98\x80", u"?\xD83D\xDE00"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", u"????A"},
        // clang-format on
    };
    for (auto [bytes, units] : rows) {
        std::replace(units.begin(), units.end(), u'?', u'\xFFFD');
        EXPECT_EQ(Utf8ToWide("12345678" + bytes + "12345678"), u"12345678" + units + u"12345678");
        EXPECT_TRUE(Utf8ToWide(bytes) == units && !IsValidUtf8(bytes)) << bytes;
    }
    for (const WideChar half : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'})
        EXPECT_EQ(WideToUtf8(WideString{half, 'z', half}.c_str()), "\xEF\xBF\xBDz\xEF\xBF\xBD");
    EXPECT_EQ(WideToUtf8(u"\xDE00\xD83D\xD83D\xDE00"), "\xEF\xBF\xBD\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(Text, ReachesTheShellDecodedOnlyIfItIsUtf8) {
    EXPECT_EQ(WidenBytes("caf\xC3\xA9"), WideString(u"caf\xC3\xA9\0\0", 7));
    EXPECT_EQ(ShellPath("caf\xC3\xA9"), WideString(u"caf\xE9\0\0", 6));
    EXPECT_EQ(ShellPath("caf\xE9"), WideString(u"caf\xE9\0\0", 6));
}

} // namespace
} // namespace Vellox
