#include "frame/text.h"

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

TEST(Text, ConvertsEveryClassOfCodePointAtEveryPosition) {
    const struct {
        std::string utf8;
        WideString utf16;
    } rows[] = {
        {"\x01", u"\x01"},
        {"\x7F", u"\x7F"},
        {"\xC2\x80", u"\u0080"},
        {"\xDF\xBF", u"\u07FF"},
        {"\xE0\xA0\x80", u"\u0800"},
        {"\xED\x9F\xBF", u"\uD7FF"},
        {"\xEE\x80\x80", u"\uE000"},
        {"\xEF\xBF\xBF", u"\uFFFF"},
        {"\xF0\x90\x80\x80", u"\U00010000"},
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
    };
    for (const auto& row : rows)
        for (std::size_t before = 0; before <= 20; ++before)
            for (const std::size_t behind : {0, 1, 7, 8, 9}) {
                const std::string utf8 = std::string(before, 'a') + row.utf8 + std::string(behind, 'b');
                const WideString utf16 = WideString(before, u'a') + row.utf16 + WideString(behind, u'b');
                VELLOX_TRACE_ROW(utf8);
                ASSERT_EQ(Utf8ToWide(utf8), utf16);
                ASSERT_EQ(WideToUtf8(utf16.c_str()), utf8);
                ASSERT_TRUE(IsValidUtf8(utf8));
            }
}

TEST(Text, ReplacesEachMaximalIllFormedSubpart) {
    const struct {
        std::string bytes;
        WideString units;
    } rows[] = {
        {"caf\xE9", u"caf\uFFFD"},
        {"\x80", u"\uFFFD"},
        {"\xFE\xFF", u"\uFFFD\uFFFD"},
        {"\xC3", u"\uFFFD"},
        {"\xC3\x28", u"\uFFFD("},
        {"\xC0\xAF", u"\uFFFD\uFFFD"},
        {"\xC1\xBF", u"\uFFFD\uFFFD"},
        {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
        {"\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF5\x80", u"\uFFFD\uFFFD"},
        {"\xE2\x82", u"\uFFFD"},
        {"\xE2\x82z", u"\uFFFDz"},
        {"\xF0\x9F\x98", u"\uFFFD"},
        {"\xF0\x9F\xF0\x9F\x98\x80", u"\uFFFD\U0001F600"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", u"\uFFFD\uFFFD\uFFFD\uFFFDA"},
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.bytes);
        EXPECT_EQ(Utf8ToWide(row.bytes), row.units);
        EXPECT_EQ(Utf8ToWide("12345678" + row.bytes + "12345678"), u"12345678" + row.units + u"12345678");
        EXPECT_FALSE(IsValidUtf8(row.bytes));
    }
    for (const WideString& half : {WideString{0xD800}, WideString{0xDBFF}, WideString{0xDC00}, WideString{0xDFFF}}) {
        EXPECT_EQ(WideToUtf8(half.c_str()), "\xEF\xBF\xBD");
        EXPECT_EQ(WideToUtf8((half + u'z').c_str()), "\xEF\xBF\xBDz");
    }
    EXPECT_EQ(WideToUtf8(WideString{0xDE00, 0xD83D, 0xD83D, 0xDE00}.c_str()),
              "\xEF\xBF\xBD\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(Text, EndsAtItsFirstNul) {
    EXPECT_EQ(Utf8ToWide(""), u"");
    EXPECT_EQ(WideToUtf8(u""), "");
    EXPECT_EQ(Utf8ToWide(std::string("a\0b", 3)), u"a");
    EXPECT_TRUE(IsValidUtf8(std::string("a\0\xFF", 3)));
}

TEST(Text, ReachesTheShellDecodedOnlyIfItIsUtf8) {
    EXPECT_EQ(WidenBytes("caf\xC3\xA9"), WideString(u"caf\u00C3\u00A9\0\0", 7));
    EXPECT_EQ(WidenBytes(""), WideString(2, 0));
    EXPECT_EQ(ShellPath("caf\xC3\xA9"), WideString(u"caf\u00E9\0\0", 6));
    EXPECT_EQ(ShellPath("caf\xE9"), WideString(u"caf\u00E9\0\0", 6));
    EXPECT_EQ(ShellPath(std::string("a\0b", 3)), WideString(u"a\0\0", 3));
}

} // namespace
} // namespace Vellox
