#include "frame/text.h"

#include <algorithm>

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

WideString Wide(const std::u16string& units) {
    return {units.begin(), units.end()};
}

TEST(Text, ConvertsEveryClassOfCodePointAtEveryPosition) {
    const std::pair<std::string, std::u16string> rows[] = {
        // clang-format off
        {"", u""}, {"\x01", u"\x01"}, {"\x7F", u"\x7F"}, {"\xC2\x80", u"\x80"}, {"\xDF\xBF", u"\x7FF"},
        {"\xE0\xA0\x80", u"\x800"}, {"\xED\x9F\xBF", u"\xD7FF"}, {"\xEE\x80\x80", u"\xE000"},
        {"\xEF\xBF\xBF", u"\xFFFF"}, {"\xF0\x90\x80\x80", u"\xD800\xDC00"}, {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
        // clang-format on
    };
    for (const auto& [point, units] : rows)
        for (std::size_t length = 0; length <= 20; ++length) {
            const std::string utf8 = std::string(length, 'a') + point + std::string(20 - length, 'b');
            const std::u16string utf16 = std::u16string(length, u'a') + units + std::u16string(20 - length, u'b');
            ASSERT_EQ(Utf8ToWide(utf8), Wide(utf16));
            ASSERT_TRUE(WideToUtf8(Wide(utf16).c_str()) == utf8 && IsValidUtf8(utf8)) << utf8;
        }
    EXPECT_EQ(WidenBytes("caf\xC3\xA9"), Wide({u"caf\xC3\xA9\0\0", 7}));
    for (const char* name : {"caf\xC3\xA9", "caf\xE9"})
        EXPECT_EQ(ShellPath(name), Wide({u"caf\xE9\0\0", 6}));
}

TEST(Text, ReplacesEachMaximalIllFormedSubpart) {
    constexpr const char* bySubpart = "linux: Wine takes some ill-formed sequences in fewer parts";
    struct Row {
        std::string bytes;
        std::u16string units; // `?` stands for the replacement character
        const char* onlyOn = everywhere;
    };
    const Row rows[] = {
        // clang-format off
        {"caf\xE9", u"caf?"}, {"\x80", u"?"}, {"\xFE\xFF", u"??"}, {"\xC3", u"?"}, {"\xC3\x28", u"?("},
        {"\xC0\xAF", u"??"}, {"\xC1\xBF", u"??"}, {"\xE0\x80\xAF", u"???", bySubpart},
        {"\xE0\x9F\xBF", u"???", bySubpart}, {"\xF0\x8F\xBF\xBF", u"????", bySubpart},
        {"\xED\xA0\x80", u"???", bySubpart}, {"\xED\xBF\xBF", u"???", bySubpart},
        {"\xF4\x90\x80\x80", u"????", bySubpart}, {"\xF5\x80", u"??"}, {"\xE2\x82", u"?"}, {"\xE2\x82z", u"?z"},
        {"\xF0\x9F\x98", u"?"}, {"\xF0\x9F\xF0\x9F\x98\x80", u"?\xD83D\xDE00"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", u"????A", bySubpart},
        // clang-format on
    };
    for (auto [bytes, units, onlyOn] : rows) {
        if (!HoldsHere(onlyOn))
            continue;
        std::replace(units.begin(), units.end(), u'?', u'\xFFFD');
        EXPECT_EQ(Utf8ToWide("12345678" + bytes + "12345678"), Wide(u"12345678" + units + u"12345678"));
        EXPECT_TRUE(Utf8ToWide(bytes) == Wide(units) && !IsValidUtf8(bytes)) << bytes;
    }
    for (const WideChar half : {WideChar{0xD800}, WideChar{0xDBFF}, WideChar{0xDC00}, WideChar{0xDFFF}})
        EXPECT_EQ(WideToUtf8(WideString{half, 'z', half}.c_str()), "\xEF\xBF\xBDz\xEF\xBF\xBD");
}

} // namespace
} // namespace Vellox
