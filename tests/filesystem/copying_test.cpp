#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class CopyingTest : public ScratchTest {
protected:
    // Files end in a dot and hold their own name, the others are folders.
    static void Make(std::initializer_list<const char*> paths) {
        for (const std::string path : paths)
            path.back() == '.' ? WriteFile(fs::absolute(Utf8Path(path.substr(0, path.size() - 1))), path)
                               : void(fs::create_directories(Utf8Path(path)));
    }
    static auto Entries(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }
};

TEST_F(CopyingTest, TellsWhyAFileWasNotCopiedAndChangesNothing) {
    Make({"folder/x.", "marked.", "denied.", "held.", "a.", "b."});
    for (const char* name : {"a", "b", "held"})
        fs::permissions(name, fs::perms(0666));
    fs::permissions("marked", fs::perms(0444));
    fs::permissions("denied", fs::perms::none);
    fs::create_hard_link("a", "twin");
    MakeLink("a", "link");
    MakeLink("none", "dangling");
    MakeFifo("fifo");
    struct Row {
        const char* source;
        const char* destination;
        bool failIfExists;
        std::int32_t expected;
        const char* onlyOn = everywhere;
    };
    const Row rows[] = {
        // clang-format off
        {"none", "b", false, 1}, {"none", "b", true, 1}, {"", "b", false, 1}, {"folder", "b", false, 1},
        {"denied", "b", false, 1, withRights}, {"dangling", "b", false, 1}, {"held", "b", false, 0},
        {"a", "b", true, 2}, {"a", "folder", true, 3}, {"a", "denied", true, 3, withRights},
        {"a", "dangling", true, 3, withLinks}, {"a", "folder", false, 3}, {"a", "denied", false, 3, withRights},
        {"a", "dangling", false, 3, withLinks}, {"a", "marked", false, 3, withRights},
        {"a", "fifo", false, 3, "linux: only there is one"}, {"a", R"(none\x)", false, 3},
        {"a", R"(b\x)", false, 3}, {"a", R"(new\)", false, 3}, {"a", "", false, 3},
        {"a", R"(Q:\x)", false, 3}, {"a", "held", false, 0}, {"a", "a", false, 0},
        {"a", "twin", false, 0}, {"a", "link", false, 0, withLinks},
        {"link", R"(folder\..\a)", false, 0, withLinks},
        // clang-format on
    };
    const std::string before = Describe(".");
    const HANDLE held = ::CreateFileW(Utf8ToWide("held").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    for (const auto& [source, destination, failIfExists, expected, onlyOn] : rows) {
        if (!HoldsHere(onlyOn))
            continue;
        const AsOrdinaryUser user;
        auto error = static_cast<CopyFileError>(-1);
        EXPECT_FALSE(CopyFileA(source, destination, failIfExists, nullptr)) << source << " to " << destination;
        EXPECT_FALSE(CopyFileA(source, destination, failIfExists, &error)) << source << " to " << destination;
        EXPECT_EQ(error, expected) << source << " to " << destination;
    }
    ::CloseHandle(held);
    EXPECT_EQ(Describe("."), before);
}

TEST_F(CopyingTest, KeepsContentModeAndTime) {
    for (const fs::path& copy : {At("\303\251"), OtherVolume() / "there"})
        for (const std::size_t size : {300000, 1, 0}) {
            WriteFile(At("a"), std::string(size, 'a'));
            fs::permissions("a", fs::perms(0751));
            MakeOld("a");
            auto error = static_cast<CopyFileError>(-1);
            EXPECT_TRUE(CopyFileA("a", Win32(copy), false, &error) && error == -1);
            EXPECT_TRUE(ReadFile(copy) == ReadFile("a") && IsOld(copy)) << size;
            EXPECT_EQ(fs::status(copy).permissions(), fs::status("a").permissions());
        }
}

TEST_F(CopyingTest, TakesFoldersWithAllTheyHold) {
    Make({"s/\303\251/x.", "s/locked/y.", "s/empty", "s/.hidden."});
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
        for (const char* name : {"locked", "."})
            EXPECT_TRUE(IsOld(copy / name) || !HoldsHere(withFolderTimes));
        WriteFile(copy / Utf8Path("\303\251/x"), "old");
        WriteFile(copy / "own", "own");
        CopyFolder(R"(s\)", Win32(copy));
        EXPECT_TRUE(ReadFile(copy / Utf8Path("\303\251/x")) == "s/\303\251/x." && ReadFile(copy / "own") == "own");
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
    Make({"in/keep/x.", "in/t/ab/x.", "in/t/marked."});
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
    Make({"../mine/shut/x."});
    for (const char* folder : {"../mine/shut", "../mine"})
        fs::permissions(folder, fs::perms::none);
    DeleteFolderWithContents(In("mine").c_str(), false, true);
    EXPECT_TRUE(Entries(".") == 1 && fs::exists("keep/x") && !fs::exists(At("mine")));
}

TEST_F(CopyingTest, RenamesOnlyToAFreeName) {
    const fs::path other = OtherVolume() / "new";
    Make({"empty", "file.", "folder/x."});
    MakeLink("none", "link");
    const std::string before = Describe(".");
    for (const fs::directory_entry& entry : fs::directory_iterator(At(""))) {
        const std::string from = entry.path().filename().string();
        for (const fs::directory_entry& taken : fs::directory_iterator(At("")))
            EXPECT_TRUE(entry == taken || Platform::RenameWithoutReplacing(from.c_str(), Win32(taken).c_str()) != 0);
        EXPECT_TRUE(from == "file" || Platform::RenameWithoutReplacing(from.c_str(), Win32(other).c_str()) != 0);
        EXPECT_EQ(Platform::RenameWithoutReplacing(from.c_str(), "new"), 0) << from;
        EXPECT_EQ(Platform::RenameWithoutReplacing("new", from.c_str()), 0) << from;
    }
    EXPECT_EQ(Describe("."), before);
}

TEST_F(CopyingTest, ComparesWhatFoldersHold) {
    const std::pair<const char*, void (*)()> changes[] = {
        {"grown", [] { WriteFile("b/sub/x", "longer than it was"); }},
        {"renamed", [] { fs::rename("b/sub/x", "b/sub/y"); }},
        {"one more", [] { Make({"b/more"}); }},
        {"of another kind", [] { fs::remove("b/sub/x"), Make({"b/sub/x"}); }},
    };
    Make({"a/sub/x."});
    MakeLink("a/sub", "link");
    const auto isSame = [](const char* source, const char* copy) {
        return Platform::HoldSameTree(Utf8ToWide(source).c_str(), Utf8ToWide(copy).c_str());
    };
    for (const auto& [name, change] : changes) {
        fs::remove_all("b");
        fs::copy("a", "b", fs::copy_options::recursive);
        EXPECT_TRUE(isSame("a", "b")) << name << ", before";
        change();
        EXPECT_FALSE(isSame("a", "b") || isSame("b", "a")) << name;
    }
    fs::remove_all("b");
    fs::copy("a", "b", fs::copy_options::recursive);
    Make({"a/late."});
    EXPECT_FALSE(Platform::RemoveCopiedTree(Utf8ToWide("a").c_str(), Utf8ToWide("b").c_str()));
    EXPECT_TRUE(!fs::exists("a/sub") && fs::exists("a/late"));
    struct Place {
        const char* path;
        bool isInside;
        const char* onlyOn = everywhere;
    };
    const Place places[] = {
        // clang-format off
        {"a", true}, {R"(a\new)", true}, {R"(a\sub\new)", true}, {R"(link\new)", true, withLinks},
        {R"(b\..\a\sub)", true}, {".", false}, {"ab", false}, {R"(b\sub)", false},
        {R"(a\..\b\new)", false},
        // clang-format on
    };
    Make({"a/sub"});
    for (const auto& [path, isInside, onlyOn] : places)
        EXPECT_TRUE(!HoldsHere(onlyOn) ||
                    Platform::LiesInFolder(Utf8ToWide(path).c_str(), Utf8ToWide("a").c_str()) == isInside)
            << path;
}

} // namespace
} // namespace Vellox::FileNames
