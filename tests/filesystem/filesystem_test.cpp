#include <algorithm>
#include <regex>
#include <set>
#include <thread>

#include "filesystem/queries.h"
#include "frame/text.h"
#include "platform/operations.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class FileSystemTest : public ScratchTest {
protected:
    FileSystemTest() {
        Make({".hidden", "B.WAV", "a.wav", "denied", "r\xC3\xA9.txt", "sub/in", "parent.wav/empty/"});
        fs::permissions("denied", fs::perms::none);
        MakeLink("sub", "link");
        MakeLink("none", "dangling");
    }
    static std::string Sorted(std::vector<std::string> names) {
        std::string text;
        std::sort(names.begin(), names.end());
        for (const std::string& name : names)
            text += (text.empty() ? "" : " ") + name;
        return text;
    }
};

TEST_F(FileSystemTest, TellsWhatStandsAtAPath) {
    // Whether the path opens, whether it exists, whether it is a folder, and whether it counts as empty.
    const std::string rows[][3] = {
        // clang-format off
        {"a.wav", "oe"}, {"denied", "e", withRights}, {"sub", "ef"}, {R"(sub\)", "ef"}, {R"(sub\*)", ""},
        {R"(parent.wav\*)", ""}, {R"(parent.wav\empty)", "ef0"}, {R"(parent.wav\empty\)", "ef0"},
        {R"(parent.wav\empty\*)", "0"}, {"link", "ef", withLinks}, {"dangling", "e", withLinks}, {"", "0"},
        {std::string("a.wav\0x", 7), "oe"}, {R"(none\*)", "0"}, {"none", "0"}, {In("a.wav").replace(0, 1, "D"), "0"},
        {"\\" + In("a.wav").substr(2), "0"}, {std::string(9999, 'x'), "0"},
        // clang-format on
    };
    const AsOrdinaryUser user;
    for (const auto& [path, expected, onlyOn] : rows)
        for (const bool preset : {false, true}) {
            if (!HoldsHere(onlyOn))
                continue;
            bool answer = preset;
            const bool exists = CheckPathIsDirectory(path, answer), isFolder = exists && answer;
            EXPECT_TRUE(exists || answer == preset) << path;
            EXPECT_EQ(std::string(CheckFileExists(path) ? "o" : "") + (exists ? "e" : "") + (isFolder ? "f" : "") +
                          (IsFolderEmpty(path) ? "0" : ""),
                      expected)
                << path;
            EXPECT_TRUE(CheckFolderExists(path) == exists && CheckFileExistsEvenIfNotAccessible(path) == exists);
            EXPECT_EQ(GetAvailableSpace(path) == INT64_MAX, !isFolder) << path;
            EXPECT_TRUE(!IsSymlink(path) && !IsSpecialFile(path, answer) && answer);
        }
    VelloxSetCurrentDirectory(In("sub").c_str());
    VelloxSetCurrentDirectory("none");
    EXPECT_EQ(fs::current_path(), At("sub"));
}

TEST_F(FileSystemTest, ListsTheNamesThatMatch) {
    const bool hasLinks = HoldsHere(withLinks);
    const std::string folders = hasLinks ? "link parent.wav sub" : "parent.wav sub";
    const std::string files =
        std::string(".hidden B.WAV a.wav ") + (hasLinks ? "dangling " : "") + "denied r\xC3\xA9.txt";
    const std::string rows[][4] = {
        // clang-format off
        {"*", files, folders}, {"*.*", files, folders}, {"*.wav", "B.WAV a.wav", "parent.wav"},
        {"?.wav", "B.WAV a.wav"}, {"*?b*", "", "sub", "linux: Wine takes no ? behind a *"}, {"R?.T*T", "r\xC3\xA9.txt"},
        {"sub", "", "sub"}, {"a.wav", "a.wav"}, {"A.wav", "", "", withCase},
        {R"(sub\*)", "in"}, {"link/*", "in", "", withLinks}, {R"(s*\in)"}, {R"(a.wav\*)"}, {R"(sub\)"}, {""},
        {R"(none\*)"}, {R"(Q:\*)"},
        // clang-format on
    };
    for (const auto& [pattern, expectedFiles, expectedFolders, onlyOn] : rows) {
        if (!HoldsHere(onlyOn))
            continue;
        const std::vector<std::string> names = GetFolderFiles(pattern);
        EXPECT_EQ(Sorted(names), expectedFiles) << pattern;
        EXPECT_EQ(Sorted(GetFolderSubfolders(pattern)), expectedFolders) << pattern;
        // The cursor gives the same names, from the last to the first, cut at five bytes.
        std::size_t left = names.size();
        void* state = this;
        ASSERT_EQ(GetFolderFiles(pattern.c_str(), nullptr, 0, &state), left);
        std::string name(7, '#');
        for (; left > 0; name.assign(7, '#')) {
            EXPECT_EQ(GetFolderFiles(nullptr, name.data(), 5, &state), --left);
            EXPECT_TRUE(name.starts_with(names[left].substr(0, 5) + '\0') && name[6] == '#') << name;
        }
        EXPECT_TRUE(GetFolderFiles(nullptr, name.data(), 5, &state) == -1 && name == "#######") << pattern;
    }
}

