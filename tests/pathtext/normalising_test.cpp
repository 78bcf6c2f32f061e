#include "pathtext/relative.h"
#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class NormalFormTest : public ScratchTest {
protected:
    // Rows write the current directory as C:\cur.
    std::string WithCurrent(std::string text) const {
        const std::string placeholder = R"(C:\cur)";
        const std::size_t position = text.find(placeholder);
        return position == std::string::npos ? text : text.replace(position, placeholder.size(), In(""));
    }
    std::string In(std::string_view name) const {
        std::string path = ScratchTest::In(name);
        return path.back() == '\\' ? path.substr(0, path.size() - 1) : path;
    }
};

TEST_F(NormalFormTest, NormalizePath) {
    const std::string long1039 = "C:\\" + std::string(1036, 'a');
    const std::string rows[][3] = {
        // clang-format off
        {"C:/a/./b/../c.wav", R"(C:\a\c.wav)"}, {R"(rel\x.wav)", R"(C:\cur\rel\x.wav)"}, {R"(C:\a\)", R"(C:\a\)"},
        {R"(C:\No\Such\File.WAV)", R"(C:\No\Such\File.WAV)"}, {"", ""}, {long1039, long1039},
        {long1039 + "a", "", withLongFullPath}, {long1039 + R"(\..\b)", R"(C:\b)", withLongFullPath},
        // clang-format on
    };
    for (const auto& [path, normal, onlyOn] : rows)
        EXPECT_TRUE(!HoldsHere(onlyOn) || NormalizePath(path) == WithCurrent(normal)) << path;
}

TEST_F(NormalFormTest, GetAbsolutePath) {
    const char* const rows[][3] = {
        // clang-format off
        {R"(C:\a\..\b.wav)", R"(D:\x)", R"(C:\b.wav)"}, {"b.wav", R"(C:\a)", R"(C:\a\b.wav)"},
        {"b.wav", R"(C:\a\)", R"(C:\a\b.wav)"}, {R"(..\b.wav)", R"(C:\a\c)", R"(C:\a\b.wav)"},
        {"b.wav", "", R"(C:\cur\b.wav)"}, {"b.wav", nullptr, R"(C:\cur\b.wav)"},
        {R"(\b.wav)", R"(C:\a)", R"(C:\b.wav)"}, {"/b.wav", R"(C:\a)", R"(C:\a\b.wav)"}, {"", R"(C:\a)", R"(C:\a\)"},
        {"", nullptr, R"(C:\cur)"}, {"", "", ""}, {"b.wav", "C:/a/", R"(C:\a\b.wav)"},
        {"C:b.wav", R"(D:\a)", R"(C:\cur\b.wav)"},
        // clang-format on
    };
    for (const auto& [path, base, absolute] : rows)
        EXPECT_EQ(GetAbsolutePath(path, base), WithCurrent(absolute))
            << path << " " << (base != nullptr ? base : "null");
}

TEST(NormalizePathCase, FoldsAsciiOnly) {
    std::string path = "C:/\xC3\x89 Z[z@";
    EXPECT_TRUE(NormalizePathCase(path) == "c:/\xC3\x89 z[z@" && path == "C:/\xC3\x89 Z[z@");
}

TEST(NormalizedPaths, CompareAndLieBelow) {
    // Whether the two are equal, and whether the first lies below the second.
    const std::tuple<const char*, const char*, bool, bool> rows[] = {
        // clang-format off
        {R"(C:\A\b.wav)", R"(c:\a\B.WAV)", true, false}, {R"(C:\a)", R"(C:\a\)", false, false},
        {"C:/a", R"(C:\a)", false, false}, {R"(C:\a\..\b)", R"(C:\b)", false, false}, {"", "", true, true},
        {"\xC3\x89", "\xC3\xA9", false, false}, {R"(C:\Songs\a.wav)", R"(C:\Songs)", false, true},
        {R"(c:\SONGS\a.wav)", R"(C:\songs\)", false, true}, {R"(C:\Songs\Sub\a.wav)", R"(C:\Songs)", false, true},
        {R"(C:\Songs\)", R"(C:\Songs)", false, true}, {R"(C:\Songs2\a.wav)", R"(C:\Songs)", false, false},
        {"C:/Songs/a.wav", "C:/Songs", false, false}, {R"(C:/Songs\a.wav)", "C:/Songs", false, true},
        {"anything", "", false, true}, {"", R"(C:\Songs)", false, false},
        // clang-format on
    };
    for (const auto& [first, second, areEqual, isBelow] : rows) {
        EXPECT_EQ(CompareNormalizedPaths(first, second), areEqual) << first << " " << second;
        EXPECT_EQ(IsPathBelow(first, second), isBelow) << first << " " << second;
    }
}

