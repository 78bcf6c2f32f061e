#include "frame/text.h"
#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

WideString Widened(const std::string& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(Names, AreReadAndCutByTheLastSeparatorAndDot) {
    struct Row {
        std::string path, extension, withoutDot, name, withoutExtension, folder;
    };
    Row rows[] = {
        {R"(C:\a.d\b.wav)", ".wav", "wav", "b.wav", R"(C:\a.d\b)", R"(C:\a.d)"},
        {R"(C:\a.d\b)", R"(C:\a.d\b)", R"(d\b)", "b", R"(C:\a)", R"(C:\a.d)"},
        {R"(C:\a\)", R"(C:\a\)", "", "", R"(C:\a\)", R"(C:\a)"},
        {R"(\b)", R"(\b)", "", "b", R"(\b)", ""},
        {"C:/a.d/b", ".d/b", "d/b", "C:/a.d/b", "C:/a", "C:/a.d"},
        {"", "", "", "", "", ""},
        {".", ".", ".", ".", "", "."},
        {"b.", ".", ".", "b.", "b", "b."},
        {".wav", ".wav", "wav", ".wav", "", ".wav"},
        {"b.tar.gz", ".gz", "gz", "b.tar.gz", "b.tar", "b.tar.gz"},
        {"a\\b\0\\c.d"s, ".d", "d", "b", "a\\b\0\\c"s, "a\\b\0"s},
        {"a.b\0\\c"s, "a.b\0\\c"s, "b\0\\c"s, "a.b", "a", "a.b\0"s},
    };
    for (Row& row : rows) {
        SCOPED_TRACE(row.path);
        WideString wide = Widened(row.path);
        EXPECT_EQ(GetExtension(row.path), row.extension);
        EXPECT_EQ(GetExtension(wide), Widened(row.extension));
        EXPECT_EQ(GetExtensionWithoutDot(row.path), row.withoutDot);
        EXPECT_EQ(HasExtension(row.path), !row.withoutDot.empty());
        EXPECT_EQ(GetFilenameWithoutPath(row.path), row.name);
        EXPECT_EQ(GetFilenameWithoutPath(wide), Widened(row.name));
        EXPECT_EQ(GetFilenameWithoutExtension(row.path), row.withoutExtension);
        EXPECT_EQ(GetFolderPathFromFilename(row.path), row.folder);
        EXPECT_EQ(FormatDirectory(row.path), row.path + R"(\*)");
    }
}

TEST(Extensions, AreReplacedForcedAppendedAndKept) {
    const std::string x(1100, 'x');
    struct Row {
        std::string path, text, changed, forced, appended, inserted;
    };
    const Row rows[] = {
        {R"(C:\a\b.txt)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.wav)", R"(C:\a\b.txt.wav)", R"(C:\a\b.wav.txt)"},
        {R"(C:\b.WAV)", ".wav", R"(C:\b.wav)", R"(C:\b.WAV)", R"(C:\b.WAV)", R"(C:\b.wav.WAV)"},
        {R"(C:\a.d\b)", ".wav", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)"},
        {"C:/a.d/b", ".wav", "C:/a.wav", "C:/a.wav", "C:/a.d/b.wav", "C:/a.wav.d/b"},
        {"", ".wav", ".wav", ".wav", ".wav", ".wav"},
        {"", "", "", "", "", ""},
        {"b.", "", "b", "b.", "b.", "b."},
        {"b.[", ".{", "b.{", "b.{", "b.[.{", "b.{.["},
        {"b.\xC4", ".\xE4", "b.\xE4", "b.\xE4", "b.\xC4.\xE4", "b.\xE4.\xC4"},
        {"b.gz", ".tar.gz", "b.tar.gz", "b.gz", "b.gz", "b.tar.gz.gz"},
        {"b.tar.gz", "_x", "b.tar_x", "b.tar_x", "b.tar.gz_x", "b.tar_x.gz"},
        {"b.c\0.d"s, ".c", "b.c\0.c"s, "b.c\0.d"s, "b.c\0.d"s, "b.c\0.c.d"s},
        {"b.y" + x, "." + x, "b." + x, "b." + x, "b.y" + x + "." + x, "b." + x + ".y" + x},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path + " and " + row.text);
        EXPECT_EQ(ExtensionChange(row.path, row.text), row.changed);
        EXPECT_EQ(ForceExtension(row.path, row.text), row.forced);
        EXPECT_EQ(CheckAppendExtension(row.path, row.text), row.appended);
        EXPECT_EQ(AppendStringBeforeExtension(row.path, row.text), row.inserted);
    }
}

// By the last dot of all, and with a dot of its own.
TEST(Extensions, AreReplacedInPlace) {
    const TextRow rows[] = {
        {R"(C:\a\b.txt)", R"(C:\a\b.x)"}, {R"(C:\a.d\b)", R"(C:\a.x)"}, {R"(..\a\b)", "..x"}, {"b", "b.x"}, {"", ".x"},
    };
    for (const auto& [path, changed, onlyOn] : rows) {
        std::string buffer = path + std::string(3, '\0') + "##";
        EXPECT_EQ(extension_change(buffer.data(), "x"), 1) << path;
        EXPECT_EQ(buffer.c_str(), changed) << "extension_change of " << path;
        EXPECT_TRUE(buffer.ends_with("##")) << path << " ends too late";
    }
}

