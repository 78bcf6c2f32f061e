#include <algorithm>
#include <regex>
#include <set>
#include <thread>

#include "filesystem/queries.h"
#include "frame/text.h"
#include "platform/operations.h"
#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;
using Names = std::set<std::string>;

class FileSystemTest : public ScratchTest {
protected:
    FileSystemTest() {
        Make({".hidden", "B.WAV", "a.wav", "denied", "\u00E9.txt", "sub/in", "parent.wav/empty/"});
        fs::permissions("denied", fs::perms::none);
        MakeLink("sub", "link");
        MakeLink("none", "dangling");
    }
};

TEST_F(FileSystemTest, TellsWhatStandsAtAPath) {
    struct Row {
        std::string path;
        bool exists = false, opens = false, isFolder = false, isEmpty = false;
        OnlyOn onlyOn = anywhere;
    };
    const Row rows[] = {
        {.path = "a.wav", .exists = true, .opens = true},
        {.path = "a.wav\0x"s, .exists = true, .opens = true},
        {.path = "denied", .exists = true, .onlyOn = withRights},
        {.path = "dangling", .exists = true, .onlyOn = withLinks},
        {.path = "sub", .exists = true, .isFolder = true},
        {.path = "link", .exists = true, .isFolder = true, .onlyOn = withLinks},
        {.path = R"(parent.wav\empty\)", .exists = true, .isFolder = true, .isEmpty = true},
        {.path = R"(parent.wav\?mpty)"},
        {.path = R"(parent.wav\empty\*)", .isEmpty = true},
        {.path = R"(none\*)", .isEmpty = true},
        {.path = "none", .isEmpty = true},
        {.path = "", .isEmpty = true},
        {.path = std::string(9999, 'x'), .isEmpty = true},
    };
    EXPECT_TRUE(CheckFileExists(GetModuleFilename()));
    const AsOrdinaryUser user;
    for (const Row& row : RowsHere(rows, &Row::path)) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(CheckFileExists(row.path), row.opens);
        EXPECT_EQ(CheckFileExistsEvenIfNotAccessible(row.path), row.exists);
        EXPECT_EQ(IsFolderEmpty(row.path), row.isEmpty);
        EXPECT_EQ(GetAvailableSpace(row.path) != INT64_MAX, row.isFolder);
        for (const bool preset : {false, true}) {
            bool isFolder = preset;
            EXPECT_EQ(CheckPathIsDirectory(row.path, isFolder), row.exists);
            EXPECT_EQ(isFolder, row.exists ? row.isFolder : preset);
        }
    }
    bool isPreset = false;
    EXPECT_FALSE(IsSymlink("link"));
    EXPECT_FALSE(IsSpecialFile("a.wav", isPreset));
    EXPECT_TRUE(isPreset);
    VelloxSetCurrentDirectory(In("sub").c_str());
    VelloxSetCurrentDirectory("none");
    EXPECT_EQ(fs::current_path(), At("sub"));
}

