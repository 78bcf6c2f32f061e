#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

TEST(Extensions, AreReadFromTheLastDot) {
    std::string rows[][3] = {
        // clang-format off
        {R"(C:\a\b.wav)", ".wav", "wav"}, {R"(C:\a\b)", R"(C:\a\b)", ""}, {R"(C:\a.d\b)", R"(C:\a.d\b)", R"(d\b)"},
        {R"(C:\a.d\b.wav)", ".wav", "wav"}, {"b.wav", ".wav", "wav"}, {"b", "b", ""}, {"", "", ""}, {".", ".", "."},
        {".wav", ".wav", "wav"}, {"b.", ".", "."}, {"b.tar.gz", ".gz", "gz"}, {R"(C:\a\)", R"(C:\a\)", ""},
        {"C:/a.d/b", ".d/b", "d/b"}, {"a\0.b"s, ".b", "b"}, {"a.b\0\\c"s, "a.b\0\\c"s, "b\0\\c"s},
        // clang-format on
    };
    for (auto& [path, extension, withoutDot] : rows) {
        SCOPED_TRACE(path);
        WideString wide(path.begin(), path.end());
        EXPECT_EQ(GetExtension(path), extension);
        EXPECT_EQ(GetExtension(wide), WideString(extension.begin(), extension.end()));
        EXPECT_EQ(GetExtensionWithoutDot(path), withoutDot);
        EXPECT_EQ(HasExtension(path), !withoutDot.empty());
    }
}

TEST(Extensions, AreReplacedForcedAndAppended) {
    const std::string x(1100, 'x');
    const std::string rows[][5] = {
        // clang-format off
        {R"(C:\a\b.txt)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.wav)", R"(C:\a\b.txt.wav)"},
        {"", "", "", "", ""}, {"b.txt", "wav", "bwav", "bwav", "b.txtwav"}, {".wav", ".wav", ".wav", ".wav", ".wav"},
        {R"(C:\a\b.WAV)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.WAV)", R"(C:\a\b.WAV)"}, {"b.", "wav", "bwav", "b.", "b."},
        {R"(C:\a\b)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.wav)", R"(C:\a\b.wav)"}, {"b.[", ".{", "b.{", "b.{", "b.[.{"},
        {"b.txt", "", "b", "b", "b.txt"},
        {R"(C:\a.d\b)", ".wav", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)"},
        {"", ".wav", ".wav", ".wav", ".wav"}, {"b.wav\0.txt"s, ".wav", "b.wav\0.wav"s, "b.wav\0.txt"s, "b.wav\0.txt"s},
        {"wav", ".wav", "wav.wav", "wav.wav", "wav.wav"}, {"b.y" + x, "." + x, "b." + x, "b." + x, "b.y" + x + "." + x},
        {"b.gz", ".tar.gz", "b.tar.gz", "b.gz", "b.gz"}, {"b.tar.gz", ".zip", "b.tar.zip", "b.tar.zip", "b.tar.gz.zip"},
        {"C:/a.d/b", ".wav", "C:/a.wav", "C:/a.wav", "C:/a.d/b.wav"}, {"b." + x, "." + x, "b." + x, "b." + x, "b." + x},
        {"b.\xC4", ".\xE4", "b.\xE4", "b.\xE4", "b.\xC4.\xE4"}, {"b.wav", ".wav\0c"s, "b.wav\0c"s, "b.wav", "b.wav"},
        // clang-format on
    };
    for (const auto& [path, extension, changed, forced, appended] : rows) {
        SCOPED_TRACE(path);
        EXPECT_EQ(ExtensionChange(path, extension), changed);
        EXPECT_EQ(ForceExtension(path, extension), forced);
        EXPECT_EQ(CheckAppendExtension(path, extension), appended);
    }
}

