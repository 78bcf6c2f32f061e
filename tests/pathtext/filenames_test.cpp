#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

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
        VELLOX_TRACE_ROW(path);
        EXPECT_EQ(GetFilenameWithoutPath(path), name);
        EXPECT_EQ(GetFilenameWithoutPath(WideString(path.begin(), path.end())), WideString(name.begin(), name.end()));
        EXPECT_EQ(GetFilenameWithoutExtension(path), withoutExtension);
        EXPECT_EQ(GetFolderPathFromFilename(path), folder);
        EXPECT_EQ(FormatDirectory(path), path + R"(\*)");
    }
}

class FolderTest : public ScratchTest {};

TEST_F(FolderTest, IsAbsoluteWithinTheLimits) {
    fs::create_directories(At("w/x"));
    fs::current_path(At("w/x"));
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
        VELLOX_TRACE_ROW(path);
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

} // namespace
} // namespace Vellox::FileNames