TEST_F(FileSystemTest, ListsTheNamesThatMatch) {
    Names files = {".hidden", "B.WAV", "a.wav", "denied", "\u00E9.txt"};
    Names folders = {"parent.wav", "sub"};
    if (HoldsHere(withLinks)) {
        files.insert("dangling");
        folders.insert("link");
    }
    struct Row {
        std::string pattern;
        Names files, folders;
        OnlyOn onlyOn = anywhere;
    };
    const Row rows[] = {
        {"*", files, folders},
        {"*.wav", {"B.WAV", "a.wav"}, {"parent.wav"}},
        {"?.T*T", {"\u00E9.txt"}, {}},
        {"sub", {}, {"sub"}},
        {"a.wav", {"a.wav"}, {}},
        {"A.wav", {}, {}, withCase},
        {"link/*", {"in"}, {}, withLinks},
        {R"(s*\in)", {}, {}},
        {R"(sub\.)", {}, {"sub"}},
        {R"(.)", {}, {At("").parent_path().filename().string()}},
        {R"(sub\..)", {}, {At("").parent_path().filename().string()}},
        {R"(none\*)", {}, {}},
        {"", {}, {}},
    };
    for (const Row& row : RowsHere(rows, &Row::pattern)) {
        SCOPED_TRACE(row.pattern);
        const std::vector<std::string> found = GetFolderFiles(row.pattern);
        const std::vector<std::string> foundFolders = GetFolderSubfolders(row.pattern);
        EXPECT_EQ(Names(found.begin(), found.end()), row.files);
        EXPECT_EQ(Names(foundFolders.begin(), foundFolders.end()), row.folders);
        // One after the other, from the last to the first, cut at five bytes.
        void* state = nullptr;
        auto left = static_cast<std::size_t>(GetFolderFiles(row.pattern.c_str(), nullptr, 0, &state));
        EXPECT_EQ(left, row.files.size());
        std::string name(7, '#');
        for (; left-- > 0; name.assign(7, '#')) {
            EXPECT_EQ(GetFolderFiles(nullptr, name.data(), 5, &state), left);
            std::string expected = found[left].substr(0, 5) + '\0';
            expected.resize(7, '#');
            EXPECT_EQ(name, expected);
        }
        EXPECT_EQ(GetFolderFiles(nullptr, name.data(), 5, &state), -1);
        EXPECT_EQ(name, "#######");
    }
}

TEST_F(FileSystemTest, ReadsAPatternAsTheSearchOfWindowsDoes) {
    constexpr OnlyOn withoutWine =
        OnLinux("elsewhere it is the system's, and each version of Wine reads dots in its own way");
    if (!HoldsHere(withoutWine))
        GTEST_SKIP() << withoutWine.reason;
    const Names all = {"take", "take1", "take12", "take1.wav", "a.b.c", "a.bcd", ".x", "README"};
    const Names withoutDot = {"take", "take1", "take12", "README"};
    for (const std::string& name : all)
        Make({"p/" + name});
    struct Row {
        std::string pattern;
        Names found;
    };
    const Row rows[] = {
        {"*.*", all},
        {"*.*.", all},
        {"*..*", {}},
        {"take*.*", {"take", "take1", "take12", "take1.wav"}},
        {"take1.*", {"take1", "take1.wav"}},
        {"take?.*", {"take", "take1", "take1.wav"}},
        {"t????", {"take", "take1"}},
        {"????1.wav", {"take1.wav"}},
        {"?????1.wav", {}},
        {"*.", withoutDot},
        {"*..", withoutDot},
        {"READ*.", {"README"}},
        {"t???.", {"take"}},
        {"a*.", {}},
        {"a*.?", {"a.b.c"}},
        {"a.*.*", {"a.b.c", "a.bcd"}},
        {"a.*.?", {"a.b.c", "a.bcd"}},
        {"a.*c", {"a.b.c"}},
        {".*", {".x"}},
        {".?.*", {".x"}},
        {"?.x", {".x"}},
        {"*a*b*c*", {"a.b.c", "a.bcd"}},
        {"*E", {"take", "README"}},
    };
    for (const Row& row : rows) {
        const std::vector<std::string> found = GetFolderFiles("p\\" + row.pattern);
        EXPECT_EQ(Names(found.begin(), found.end()), row.found) << row.pattern;
    }
}

TEST_F(FileSystemTest, FindsTheFirstFreeName) {
    Make({"a2.wav", "a 1.wav", "TrackBackup", "sub/a.wav"});
    struct Row {
        std::string folder, stem, tail, freeFile, freeFolder;
    };
    const Row rows[] = {
        {"", "a", ".wav", "a1.wav", "a 2.wav"},
        {"", "sub", "", "sub", "sub 1"},
        {"", "", "", "", ""},
        {"", "Track", "Backup", "Track1Backup", "Track 1Backup"},
        {"", "a.wav\0"s, "", "", ""}, // no number makes a difference behind a NUL
        {"sub", "a", ".wav", R"(sub\a1.wav)", R"(sub\a 1.wav)"},
        {R"(sub\)", "in", "", R"(sub\in1)", R"(sub\in 1)"},
        {"sub/", "in", "", R"(sub/\in1)", R"(sub/\in 1)"},
        {R"(none\)", "a", ".wav", R"(none\a.wav)", R"(none\a.wav)"},
    };
    for (const auto& [folder, stem, tail, freeFile, freeFolder] : rows) {
        SCOPED_TRACE(folder + ", " + stem + ", " + tail);
        EXPECT_EQ(ComposeNewFilenameAndCheckExists(folder, stem, tail), freeFile);
        EXPECT_EQ(ComposeNewFolderAndCheckExists(folder, stem, tail), freeFolder);
    }
    EXPECT_EQ(ComposeNewFilenameAndCheckExists("a", ".wav"), "a1.wav");
    EXPECT_EQ(ComposeNewFolderAndCheckExists("a", ".wav"), "a 2.wav");
}

