#include "filesystem/queries.h"

#include <set>

#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class FileSystemTest : public ScratchTest {
protected:
    FileSystemTest() {
        for (const char* name : {".hidden", "B.WAV", "a.wav", "denied", "r\xC3\xA9.txt", "sub/in"})
            WriteFile(At(name), "");
        fs::permissions("denied", fs::perms::none);
        fs::create_directories("parent.wav/empty");
        MakeLink("sub", "link");
        MakeLink("none", "dangling");
    }

    static std::set<std::string> SetOf(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }
};

TEST_F(FileSystemTest, TellsWhatStandsAtAPath) {
    // Whether the path opens, whether anything stands there, whether that is a folder, and whether it is empty.
    struct Row {
        std::string path;
        bool opens, exists, isFolder, isEmpty;
        const char* onlyOn = everywhere;
    };
    const Row rows[] = {
        // clang-format off
        {"a.wav", true, true, false, false}, {"denied", false, true, false, false, withRights}, {"sub", false, true, true, false},
        {R"(sub\)", false, true, true, false}, {R"(sub\*)", false, false, false, false},
        {R"(parent.wav\*)", false, false, false, false}, {R"(parent.wav\empty)", false, true, true, true},
        {R"(parent.wav\empty\)", false, true, true, true}, {R"(parent.wav\empty\*)", false, false, false, true},
        {"link", false, true, true, false, withLinks}, {"dangling", false, true, false, false, withLinks}, {"", false, false, false, true},
        {std::string("a.wav\0x", 7), true, true, false, false}, {R"(none\*)", false, false, false, true},
        {"none", false, false, false, true}, {In("a.wav").replace(0, 1, "D"), false, false, false, true},
        {"\\" + In("a.wav").substr(2), false, false, false, true}, {std::string(9999, 'x'), false, false, false, true},
        // clang-format on
    };
    const AsOrdinaryUser user;
    for (const auto& [path, opens, exists, isFolder, isEmpty, onlyOn] : rows)
        for (const bool preset : {false, true}) {
            if (!HoldsHere(onlyOn))
                continue;
            VELLOX_TRACE_ROW(path);
            EXPECT_EQ(CheckFileExists(path), opens);
            EXPECT_TRUE(CheckFolderExists(path) == exists && CheckFileExistsEvenIfNotAccessible(path) == exists);
            bool answer = preset;
            EXPECT_TRUE(CheckPathIsDirectory(path, answer) == exists && answer == (exists ? isFolder : preset));
            EXPECT_EQ(IsFolderEmpty(path), isEmpty);
            EXPECT_EQ(GetAvailableSpace(path) == INT64_MAX, !isFolder);
            EXPECT_TRUE(!IsSymlink(path) && !IsSpecialFile(path, answer) && answer);
        }
    VelloxSetCurrentDirectory(In("sub").c_str());
    VelloxSetCurrentDirectory("none");
    EXPECT_EQ(fs::current_path(), At("sub"));
}

TEST_F(FileSystemTest, ListsTheNamesThatMatch) {
    std::set<std::string> files = {".hidden", "B.WAV", "a.wav", "dangling", "denied", "r\xC3\xA9.txt"};
    std::set<std::string> folders = {"link", "parent.wav", "sub"};
    if (!HoldsHere(withLinks))
        files.erase("dangling"), folders.erase("link");
    struct Row {
        const char* pattern;
        std::set<std::string> files, folders;
        const char* onlyOn = everywhere;
    };
    const Row rows[] = {
        // clang-format off
        {"*", files, folders}, {"*.*", files, folders},
        {"*.wav", {"B.WAV", "a.wav"}, {"parent.wav"}}, {"?.wav", {"B.WAV", "a.wav"}, {}}, {"*?b*", {}, {"sub"}, "linux: Wine takes no ? behind a *"},
        {"R?.T*T", {"r\xC3\xA9.txt"}, {}}, {"sub", {}, {"sub"}}, {"a.wav", {"a.wav"}, {}}, 
        {"A.wav", {}, {}, withCase},
        {R"(sub\*)", {"in"}, {}}, {"link/*", {"in"}, {}, withLinks}, {R"(s*\in)", {}, {}}, {R"(a.wav\*)", {}, {}},
        {R"(sub\)", {}, {}}, {"", {}, {}}, {R"(none\*)", {}, {}}, {R"(Q:\*)", {}, {}},
        // clang-format on
    };
    for (const auto& [pattern, expectedFiles, expectedFolders, onlyOn] : rows) {
        if (!HoldsHere(onlyOn))
            continue;
        EXPECT_EQ(SetOf(GetFolderFiles(pattern)), expectedFiles) << pattern;
        EXPECT_EQ(SetOf(GetFolderSubfolders(pattern)), expectedFolders) << pattern;
        // The cursor gives the same names, from the last to the first, cut at five bytes.
        const std::vector<std::string> names = GetFolderFiles(pattern);
        std::size_t left = names.size();
        void* state = this;
        ASSERT_EQ(GetFolderFiles(pattern, nullptr, 0, &state), left);
        std::string name(7, '#');
        for (; left > 0; name.assign(7, '#')) {
            EXPECT_EQ(GetFolderFiles(nullptr, name.data(), 5, &state), --left);
            EXPECT_TRUE(name.starts_with(names[left].substr(0, 5) + '\0') && name[6] == '#') << name;
        }
        EXPECT_TRUE(GetFolderFiles(nullptr, name.data(), 5, &state) == -1 && name == "#######") << pattern;
    }
}