class PathTest : public ScratchTest {};

// The forms of one width, those in place at every capacity and with a guard behind it.
template <typename Char> void ExpectFolder(std::basic_string<Char> path, const std::basic_string<Char>& folder) {
    EXPECT_EQ(path_rimuovifilename(path), folder);
    path.append(1, Char()).resize(1100, '#');
    for (int size = -3; size <= static_cast<int>((folder.size() + 2) * sizeof(Char)); ++size) {
        SCOPED_TRACE("path_rimuovifilename in place, of a size of " + std::to_string(size));
        const std::size_t capacity = size < 0 ? 0 : static_cast<std::size_t>(size) / sizeof(Char);
        std::basic_string<Char> buffer = path;
        path_rimuovifilename(buffer.data(), size);
        path_rimuovifilename(static_cast<Char*>(nullptr), size);
        if (capacity > 0) {
            ASSERT_EQ(buffer.c_str(), capacity > folder.size() ? folder : std::basic_string<Char>());
        }
        ASSERT_TRUE(buffer.substr(capacity) == path.substr(capacity)) << "written behind it";
    }
}

TEST_F(PathTest, HasAFolderWithinTheLimits) {
    Make({"w/x/"});
    fs::current_path("w/x");
    const std::string w = In(R"(w\)");
    const std::string a(253, 'a');
    struct Row {
        std::string path, folder, root, name;
        OnlyOn onlyOn = anywhere;
    };
    Row rows[] = {
        {R"(C:\a\b.wav)", R"(C:\a\)", "C:", "b.wav"},
        {"C:b.wav", w + R"(x\)", "C:", "C:b.wav"},
        {"b.wav", w + R"(x\)", "", "b.wav"},
        {R"(..\b.wav)", w, "", "b.wav"},
        {"", w, "", ""},
        {"C:/a/b.wav", R"(C:\a\)", "C:", "C:/a/b.wav"},
        {R"(\\srv\share\b.wav)", R"(\\srv\share\)", "", "b.wav"},
        {"C:\\a\\b\0\\c"s, R"(C:\a\)", "C:", "b"},
        {R"(C:\)" + a + R"(\b.c)", R"(C:\)" + a + R"(\)", "C:", "b.c", withLongFullPath},
        {R"(C:\a)" + a + R"(\b.c)", "", "C:", "b.c"},
        {R"(C:\f\)" + a + "aa.c", R"(C:\f\)", "C:", a + "aa.c", withLongFullPath},
        {R"(C:\f\)" + a + "aaa.c", "", "C:", a + "aaa.c"},
        {R"(C:\f\b.aa)" + a, "", "C:", "b.aa" + a},
        {R"(C:\f)" + std::string(1033, '\\') + "ab", R"(C:\f\)", "C:", "ab", withLongFullPath},
    };
    for (Row& row : rows) {
        SCOPED_TRACE(row.path);
        ExpectFolder<WideChar>(Utf8ToWide(row.path), Utf8ToWide(row.folder));
        EXPECT_EQ(GetPathRoot(row.path), row.root);
        if (!HoldsHere(row.onlyOn, row.path))
            continue;
        ExpectFolder<char>(row.path, row.folder);
        EXPECT_EQ(GetPathWithoutFilename(row.path), row.folder);
        EXPECT_EQ(AppendStringBeforeFilename(row.path, "_"), row.folder + "_" + row.name);
    }
    ExpectFolder<char>("C:\\caf\xE9\\\xFF", "C:\\caf\xE9\\");
    const std::string tooLong = "C:\\f" + std::string(1034, '\\') + "ab";
    EXPECT_EQ(path_rimuovifilename(tooLong), "");
    EXPECT_EQ(path_rimuovifilename(Widened(tooLong)), WideString());
}