TEST_F(FileSystemTest, MakesTheMissingLevelsBelowTheFirst) {
    const std::string here = Win32(fs::current_path());
    constexpr bool isThere = true, fails = false;
    struct Row {
        std::string path;
        bool result;
        std::ptrdiff_t made; // levels
    };
    const Row rows[] = {
        {here + R"(\a\b\c)", isThere, 3},
        {here + R"(\a\b\c)", isThere, 0},
        {here.substr(2) + R"(\\d\\e\)", isThere, 2},
        {here + R"(\a/b\x)", isThere, 1},
        {here + R"(\m/n\x)", fails, 0},
        {here + R"(\a.wav)", isThere, 0},
        {here + R"(\a.wav\x\y)", fails, 0},
        {here + "\\\u00E9", isThere, 1},
        {"C:/x/y", isThere, 0},
        {R"(p\q)", fails, 0},
        {R"(a\q)", isThere, 1},
        {"", isThere, 0},
        {R"(Q:\)", isThere, 0},
        {R"(Q:\a)", fails, 0},
        {R"(\\srv\share\a)", fails, 0},
    };
    const AsOrdinaryUser user;
    const auto entries = [&] { return std::distance(fs::recursive_directory_iterator(At("")), {}); };
    for (const Row& row : rows) {
        const std::ptrdiff_t before = entries();
        EXPECT_EQ(CreateDirectories(row.path), row.result) << row.path;
        EXPECT_EQ(entries() - before, row.made) << row.path;
        EXPECT_FALSE(CreateDirectoryA(row.path)) << row.path;
    }
}

// The temporary folder is a scratch folder of the test's own.
class TemporaryNamesTest : public ScratchTest {
protected:
    TemporaryNamesTest() {
        Make({"tmp/"});
        SetTemporaryFolder(At("tmp"));
    }
    ~TemporaryNamesTest() override { SetTemporaryFolder(before_); }
    // What the system puts between a prefix and the extension differs, as does its case.
    void ExpectNamed(const std::string& path, const std::string& prefix, bool isMade) const {
        const std::regex form(prefix + "[0-9A-F]+\\.TMP", std::regex::icase);
        EXPECT_EQ(path.find(folder), 0U) << path;
        EXPECT_TRUE(std::regex_match(path.substr(std::min(path.size(), folder.size())), form)) << path;
        EXPECT_EQ(CheckFileExists(path), isMade) << path;
    }
    const std::string folder = In("tmp\\");

private:
    const fs::path before_ = fs::temp_directory_path();
};

TEST_F(TemporaryNamesTest, HaveTheirFormAndLeaveOnlyWhatTheyMake) {
    ExpectNamed(GetTempFilenameNoCreate(), "fld", false);
    ExpectNamed(WideToUtf8(GetTempFilenameNoCreateW().c_str()), "fld", false);
    ExpectNamed(WideToUtf8(GetTempFolderW().c_str()), "fld", false);
    EXPECT_EQ(GetUniqueTempFilename("wav"), folder + "vellox.wav");
    EXPECT_TRUE(fs::is_empty("tmp"));
    Make({"tmp/vellox.wav"});
    EXPECT_EQ(GetUniqueTempFilename("wav"), folder + "vellox1.wav");
    const TextRow rows[] = {
        {"vocal", "voc"},
        {"v", "v"},
        {"", ""},
        {"\u00E9t\u00E9s", "\u00E9t\u00E9", withoutCodePage},
    };
    for (const auto& [given, prefix, onlyOn] : RowsHere(rows, &TextRow::given)) {
        ExpectNamed(GetTempFilename(given), prefix, true);
        ExpectNamed(WideToUtf8(GetTempFilename(Utf8ToWide(given)).c_str()), prefix, true);
    }
    const WideString threeUnits = Utf8ToWide("\u00E9\U0001F600x");
    ExpectNamed(WideToUtf8(GetTempFilename(threeUnits).c_str()), "\u00E9\U0001F600", true);
    EXPECT_EQ(GetTempFolder(), folder);
    EXPECT_EQ(GetTempFolderT(), folder);
    SetTemporaryFolder(At("none/../tmp"));
    EXPECT_EQ(GetTempFolderRoot(), folder);
}

