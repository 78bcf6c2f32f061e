#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

class FullPathServiceTest : public ScratchTest {};

// Both twins answer alike at every capacity, and write nothing behind it.
TEST_F(FullPathServiceTest, ResolvesTheTextWithoutTheDisk) {
    const std::string here = Win32(fs::current_path());
    const std::string rows[][2] = {
        // clang-format off
        {"", here}, {".", here}, {"C:", here}, {"c:", "c" + here.substr(1)}, {R"(a\..)", here}, {"a", here + R"(\a)"},
        {"C:a", here + R"(\a)"}, {"c:a", "c" + here.substr(1) + R"(\a)"}, {R"(.\a/b\)", here + R"(\a\b\)"},
        {"COM1", here + R"(\COM1)"}, {"X:a", R"(X:\a)"}, {R"(x:\a\..\..\b)", R"(x:\b)"}, {R"(\a)", R"(C:\a)"},
        {"/a", R"(C:\a)"}, {R"(C:\)", R"(C:\)"}, {R"(C:\a\\b//c\/d)", R"(C:\a\b\c\d)"}, {R"(C:\..\..\a)", R"(C:\a)"},
        {R"(C:\a\.)", R"(C:\a)"}, {R"(C:\a\.\)", R"(C:\a\)"}, {R"(C:\a\b\..)", R"(C:\a)"}, {R"(C:\a\..)", R"(C:\)"},
        {R"(C:\a\\)", R"(C:\a\)"}, {R"(C:\nul)", R"(C:\nul)"}, {R"(C:\a. \b .\...\c)", R"(C:\a. \b .\...\c)"},
        {R"(\\srv\share)", R"(\\srv\share)"}, {R"(\\srv\share\)", R"(\\srv\share\)"},
        {"//srv/share/a", R"(\\srv\share\a)"}, {R"(\\srv\\share\\a\b\..)", R"(\\srv\share\a)"},
        {R"(\\srv\share\..\..\a)", R"(\\srv\share\a)"}, {"C:" + std::string(5000, '\\') + R"(a\..\b)", R"(C:\b)"},
        {"C:\\\xC3\xA9\\..\\\xF0\x9F\x98\x80", "C:\\\xF0\x9F\x98\x80"},
        // clang-format on
    };
    for (const auto& [path, full] : rows) {
        VELLOX_TRACE_ROW(path);
        const WideString widePath = Utf8ToWide(path), wideFull = Utf8ToWide(full);
        for (std::size_t capacity = 1; capacity <= full.size() + 2; ++capacity) {
            std::string narrow(capacity + 1, '#');
            WideString wide(capacity + 1, u'#');
            const bool fits = _fullpath(narrow.data(), path.c_str(), capacity) == narrow.data();
            const bool wideFits = _wfullpath(wide.data(), widePath.c_str(), capacity) == wide.data();
            ASSERT_TRUE(fits == (capacity > full.size()) && wideFits == (capacity > wideFull.size())) << capacity;
            ASSERT_TRUE(!fits || narrow.starts_with(full + '\0')) << narrow;
            ASSERT_TRUE(!wideFits || wide.starts_with(wideFull + u'\0')) << WideToUtf8(wide.c_str());
            ASSERT_TRUE(narrow.back() == '#' && wide.back() == u'#') << "written behind a capacity of " << capacity;
        }
    }
    // Without a current directory, what is relative to it has no full form.
    fs::create_directory("gone");
    fs::current_path("gone");
    fs::remove(At("gone"));
    char narrow[1040];
    WCHAR wide[1040];
    for (const char* path : {"", "a", "C:", "C:a"})
        EXPECT_TRUE(!_fullpath(narrow, path, 1040) && !_wfullpath(wide, Utf8ToWide(path).c_str(), 1040)) << path;
    EXPECT_TRUE(_fullpath(narrow, R"(\a)", 1040) && _wfullpath(wide, u"X:a", 1040));
}

TEST(Text, ConvertsEveryClassOfCodePointAtEveryPosition) {
    const std::pair<std::string, WideString> rows[] = {
        // clang-format off
        {"", u""}, {"\x01", u"\x01"}, {"\x7F", u"\x7F"}, {"\xC2\x80", u"\x80"}, {"\xDF\xBF", u"\x7FF"},
        {"\xE0\xA0\x80", u"\x800"}, {"\xED\x9F\xBF", u"\xD7FF"}, {"\xEE\x80\x80", u"\xE000"},
        {"\xEF\xBF\xBF", u"\xFFFF"}, {"\xF0\x90\x80\x80", u"\xD800\xDC00"}, {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
        // clang-format on
    };
    for (const auto& [point, units] : rows)
        for (std::size_t length = 0; length <= 20; ++length) {
            const std::string utf8 = std::string(length, 'a') + point + std::string(20 - length, 'b');
            const WideString utf16 = WideString(length, u'a') + units + WideString(20 - length, u'b');
            ASSERT_EQ(Utf8ToWide(utf8), utf16);
            ASSERT_TRUE(WideToUtf8(utf16.c_str()) == utf8 && IsValidUtf8(utf8)) << utf8;
        }
    EXPECT_EQ(WidenBytes("caf\xC3\xA9"), WideString(u"caf\xC3\xA9\0\0", 7));
    for (const char* name : {"caf\xC3\xA9", "caf\xE9"})
        EXPECT_EQ(ShellPath(name), WideString(u"caf\xE9\0\0", 6));
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
}

} // namespace
} // namespace Vellox