TEST(ConvertPathToLocalSystem, TurnsSlashes) {
    const char* rows[][2] = {
        // clang-format off
        {"/Users/me/a.wav", R"(C:\Users\me\a.wav)"}, {"Audio/a.wav", R"(Audio\a.wav)"},
        {"D:/x/a.wav", R"(D:\x\a.wav)"}, {R"(C:\x\a.wav)", R"(C:\x\a.wav)"}, {"/", R"(C:\)"},
        {"//srv/x", R"(C:\\srv\x)"}, {R"(\x/a.wav)", R"(\x\a.wav)"}, {"", ""},
        // clang-format on
    };
    for (const auto& [path, local] : rows)
        EXPECT_EQ(ConvertPathToLocalSystem(path), local);
}

TEST_F(NormalFormTest, GetPathRelativeToOtherFile) {
    const std::string unchanged = "unchanged";
    const std::string longFolder = R"(C:\)" + std::string(254, 'f') + '\\';
    const std::string rows[][3] = {
        // clang-format off
        {R"(C:\Songs\Demo\song.sng)", R"(C:\Songs\Audio\take1.wav)", R"(..\Audio\take1.wav)"},
        {R"(C:\Songs\Demo\song.sng)", R"(C:\Songs\Demo\take1.wav)", "take1.wav"},
        {R"(C:\Songs\song.sng)", R"(C:\Songs\Audio\Drums\take1.wav)", R"(Audio\Drums\take1.wav)"},
        {R"(C:\Songs\Demo\song.sng)", R"(C:\take1.wav)", R"(..\..\take1.wav)"},
        {R"(C:\SONGS\DEMO\song.sng)", R"(c:\songs\Audio\Take1.wav)", R"(..\Audio\Take1.wav)"},
        {"C:/Songs/Demo/song.sng", "C:/Songs/Audio/take1.wav", R"(..\Audio\take1.wav)"},
        {R"(C:\Songs\Demo\)", R"(C:\Songs\Audio\take1.wav)", R"(..\Audio\take1.wav)"},
        {R"(C:\Songs\Demo)", R"(C:\Songs\Audio\take1.wav)", R"(Audio\take1.wav)"},
        {R"(C:\Songs\Demo\song.sng)", R"(C:\Songs\Audio\)", R"(..\Audio\)"},
        {R"(C:\Songs\Demo\song.sng)", R"(C:\Songs\Demo\)", ""},
        {R"(C:\Songs\Demo\song.sng)", R"(C:\Songs)", R"(..\..\Songs)"},
        {R"(C:\Songs\Demo\song.sng)", R"(D:\Audio\take1.wav)", unchanged},
        {R"(\\srv\share\a\s.sng)", R"(C:\b\t.wav)", unchanged},
        {R"(\\srv\share\a\s.sng)", R"(\\srv\share\b\t.wav)", R"(..\b\t.wav)"},
        {R"(\\srv1\share\a\s.sng)", R"(\\srv2\other\b\t.wav)", R"(..\..\..\srv2\other\b\t.wav)"},
        {R"(C:\Songs\Demo\)", "take1.wav", "take1.wav"},
        {R"(C:\Songs\Demo\song.sng)", "take1.wav", R"(song.sng\take1.wav)"},
        {R"(C:\Songs\Demo\song.sng)", R"(..\take1.wav)", "take1.wav"},
        {R"(C:\Songs\Demo\song.sng)", "", R"(song.sng\)"}, {R"(C:\s.sng)", longFolder + "t.wav", unchanged},
        {longFolder + "s.sng", R"(C:\t.wav)", unchanged}, {R"(C:\s.sng)", std::string(2000, 'a'), unchanged},
        // clang-format on
    };
    for (const auto& [otherFile, path, relative] : rows) {
        VELLOX_TRACE_ROW(otherFile + ", " + path);
        std::string result = unchanged;
        EXPECT_EQ(GetPathRelativeToOtherFile(result, otherFile, path), relative == unchanged ? 0 : 1);
        EXPECT_EQ(result, relative);
    }
    std::string path = R"(C:\Songs\Audio\take1.wav)";
    EXPECT_EQ(GetPathRelativeToOtherFile(path, R"(C:\Songs\song.sng)", path), 1);
    EXPECT_EQ(path, R"(Audio\take1.wav)");
}

TEST(ComponentReader, HandsOutComponents) {
    // Each component with a bar behind it.
    const std::string rows[][2] = {
        {"", ""}, {R"(\a\b)", "a|b|"}, {R"(a\b\)", "a|b|"}, {R"(a\\b)", "a||b|"}, {R"(\\srv/share)", "|srv|share|"}};
    for (const auto& [path, expected] : rows) {
        ComponentReader reader(path);
        std::string_view component;
        std::string components;
        while (reader.Next(component))
            components.append(component).append("|");
        EXPECT_EQ(components, expected) << path;
    }
}

} // namespace
} // namespace Vellox::FileNames