TEST_F(TemporaryNamesTest, AreEmptyTextWhereNoFileCanBeMade) {
    const auto expectNone = [] {
        EXPECT_EQ(GetTempFilename("a"), "");
        EXPECT_EQ(GetTempFilename(WideString{'a'}), WideString());
        EXPECT_EQ(GetTempFilenameNoCreate(), "");
        EXPECT_EQ(GetTempFilenameNoCreateW(), WideString());
    };
    if (HoldsHere(OnLinux("Windows takes the prefix as it comes"), "..\\")) {
        EXPECT_EQ(GetTempFilename("..\\"), "");
    }
    if (HoldsHere(withRights, "tmp")) {
        fs::permissions("tmp", fs::perms(0555));
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

TEST_F(TemporaryNamesTest, DifferAmongThreads) {
    constexpr int count = 100;
    const auto make = [] {
        for (int number = 0; number < count; ++number)
            GetTempFilename("mix");
    };
    std::thread other(make);
    make();
    other.join();
    EXPECT_EQ(GetFolderFiles(folder + "*").size(), 2U * count);
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
    constexpr bool replaces = false, failsIfExists = true;
    struct Row {
        std::string source, destination;
        bool failIfExists;
        CopyFileError error;
        OnlyOn onlyOn = anywhere;
    };
    const Row rows[] = {
        {"none", "b", replaces, SourceNotFound},
        {"", "b", replaces, SourceNotFound},
        {"folder", "b", replaces, SourceNotFound},
        {"denied", "b", replaces, SourceNotFound, withRights},
        {"held", "b", replaces, SourceNotReadable},
        {"a", "held", replaces, SourceNotReadable},
        {"a", "a", replaces, SourceNotReadable},
        {"a", "twin", replaces, SourceNotReadable},
        {"a", R"(Q:\x)", replaces, DestinationNotWritable}, // the error of the row before is gone
        {"a", "link", replaces, SourceNotReadable, withLinks},
        {"a", "b", failsIfExists, DestinationExists},
        {"a", "folder", failsIfExists, DestinationNotWritable},
        {"a", "denied", failsIfExists, DestinationNotWritable, withRights},
        {"a", "dangling", failsIfExists, DestinationNotWritable, withLinks},
        {"a", "dangling", replaces, DestinationNotWritable, withLinks},
        {"a", "marked", replaces, DestinationNotWritable, withRights},
        {"a", "fifo", replaces, DestinationNotWritable, OnLinux("only there is one")},
        {"a", R"(none\x)", replaces, DestinationNotWritable},
        {"a", R"(new\)", replaces, DestinationNotWritable},
        {"a", "", replaces, DestinationNotWritable},
    };
    const std::string before = Describe(".");
    const HANDLE held = ::CreateFileW(Utf8ToWide("held").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    for (const Row& row : RowsHere(rows, &Row::destination)) {
        SCOPED_TRACE("CopyFileA of " + row.source + " to " + row.destination);
        const AsOrdinaryUser user;
        auto error = static_cast<CopyFileError>(-1);
        EXPECT_FALSE(CopyFileA(row.source, row.destination, row.failIfExists, nullptr));
        EXPECT_FALSE(CopyFileA(row.source, row.destination, row.failIfExists, &error));
        EXPECT_EQ(error, row.error);
    }
    ::CloseHandle(held);
    EXPECT_EQ(Describe("."), before);
}

TEST_F(CopyingTest, TakesFilesAndFoldersWithAllTheyHold) {
    Make({"s/\u00E9/x", "s/locked/y", "s/empty/", "s/.hidden"});
    WriteFile("s/large", std::string(300000, 'a'));
    MakeLink("s", "link");
    MakeLink("none", "s/dangling");
    MakeFifo("s/fifo");
    for (const char* name : {"s/locked/y", "s/large", "s/locked", "s"})
        MakeOld(name);
    for (const char* name : {"s/locked/y", "s/locked"})
        fs::permissions(name, fs::perms(0555));
    const std::string whole = Describe("s");
    for (const fs::path& copy : {At("\u00E9"), OtherVolume() / "d"}) {
        SCOPED_TRACE(copy);
        if (!HoldsAll(copy.parent_path()))
            continue;
        const AsOrdinaryUser user;
        CopyFolder("s", Win32(copy));
        ASSERT_EQ(Describe(copy), whole);
        EXPECT_TRUE(IsOld(copy / "locked/y"));
        for (const char* folder : {"", "locked"})
            EXPECT_EQ(IsOld(copy / folder), HoldsHere(withFolderTimes)) << folder;
        auto error = static_cast<CopyFileError>(-1);
        for (const char* name : {"own", "\u00E9/x"}) {
            EXPECT_TRUE(CopyFileA(R"(s\large)", Win32(copy / Utf8Path(name)), false, &error)) << name;
            EXPECT_TRUE(ReadFile(copy / Utf8Path(name)) == ReadFile("s/large")) << name << " differs";
            EXPECT_TRUE(IsOld(copy / Utf8Path(name))) << name;
        }
        EXPECT_EQ(error, -1) << "which is set for a failure alone";
        CopyFolder(R"(s\)", Win32(copy));
        EXPECT_EQ(ReadFile(copy / Utf8Path("\u00E9/x")), "s/\u00E9/x");
        EXPECT_TRUE(fs::exists(copy / "own")) << "which the source does not have";
    }
    CopyFolder(R"(s\empty)", "n");
    for (const char* destination : {"", "s", R"(s\n)", R"(link\empty\n)", R"(s\empty)"}) {
        CopyFolder("s", destination);
        EXPECT_EQ(Describe("s"), whole) << destination;
    }
    for (const char* source : {"", "none", R"(s\.hidden)"}) {
        CopyFolder(source, "n");
        EXPECT_TRUE(fs::is_empty("n")) << source;
    }
}

TEST_F(CopyingTest, DeletesWhatIsNamedAndNothingBehindALink) {
    Make({"in/keep/x", "in/t/ab/x", "in/t/marked", "in/file"});
    fs::current_path("in");
    fs::permissions("t/marked", fs::perms(0444));
    MakeFifo("t/fifo");
    MakeLink("../keep/x", "t/link");
    MakeLink("../keep", "t/folder");
    MakeLink("keep", "folder");
    const std::string before = Describe(At(""));
    const std::string names[] = {"", ".", "..", In("in"), In(""), R"(keep\..)", R"(.\.)", "none", R"(Q:\t)", R"(t\*)"};
    for (const std::string& name : names)
        for (const bool permanently : {false, true}) {
            DeleteFolderWithContents(name.c_str(), false, permanently);
            ASSERT_EQ(Describe(At("")), before) << name;
        }
    for (const char* name : {R"(folder\)", "file", "t"}) {
        DeleteFolderWithContents(name, false, true);
        EXPECT_FALSE(fs::exists(fs::symlink_status(name))) << name;
    }
    EXPECT_TRUE(fs::exists("keep/x"));
    const AsOrdinaryUser user;
    Make({"../mine/shut/x", "../mine/marked/x"});
    fs::permissions("../mine/marked", fs::perms(0555));
    for (const char* folder : {"../mine/shut", "../mine"})
        fs::permissions(folder, fs::perms::none);
    DeleteFolderWithContents(In("mine").c_str(), false, true);
    EXPECT_FALSE(fs::exists(At("mine"))) << "whose rights its owner can give";
}

} // namespace
} // namespace Vellox::FileNames