TEST(Extensions, TakeTextInPlaceAndBefore) {
    const std::string rows[][4] = {
        // clang-format off
        {R"(C:\a\b.txt)", "wav", R"(C:\a\b.wav)", R"(C:\a\bwav.txt)"}, {"b", "wav", "b.wav", "bwav"},
        {R"(C:\a.d\b)", "wav", R"(C:\a.wav)", R"(C:\a.d\bwav)"}, {"", "wav", ".wav", "wav"}, {"b.", "", "b.", "b."},
        {"b.txt", ".wav", "b..wav", "b.wav.txt"}, {R"(..\a\b)", "wav", "..wav", R"(..\a\bwav)"},
        {".wav", "_x", "._x", "_x.wav"}, {"b.tar.gz", "_x", "b.tar._x", "b.tar_x.gz"},
        // clang-format on
    };
    for (const auto& [path, text, changed, inserted] : rows) {
        SCOPED_TRACE(path);
        std::string buffer = path + std::string(text.size() + 2, '\0') + "##";
        EXPECT_EQ(extension_change(buffer.data(), text.c_str()), 1);
        EXPECT_TRUE(buffer.starts_with(changed + '\0') && buffer.ends_with("##")) << buffer;
        EXPECT_EQ(AppendStringBeforeExtension(path, text), inserted);
    }
}

// The forms of one width, those in place at every capacity and with a guard behind it.
template <typename Char> void ExpectFolder(const std::string& path, const std::string& folder) {
    std::basic_string<Char> before(path.begin(), path.end());
    const std::basic_string<Char> expected(folder.begin(), folder.end());
    EXPECT_EQ(path_rimuovifilename(before), expected);
    before.append(1, Char()).resize(1100, '#');
    for (int size = -3; size <= static_cast<int>((folder.size() + 2) * sizeof(Char)); ++size) {
        const std::size_t capacity = size < 0 ? 0 : static_cast<std::size_t>(size) / sizeof(Char);
        const std::size_t cut = capacity > folder.size() ? 0 : folder.size();
        std::basic_string<Char> buffer = before;
        path_rimuovifilename(buffer.data(), size);
        path_rimuovifilename(static_cast<Char*>(nullptr), size);
        ASSERT_TRUE(capacity == 0 || buffer.starts_with(expected.substr(cut) + Char())) << size;
        ASSERT_TRUE(buffer.substr(capacity) == before.substr(capacity)) << size;
    }
}

TEST(Filenames, AreCutFromTheText) {
    const std::string rows[][4] = {
        // clang-format off
        {R"(C:\a\b.wav)", "b.wav", R"(C:\a\b)", R"(C:\a)"}, {R"(C:\a.d\b)", "b", R"(C:\a)", R"(C:\a.d)"},
        {"", "", "", ""}, {R"(C:\a\)", "", R"(C:\a\)", R"(C:\a)"}, {R"(C:\)", "", R"(C:\)", "C:"}, {"b", "b", "b", "b"},
        {"b.wav", "b.wav", "b", "b.wav"}, {".wav", ".wav", "", ".wav"}, {R"(\b)", "b", R"(\b)", ""},
        {R"(a\b/c)", "b/c", R"(a\b/c)", R"(a\b)"}, {"b.tar.gz", "b.tar.gz", "b.tar", "b.tar.gz"},
        {"C:/a/b.wav", "C:/a/b.wav", "C:/a/b", "C:/a"}, {"a\\b\0\\c.d"s, "b", "a\\b\0\\c"s, "a\\b\0"s},
        // clang-format on
    };
    for (const auto& [path, name, withoutExtension, folder] : rows) {
        SCOPED_TRACE(path);
        EXPECT_EQ(GetFilenameWithoutPath(path), name);
        EXPECT_EQ(GetFilenameWithoutPath(WideString(path.begin(), path.end())), WideString(name.begin(), name.end()));
        EXPECT_EQ(GetFilenameWithoutExtension(path), withoutExtension);
        EXPECT_EQ(GetFolderPathFromFilename(path), folder);
        EXPECT_EQ(FormatDirectory(path), path + R"(\*)");
    }
}

class PathTest : public ScratchTest {};