TEST_F(PathTest, IsMadeAbsoluteAndNormal) {
    const std::string w = Win32(fs::current_path());
    const std::string longest = "C:\\" + std::string(1036, 'a');
    const TextRow normalRows[] = {
        {"C:/a/./b/../c.wav", R"(C:\a\c.wav)"},
        {R"(rel\x.wav)", w + R"(\rel\x.wav)"},
        {"", ""},
        {longest, longest},
        {longest + "a", "", withLongFullPath},
        {longest + R"(\..\b)", R"(C:\b)", withLongFullPath},
    };
    for (const auto& [path, normal, onlyOn] : RowsHere(normalRows, &TextRow::given))
        EXPECT_EQ(NormalizePath(path), normal) << path;
    struct Row {
        std::string path, base, absolute;
    };
    const Row rows[] = {
        {R"(C:\a\..\b.wav)", R"(D:\x)", R"(C:\b.wav)"},
        {"b.wav", "C:/a/", R"(C:\a\b.wav)"},
        {R"(..\b.wav)", R"(C:\a\c)", R"(C:\a\b.wav)"},
        {"b.wav", "", w + R"(\b.wav)"},
        {"", "", ""},
        {"", R"(C:\a)", R"(C:\a\)"},
        {R"(\b.wav)", R"(C:\a)", R"(C:\b.wav)"},
        {"/b.wav", R"(C:\a)", R"(C:\a\b.wav)"},
        {"C:b.wav", R"(D:\a)", w + R"(\b.wav)"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(GetAbsolutePath(row.path, row.base.c_str()), row.absolute) << row.path << " from " << row.base;
    EXPECT_EQ(GetAbsolutePath("b.wav", nullptr), w + R"(\b.wav)");
    EXPECT_EQ(GetAbsolutePath("", nullptr), w);
}

TEST(Paths, AreComparedWithAsciiFoldedAndTakenOver) {
    struct Row {
        std::string first, second;
        bool areEqual = false, isBelow = false; // the first, below the second
    };
    const Row rows[] = {
        {.first = R"(C:\A\b.wav)", .second = R"(c:\a\B.WAV)", .areEqual = true},
        {.first = "", .second = "", .areEqual = true, .isBelow = true},
        {.first = R"(C:\a)", .second = R"(C:\a\)"},
        {.first = "\xC3\x89", .second = "\xC3\xA9"},
        {.first = R"(C:\Songs\Sub\a.wav)", .second = R"(C:\Songs)", .isBelow = true},
        {.first = R"(c:\SONGS\a.wav)", .second = R"(C:\songs\)", .isBelow = true},
        {.first = R"(C:\Songs2\a.wav)", .second = R"(C:\Songs)"},
        {.first = "C:/Songs/a.wav", .second = "C:/Songs"},
        {.first = R"(C:/Songs\a.wav)", .second = "C:/Songs", .isBelow = true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.first + " and " + row.second);
        EXPECT_EQ(CompareNormalizedPaths(row.first, row.second), row.areEqual);
        EXPECT_EQ(IsPathBelow(row.first, row.second), row.isBelow);
    }
    std::string path = "C:/\xC3\x89 Z[z@";
    EXPECT_EQ(NormalizePathCase(path), "c:/\xC3\x89 z[z@");
    const TextRow foreign[] = {
        {"/Users/me/a.wav", R"(C:\Users\me\a.wav)"},
        {"Audio/a.wav", R"(Audio\a.wav)"},
        {"D:/x/a.wav", R"(D:\x\a.wav)"},
        {"//srv/x", R"(C:\\srv\x)"},
        {"", ""},
    };
    for (const auto& [given, local, onlyOn] : foreign)
        EXPECT_EQ(ConvertPathToLocalSystem(given), local) << given;
}

TEST_F(PathTest, IsExpressedRelativeToAnotherFile) {
    const std::string unchanged = "unchanged", file = R"(C:\S\Demo\s.sng)";
    const std::string longFolder = R"(C:\)" + std::string(254, 'f') + '\\';
    struct Row {
        std::string otherFile, path, relative;
    };
    const Row rows[] = {
        {file, R"(C:\S\Audio\t.wav)", R"(..\Audio\t.wav)"},
        {file, R"(C:\t.wav)", R"(..\..\t.wav)"},
        {R"(C:\S\s.sng)", R"(C:\S\Audio\Drums\t.wav)", R"(Audio\Drums\t.wav)"},
        {R"(C:\SONG\DEMO\s.sng)", R"(c:\song\Audio\T.wav)", R"(..\Audio\T.wav)"},
        {file, R"(C:\S\Demo\)", ""},
        {file, R"(C:\S)", R"(..\..\S)"},
        {file, R"(D:\Audio\t.wav)", unchanged},
        {R"(\\srv\share\a\s.sng)", R"(C:\b\t.wav)", unchanged},
        {R"(\\srv\share\a\s.sng)", R"(\\srv\share\b\t.wav)", R"(..\b\t.wav)"},
        {R"(\\srv1\share\a\s.sng)", R"(\\srv2\other\b\t.wav)", R"(..\..\..\srv2\other\b\t.wav)"},
        {file, "t.wav", R"(s.sng\t.wav)"},
        {file, "", R"(s.sng\)"},
        {"", "", ""},
        {R"(C:\s.sng)", longFolder + "t.wav", unchanged},
        {longFolder + "s.sng", R"(C:\t.wav)", unchanged},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("GetPathRelativeToOtherFile of " + row.path + " seen from " + row.otherFile);
        std::string result = unchanged;
        EXPECT_EQ(GetPathRelativeToOtherFile(result, row.otherFile, row.path), row.relative == unchanged ? 0 : 1);
        EXPECT_EQ(result, row.relative);
    }
    std::string path = R"(C:\S\Audio\t.wav)";
    EXPECT_EQ(GetPathRelativeToOtherFile(path, R"(C:\S\s.sng)", path), 1);
    EXPECT_EQ(path, R"(Audio\t.wav)") << "of its own text";
}

} // namespace
} // namespace Vellox::FileNames
