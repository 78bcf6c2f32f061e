#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

class FilenamesTest : public ScratchTest {
protected:
    // Every form, and those in place at every capacity with a guard behind it.
    template <typename Char> static void ExpectFolder(const std::string& path, const std::string& folder) {
        std::basic_string<Char> before(path.begin(), path.end());
        const std::basic_string<Char> expected(folder.begin(), folder.end());
        EXPECT_EQ(path_rimuovifilename(before), expected);
        before.append(1, Char()).resize(1100, '#');
        for (std::int32_t size = -3; size <= static_cast<std::int32_t>((folder.size() + 2) * sizeof(Char)); ++size) {
            const std::size_t capacity = size < 0 ? 0 : static_cast<std::size_t>(size) / sizeof(Char);
            const std::basic_string<Char> result = capacity > folder.size() ? expected : std::basic_string<Char>();
            std::basic_string<Char> buffer = before;
            path_rimuovifilename(buffer.data(), size);
            ASSERT_EQ(buffer.substr(capacity), before.substr(capacity)) << size;
            ASSERT_TRUE(buffer.c_str() == (capacity == 0 ? before.c_str() : result)) << size;
        }
    }
    static void ExpectFolders(const std::string& path, const std::string& folder) {
        ExpectFolder<char>(path, folder);
        ExpectFolder<WideChar>(path, folder);
    }
};

TEST_F(FilenamesTest, AreCutFromTheText) {
    const std::string rows[][4] = {
        // clang-format off
        {R"(C:\a\b.wav)", "b.wav", R"(C:\a\b)", R"(C:\a)"}, {R"(C:\a.d\b)", "b", R"(C:\a)", R"(C:\a.d)"},
        {R"(C:\a\)", "", R"(C:\a\)", R"(C:\a)"}, {R"(C:\)", "", R"(C:\)", "C:"}, {"b.wav", "b.wav", "b", "b.wav"},
        {"b", "b", "b", "b"}, {"", "", "", ""}, {".wav", ".wav", "", ".wav"}, {R"(\b)", "b", R"(\b)", ""},
        {"b.tar.gz", "b.tar.gz", "b.tar", "b.tar.gz"}, {"C:/a/b.wav", "C:/a/b.wav", "C:/a/b", "C:/a"},
        {"a\\b\0\\c.d"s, "b", "a\\b\0\\c"s, "a\\b\0"s}, {R"(a\b/c)", "b/c", R"(a\b/c)", R"(a\b)"}, {"C:", "C:", "C:", "C:"},
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

TEST_F(FilenamesTest, LeaveAnAbsoluteFolder) {
    fs::create_directories(At("w/x"));
    fs::current_path(At("w/x"));
    const std::string w = In(R"(w\)");
    const std::string rows[][4] = {
        // clang-format off
        {R"(C:\a\b.wav)", R"(C:\a\)", "C:", "_b.wav"}, {R"(C:\a\)", R"(C:\a\)", "C:", "_"}, {R"(C:\a)", R"(C:\)", "C:", "_a"},
        {R"(C:\)", R"(C:\)", "C:", "_"}, {"C:/a/b.wav", R"(C:\a\)", "C:", "_C:/a/b.wav"}, {"", w, "", "_"},
        {"b.wav", w + R"(x\)", "", "_b.wav"}, {R"(..\b.wav)", w, "", "_b.wav"}, {"C:b.wav", w + R"(x\)", "C:", "_C:b.wav"},
        {R"(\\srv\share\b.wav)", R"(\\srv\share\)", "", "_b.wav"}, {R"(X:\a\..\b)", R"(X:\)", "X:", "_b"},
        {"C:\\a\\b\0\\c"s, R"(C:\a\)", "C:", "_b"}, {R"(C:\a\.)", R"(C:\)", "C:", "_."},
        // clang-format on
    };
    for (const auto& [path, folder, root, name] : rows) {
        VELLOX_TRACE_ROW(path);
        ExpectFolders(path, folder);
        EXPECT_EQ(GetPathWithoutFilename(path), folder);
        EXPECT_EQ(AppendStringBeforeFilename(path, "_"), folder + name);
        std::string text = path;
        EXPECT_EQ(GetPathRoot(text), root);
    }
    ExpectFolder<char>("C:\\caf\xE9\\\xFF", "C:\\caf\xE9\\");
    fs::remove(At("w/x"));
    ExpectFolders("b.wav", "");
    path_rimuovifilename(static_cast<char*>(nullptr), 100);
    path_rimuovifilename(static_cast<WideChar*>(nullptr), 100);
}

TEST_F(FilenamesTest, LeaveNothingBeyondTheLimits) {
    const std::string drive = R"(C:\)";
    const std::string folder = R"(C:\f\)";
    const std::string rows[][2] = {
        {drive + std::string(253, 'a') + R"(\b.c)", drive + std::string(253, 'a') + R"(\)"},
        {folder + std::string(255, 'a') + ".c", folder},
        {folder + "b." + std::string(254, 'a'), folder},
    };
    for (const auto& [longest, result] : rows) {
        VELLOX_TRACE_ROW(longest);
        ExpectFolders(longest, result);
        ExpectFolders(std::string(longest).insert(longest.find('a'), "a"), "");
    }
    std::string detour = folder;
    while (detour.size() < 1037)
        detour += R"(.\)";
    for (const std::string& name : {"bc"s, "bcd"s}) {
        const std::string path = detour + name;
        EXPECT_EQ(path_rimuovifilename(path), path.size() < 1040 ? folder : "");
        EXPECT_EQ(path_rimuovifilename(WideString(path.begin(), path.end())).size(), path.size() < 1040 ? 5U : 0U);
    }
    for (const auto& [before, after] : {std::pair(drive, R"(\)"s), {"C:", ""}, {"C:.", ""}}) {
        std::string path = before + std::string(1041 - before.size() - after.size(), 'a') + after;
        EXPECT_EQ(GetPathRoot(path), "C:");
        EXPECT_EQ(GetPathRoot(path.insert(before.size(), "a")), "");
    }
}

} // namespace
} // namespace Vellox::FileNames