TEST_F(PathTest, HasAFolderWithinTheLimits) {
    Make({"w/x/"});
    fs::current_path("w/x");
    const std::string w = In(R"(w\)");
    const std::string a(253, 'a');
    std::string rows[][5] = {
        // clang-format off
        {R"(C:\a\b.wav)", R"(C:\a\)", "C:", "_b.wav"}, {R"(C:\a\)", R"(C:\a\)", "C:", "_"},
        {"C:\\a\\b\0\\c"s, R"(C:\a\)", "C:", "_b"}, {"", w, "", "_"}, {"C:b.wav", w + R"(x\)", "C:", "_C:b.wav"},
        {R"(C:\a)", R"(C:\)", "C:", "_a"}, {R"(C:\)", R"(C:\)", "C:", "_"}, {R"(..\b.wav)", w, "", "_b.wav"},
        {"b.wav", w + R"(x\)", "", "_b.wav"}, {"C:/a/b.wav", R"(C:\a\)", "C:", "_C:/a/b.wav"},
        {R"(\\srv\share\b.wav)", R"(\\srv\share\)", "", "_b.wav"}, {R"(C:\f\b.aa)" + a, "", "C:", "_b.aa" + a},
        {R"(C:\a)" + a + R"(\b.c)", "", "C:", "_b.c"}, {R"(C:\f\)" + a + "aaa.c", "", "C:", "_" + a + "aaa.c"},
        {R"(C:\)" + a + R"(\b.c)", R"(C:\)" + a + R"(\)", "C:", "_b.c", withLongFullPath},
        {R"(C:\f)" + std::string(1033, '\\') + "ab", R"(C:\f\)", "C:", "_ab", withLongFullPath},
        {R"(C:\f\)" + a + "aa.c", R"(C:\f\)", "C:", "_" + a + "aa.c", withLongFullPath},
        {R"(C:\f\b.a)" + a, R"(C:\f\)", "C:", "_b.a" + a, withLongFullPath},
        // clang-format on
    };
    for (auto& [path, folder, root, name, onlyOn] : rows) {
        SCOPED_TRACE(path);
        ExpectFolder<WideChar>(path, folder);
        EXPECT_EQ(GetPathRoot(path), root);
        if (!HoldsHere(onlyOn))
            continue;
        ExpectFolder<char>(path, folder);
        EXPECT_EQ(GetPathWithoutFilename(path), folder);
        EXPECT_EQ(AppendStringBeforeFilename(path, "_"), folder + name);
    }
    ExpectFolder<char>("C:\\caf\xE9\\\xFF", "C:\\caf\xE9\\");
    const std::string tooLong = "C:\\f" + std::string(1034, '\\') + "ab";
    EXPECT_TRUE(path_rimuovifilename(tooLong).empty());
    EXPECT_TRUE(path_rimuovifilename(WideString(tooLong.begin(), tooLong.end())).empty());
}

TEST_F(PathTest, IsMadeAbsoluteAndNormal) {
    const std::string w = Win32(fs::current_path());
    const std::string long1039 = "C:\\" + std::string(1036, 'a');
    const std::string normal[][3] = {
        // clang-format off
        {"C:/a/./b/../c.wav", R"(C:\a\c.wav)"}, {R"(rel\x.wav)", w + R"(\rel\x.wav)"}, {R"(C:\a\)", R"(C:\a\)"},
        {R"(C:\No\Such\File.WAV)", R"(C:\No\Such\File.WAV)"}, {"", ""}, {long1039, long1039},
        {long1039 + "a", "", withLongFullPath}, {long1039 + R"(\..\b)", R"(C:\b)", withLongFullPath},
        // clang-format on
    };
    for (const auto& [path, expected, onlyOn] : normal)
        EXPECT_TRUE(!HoldsHere(onlyOn) || NormalizePath(path) == expected) << path;
    const std::string absolute[][3] = {
        // clang-format off
        {R"(C:\a\..\b.wav)", R"(D:\x)", R"(C:\b.wav)"}, {"b.wav", R"(C:\a)", R"(C:\a\b.wav)"},
        {"b.wav", R"(C:\a\)", R"(C:\a\b.wav)"}, {R"(..\b.wav)", R"(C:\a\c)", R"(C:\a\b.wav)"},
        {"b.wav", "", w + R"(\b.wav)"}, {"b.wav", "null", w + R"(\b.wav)"}, {"", "null", w}, {"", "", ""},
        {R"(\b.wav)", R"(C:\a)", R"(C:\b.wav)"}, {"/b.wav", R"(C:\a)", R"(C:\a\b.wav)"}, {"", R"(C:\a)", R"(C:\a\)"},
        {"b.wav", "C:/a/", R"(C:\a\b.wav)"}, {"C:b.wav", R"(D:\a)", w + R"(\b.wav)"},
        // clang-format on
    };
    for (const auto& [path, base, expected] : absolute)
        EXPECT_EQ(GetAbsolutePath(path, base != "null" ? base.c_str() : nullptr), expected) << path << " " << base;
}