TEST_F(FileSystemTest, FindsTheFirstFreeName) {
    Make({"a2.wav", "a 1.wav", "b1.wav", "TrackBackup", "Take 2.wav", "sub/a.wav"});
    // Folder, stem and tail; the free name of a file, and of a folder.
    const std::string rows[][6] = {
        // clang-format off
        {"", "a", ".wav", "a1.wav", "a 2.wav"}, {"", "b", ".wav", "b.wav", "b.wav", withCase},
        {"", "sub", "", "sub", "sub 1"}, {"", "", "", "", ""},
        {"", "parent", ".wav", "parent.wav", "parent 1.wav"}, {"", "dangling", "", "dangling", "dangling 1", withLinks},
        {"", "denied", "", "denied", "denied 1", withRights}, {"", "Track", "Backup", "Track1Backup", "Track 1Backup"},
        {"", "Take 2", ".wav", "Take 21.wav", "Take 2 1.wav"}, {"sub", "a", ".wav", R"(sub\a1.wav)", R"(sub\a 1.wav)"},
        {R"(sub\)", "in", "", R"(sub\in1)", R"(sub\in 1)"}, {"sub/", "in", "", R"(sub/\in1)", R"(sub/\in 1)"},
        {R"(none\)", "a", ".wav", R"(none\a.wav)", R"(none\a.wav)"},
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

// The temporary folder is a scratch folder of the test's own.
class TemporaryNamesTest : public ScratchTest {
protected:
    TemporaryNamesTest() {
        Make({"tmp/"});
        SetTemporaryFolder(At("tmp"));
    }
    ~TemporaryNamesTest() override { SetTemporaryFolder(before_); }
    bool IsNamed(const std::string& path, const std::string& prefix) const {
        const std::regex form(prefix + "[0-9A-F]+\\.TMP", std::regex::icase); // some systems write small letters
        return path.starts_with(folder) && std::regex_match(path.substr(folder.size()), form);
    }
    const std::string folder = In("tmp\\");

private:
    const fs::path before_ = fs::temp_directory_path();
};

TEST_F(TemporaryNamesTest, HaveTheirFormAndLeaveOnlyWhatTheyMake) {
    for (const std::string& path : {GetTempFilenameNoCreate(), WideToUtf8(GetTempFilenameNoCreateW().c_str()),
                                    WideToUtf8(GetTempFolderW().c_str())})
        EXPECT_TRUE(IsNamed(path, "fld")) << path;
    for (const std::string extension : {"wav", "wav", "", ".wav"})
        EXPECT_EQ(GetUniqueTempFilename(extension), folder + "vellox." + extension);
    EXPECT_TRUE(fs::is_empty("tmp"));
    Make({"tmp/vellox.wav"});
    EXPECT_EQ(GetUniqueTempFilename("wav"), folder + "vellox1.wav");
    const std::string rows[][3] = {
        {"vocal", "voc"}, {"v", "v"}, {"", ""}, {"\xC3\xA9t\xC3\xA9s", "\xC3\xA9t\xC3\xA9", withoutCodePage}};
    for (const auto& [given, prefix, onlyOn] : rows)
        for (const bool isWide : {false, true}) {
            const std::string path =
                isWide ? WideToUtf8(GetTempFilename(Utf8ToWide(given)).c_str()) : GetTempFilename(given);
            EXPECT_TRUE(!HoldsHere(onlyOn) || (IsNamed(path, prefix) && CheckFileExists(path))) << path;
        }
    EXPECT_TRUE(GetTempFolder() == folder && GetTempFolderT() == folder);
    SetTemporaryFolder(At("none/../tmp"));
    EXPECT_EQ(GetTempFolderRoot(), folder);
}

TEST_F(TemporaryNamesTest, AreEmptyTextWhereNoFileCanBeMade) {
    const auto expectNone = [] {
        EXPECT_EQ(GetTempFilename("a") + GetTempFilenameNoCreate(), "");
        EXPECT_EQ(GetTempFilename(WideString{'a'}) + GetTempFilenameNoCreateW(), WideString());
    };
    EXPECT_TRUE(!HoldsHere("linux: Windows takes the prefix as it comes") || GetTempFilename("..\\").empty());
    if (HoldsHere(withRights)) {
        fs::permissions("tmp", fs::perms::owner_all);
        const AsOrdinaryUser user;
        expectNone();
    }
    SetTemporaryFolder(At("none"));
    expectNone();
    EXPECT_EQ(GetTempFolder(), In("none\\"));
    SetTemporaryFolder(At(std::string(2000, 'x')));
    expectNone();
    EXPECT_EQ(GetUniqueTempFilename("wav"), "vellox.wav");
}

TEST_F(TemporaryNamesTest, DifferAmongSixteenThreads) {
    std::vector<std::string> names[16];
    std::vector<std::thread> threads;
    for (auto& own : names)
        threads.emplace_back([&own] {
            while (own.size() < 100)
                own.push_back(GetTempFilename("mix"));
        });
    std::set<std::string> different;
    for (std::size_t number = 0; number < threads.size(); ++number) {
        threads[number].join();
        different.insert(names[number].begin(), names[number].end());
    }
    EXPECT_TRUE(different.size() == 1600 && GetFolderFiles(folder + "*").size() == 1600) << different.size();
}

class CopyingTest : public ScratchTest {};

TEST_F(CopyingTest, TellsWhyAFileWasNotCopiedAndChangesNothing) {
    Make({"folder/x", "marked", "denied", "held", "a", "b"});
    for (const char* name : {"a", "b", "held"})
        fs::permissions(name, fs::perms(0666));
    fs::permissions("marked", fs::perms(0444));
    fs::permissions("denied", fs::perms::none);
    fs::create_hard_link("a", "twin");
    MakeLink("a", "link");
    MakeLink("none", "dangling");
    MakeFifo("fifo");
    // The error of a copy that replaces, and of one that does not; a point stands for one that is not tried.
    const std::string rows[][4] = {
        // clang-format off
        {"none", "b", "11"}, {"", "b", "1."}, {"folder", "b", "1."}, {"denied", "b", "1.", withRights},
        {"dangling", "b", "1."}, {"held", "b", "0."}, {"a", "b", ".2"}, {"a", "folder", "33"},
        {"a", "denied", "33", withRights}, {"a", "dangling", "33", withLinks}, {"a", "marked", "3.", withRights},
        {"a", "fifo", "3.", "linux: only there is one"}, {"a", R"(none\x)", "3."}, {"a", R"(b\x)", "3."},
        {"a", R"(new\)", "3."}, {"a", "", "3."}, {"a", R"(Q:\x)", "3."}, {"a", "held", "0."}, {"a", "a", "0."},
        {"a", "twin", "0."}, {"a", "link", "0.", withLinks}, {"link", R"(folder\..\a)", "0.", withLinks},
        // clang-format on
    };
    const std::string before = Describe(".");
    const HANDLE held = ::CreateFileW(Utf8ToWide("held").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    for (const auto& [source, destination, errors, onlyOn] : rows)
        for (const bool failIfExists : {false, true}) {
            if (!HoldsHere(onlyOn) || errors[failIfExists] == '.')
                continue;
            const AsOrdinaryUser user;
            auto error = static_cast<CopyFileError>(-1);
            EXPECT_FALSE(CopyFileA(source, destination, failIfExists, nullptr)) << source << " to " << destination;
            EXPECT_FALSE(CopyFileA(source, destination, failIfExists, &error)) << source << " to " << destination;
            EXPECT_EQ(error, errors[failIfExists] - '0') << source << " to " << destination;
        }
    ::CloseHandle(held);
    EXPECT_EQ(Describe("."), before);
}

TEST_F(CopyingTest, KeepsContentModeAndTime) {
    for (const fs::path& copy : {At("\303\251"), OtherVolume() / "there"})
        for (const std::size_t size : {300000, 1, 0}) {
            WriteFile("a", std::string(size, 'a'));
            fs::permissions("a", fs::perms(0751));
            MakeOld("a");
            auto error = static_cast<CopyFileError>(-1);
            EXPECT_TRUE(CopyFileA("a", Win32(copy), false, &error) && error == -1);
            EXPECT_TRUE(ReadFile(copy) == ReadFile("a") && IsOld(copy)) << size;
            EXPECT_EQ(fs::status(copy).permissions(), fs::status("a").permissions());
        }
}

TEST_F(CopyingTest, TakesFoldersWithAllTheyHold) {
    Make({"s/\303\251/x", "s/locked/y", "s/empty/", "s/.hidden"});
    MakeLink("s", "link");
    MakeLink("none", "s/dangling");
    MakeLink("..", "s/up");
    MakeFifo("s/fifo");
    for (const char* name : {"s/locked/y", "s/locked", "s"})
        MakeOld(name);
    for (const char* name : {"s/locked/y", "s/locked"})
        fs::permissions(name, fs::perms(0555));
    const std::string whole = Describe("s");
    for (const fs::path& copy : {At("\303\251"), OtherVolume() / "d"}) {
        const AsOrdinaryUser user;
        CopyFolder("s", Win32(copy));
        ASSERT_EQ(Describe(copy), whole);
        EXPECT_TRUE(IsOld(copy / "locked/y"));
        EXPECT_TRUE((IsOld(copy / "locked") && IsOld(copy)) || !HoldsHere(withFolderTimes));
        WriteFile(copy / Utf8Path("\303\251/x"), "old");
        WriteFile(copy / "own", "own");
        CopyFolder(R"(s\)", Win32(copy));
        EXPECT_TRUE(ReadFile(copy / Utf8Path("\303\251/x")) == "s/\303\251/x" && ReadFile(copy / "own") == "own");
    }
    CopyFolder(R"(s\empty)", "n");
    for (const char* destination : {"", "s", R"(s\n)", R"(link\empty\n)", R"(s\empty)"})
        CopyFolder("s", destination);
    for (const char* source : {"", "none", R"(s\.hidden)"})
        CopyFolder(source, "n");
    EXPECT_EQ(Describe("s"), whole);
    EXPECT_TRUE(fs::is_empty("n"));
}

TEST_F(CopyingTest, DeletesWhatIsNamedAndNothingBehindALink) {
    Make({"in/keep/x", "in/t/ab/x", "in/t/marked"});
    fs::current_path("in");
    fs::permissions("t/marked", fs::perms(0444));
    MakeFifo("t/fifo");
    MakeLink("../keep/x", "t/link");
    MakeLink("../keep", "t/folder");
    MakeLink("none", "t/dangling");
    const std::string before = Describe(At(""));
    const std::string names[] = {"", ".", "..", In("in"), In(""), R"(keep\..)", R"(.\.)", "none", R"(Q:\t)"};
    for (const std::string& name : names)
        for (const bool permanently : {false, true}) {
            DeleteFolderWithContents(name.c_str(), false, permanently);
            ASSERT_EQ(Describe(At("")), before) << name;
        }
    for (const char* name : {R"(t\*)", R"(t\folder\)"})
        DeleteFolderWithContents(name, false, true);
    EXPECT_TRUE(!fs::is_symlink("t/folder") && fs::exists("t/ab/x") && fs::exists("t/marked"));
    DeleteFolderWithContents("t", false, true);
    const AsOrdinaryUser user;
    Make({"../mine/shut/x"});
    for (const char* folder : {"../mine/shut", "../mine"})
        fs::permissions(folder, fs::perms::none);
    DeleteFolderWithContents(In("mine").c_str(), false, true);
    EXPECT_TRUE(fs::exists("keep/x") && !fs::exists("t") && !fs::exists(At("mine")));
}

TEST_F(CopyingTest, ComparesWhatFoldersHold) {
    Make({"a/sub/x"});
    MakeOld("a/sub/x");
    MakeLink("a/sub", "link");
    for (const char* copy : {"same", "changed", "grown", "renamed", "more", "kind"})
        fs::copy("a", copy, fs::copy_options::recursive);
    WriteFile("changed/sub/x", std::string(fs::file_size("a/sub/x"), '-'));
    WriteFile("grown/sub/x", "longer than it was");
    fs::rename("renamed/sub/x", "renamed/sub/y");
    fs::remove("kind/sub/x");
    Make({"more/more/", "kind/sub/x/", "ab/"});
    const auto isSame = [](const char* source, const char* copy) {
        return Platform::HoldSameTree(Utf8ToWide(source).c_str(), Utf8ToWide(copy).c_str());
    };
    for (const char* copy : {"changed", "grown", "renamed", "more", "kind"})
        EXPECT_FALSE(isSame("a", copy) || isSame(copy, "a")) << copy;
    EXPECT_TRUE(isSame("a", "same"));
    // Whether the path leads into the folder, whatever the text says.
    const std::string rows[][3] = {
        // clang-format off
        {"a", "in"}, {R"(a\new)", "in"}, {R"(a\sub\new)", "in"}, {R"(link\new)", "in", withLinks},
        {R"(same\..\a\sub)", "in"}, {".", ""}, {"ab", ""}, {R"(same\sub)", ""}, {R"(a\..\same\new)", ""},
        // clang-format on
    };
    for (const auto& [path, in, onlyOn] : rows)
        EXPECT_TRUE(!HoldsHere(onlyOn) ||
                    Platform::LiesInFolder(Utf8ToWide(path).c_str(), Utf8ToWide("a").c_str()) == (in == "in"))
            << path;
    Make({"a/late"});
    EXPECT_FALSE(Platform::RemoveCopiedTree(Utf8ToWide("a").c_str(), Utf8ToWide("same").c_str()));
    EXPECT_TRUE(!fs::exists("a/sub") && fs::exists("a/late"));
}

} // namespace
} // namespace Vellox::FileNames