TEST_F(FileSystemTest, FindsTheFirstFreeName) {
    for (const char* name : {"a2.wav", "a 1.wav", "b1.wav", "TrackBackup", "Take 2.wav", "sub/a.wav"})
        WriteFile(At(name), "");
    // Folder, stem and tail; the free name of a file, and of a folder.
    const std::string rows[][6] = {
        // clang-format off
        {"", "a", ".wav", "a1.wav", "a 2.wav"}, {"", "b", ".wav", "b.wav", "b.wav", withCase}, {"", "sub", "", "sub", "sub 1"},
        {"", "parent", ".wav", "parent.wav", "parent 1.wav"}, {"", "dangling", "", "dangling", "dangling 1", withLinks},
        {"", "denied", "", "denied", "denied 1", withRights}, {"", "Track", "Backup", "Track1Backup", "Track 1Backup"},
        {"", "Take 2", ".wav", "Take 21.wav", "Take 2 1.wav"}, {"sub", "a", ".wav", R"(sub\a1.wav)", R"(sub\a 1.wav)"},
        {R"(sub\)", "in", "", R"(sub\in1)", R"(sub\in 1)"}, {"sub/", "in", "", R"(sub/\in1)", R"(sub/\in 1)"},
        {R"(none\)", "a", ".wav", R"(none\a.wav)", R"(none\a.wav)"}, {"", "", "", "", ""},
        {"", std::string("a.wav\0", 6), "", "", ""}, // no number makes a difference behind a NUL
        // clang-format on
    };
    const AsOrdinaryUser user;
    for (const auto& [folder, stem, tail, file, freeFolder, onlyOn] : rows) {
        if (!HoldsHere(onlyOn))
            continue;
        EXPECT_EQ(ComposeNewFilenameAndCheckExists(folder, stem, tail), file) << folder << stem << tail;
        EXPECT_EQ(ComposeNewFolderAndCheckExists(folder, stem, tail), freeFolder) << folder << stem << tail;
        EXPECT_TRUE(!folder.empty() || ComposeNewFilenameAndCheckExists(stem, tail) == file) << stem;
        EXPECT_TRUE(!folder.empty() || ComposeNewFolderAndCheckExists(stem, tail) == freeFolder) << stem;
    }
}

TEST_F(FileSystemTest, MakesTheMissingLevelsBelowTheFirst) {
    const std::string here = Win32(fs::current_path());
    // Whether all levels are there in the end, and how many were made.
    const std::tuple<std::string, bool, int> rows[] = {
        // clang-format off
        {here + R"(\a\b\c)", true, 3}, {here + R"(\a\b\c)", true, 0}, {here.substr(2) + R"(\\d\\e\)", true, 2},
        {here + R"(\a/b\x)", true, 1}, {here + R"(\m/n\x)", false, 0}, {here + R"(\f\\file)", true, 2},
        {here + R"(\a.wav)", true, 0}, {here + R"(\a.wav\x\y)", false, 0}, {"C:/x/y", true, 0}, {"", true, 0},
        {R"(p\q)", false, 0}, {R"(a\q)", true, 1}, {R"(\\\)", true, 0}, {R"(Q:\)", true, 0}, {"a.wav", true, 0},
        {R"(Q:\a)", false, 0}, {R"(\\srv\share)", true, 0}, {R"(\\srv\share\a)", false, 0},
        // clang-format on
    };
    const AsOrdinaryUser user;
    const auto entries = [&] { return std::distance(fs::recursive_directory_iterator(At("")), {}); };
    for (const auto& [path, isThere, made] : rows) {
        const std::ptrdiff_t before = entries();
        EXPECT_EQ(CreateDirectories(path), isThere) << path;
        EXPECT_EQ(entries() - before, made) << path;
        EXPECT_FALSE(CreateDirectoryA(path)) << path;
    }
    EXPECT_TRUE(CreateDirectories("\303\251") && CreateDirectoryA("\303\251") && fs::is_directory(At("\303\251")));
}

} // namespace
} // namespace Vellox::FileNames