TEST(Paths, AreComparedWithAsciiFoldedAndTakenOver) {
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
    std::string path = "C:/\xC3\x89 Z[z@";
    EXPECT_TRUE(NormalizePathCase(path) == "c:/\xC3\x89 z[z@" && path == "C:/\xC3\x89 Z[z@");
    const char* foreign[][2] = {
        // clang-format off
        {"/Users/me/a.wav", R"(C:\Users\me\a.wav)"}, {"Audio/a.wav", R"(Audio\a.wav)"},
        {"D:/x/a.wav", R"(D:\x\a.wav)"}, {R"(C:\x\a.wav)", R"(C:\x\a.wav)"}, {"/", R"(C:\)"},
        {"//srv/x", R"(C:\\srv\x)"}, {R"(\x/a.wav)", R"(\x\a.wav)"}, {"", ""},
        // clang-format on
    };
    for (const auto& [given, local] : foreign)
        EXPECT_EQ(ConvertPathToLocalSystem(given), local);
}

TEST_F(PathTest, IsExpressedRelativeToAnotherFile) {
    const std::string unchanged = "unchanged", file = R"(C:\S\Demo\s.sng)";
    const std::string longFolder = R"(C:\)" + std::string(254, 'f') + '\\';
    const std::string rows[][3] = {
        // clang-format off
        {file, R"(C:\S\Audio\t.wav)", R"(..\Audio\t.wav)"}, {file, R"(C:\S\Demo\t.wav)", "t.wav"},
        {R"(C:\S\s.sng)", R"(C:\S\Audio\Drums\t.wav)", R"(Audio\Drums\t.wav)"}, {file, R"(C:\t.wav)", R"(..\..\t.wav)"},
        {R"(C:\SONG\DEMO\s.sng)", R"(c:\song\Audio\T.wav)", R"(..\Audio\T.wav)"},
        {"C:/S/Demo/s.sng", "C:/S/Audio/t.wav", R"(..\Audio\t.wav)"},
        {R"(C:\S\Demo\)", R"(C:\S\Audio\t.wav)", R"(..\Audio\t.wav)"}, {file, R"(C:\S\Audio\)", R"(..\Audio\)"},
        {R"(C:\S\Demo)", R"(C:\S\Audio\t.wav)", R"(Audio\t.wav)"}, {file, R"(C:\S\Demo\)", ""},
        {file, R"(C:\S)", R"(..\..\S)"}, {file, R"(D:\Audio\t.wav)", unchanged},
        {R"(\\srv\share\a\s.sng)", R"(C:\b\t.wav)", unchanged},
        {R"(\\srv\share\a\s.sng)", R"(\\srv\share\b\t.wav)", R"(..\b\t.wav)"},
        {R"(\\srv1\share\a\s.sng)", R"(\\srv2\other\b\t.wav)", R"(..\..\..\srv2\other\b\t.wav)"},
        {R"(C:\S\Demo\)", "t.wav", "t.wav"}, {file, "t.wav", R"(s.sng\t.wav)"}, {file, R"(..\t.wav)", "t.wav"},
        {file, "", R"(s.sng\)"}, {R"(C:\s.sng)", longFolder + "t.wav", unchanged},
        {longFolder + "s.sng", R"(C:\t.wav)", unchanged}, {R"(C:\s.sng)", std::string(2000, 'a'), unchanged},
        // clang-format on
    };
    for (const auto& [otherFile, path, relative] : rows) {
        SCOPED_TRACE(otherFile + ", " + path);
        std::string result = unchanged;
        EXPECT_EQ(GetPathRelativeToOtherFile(result, otherFile, path), relative == unchanged ? 0 : 1);
        EXPECT_EQ(result, relative);
    }
    std::string path = R"(C:\S\Audio\t.wav)";
    EXPECT_TRUE(GetPathRelativeToOtherFile(path, R"(C:\S\s.sng)", path) == 1 && path == R"(Audio\t.wav)") << path;
}

} // namespace
} // namespace Vellox::FileNames
