#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class CopyTest : public ScratchTest {
protected:
    CopyTest() { ::setenv("XDG_DATA_HOME", At("data").c_str(), 1); }
    ~CopyTest() override { ::unsetenv("XDG_DATA_HOME"); }

    // NOLINTNEXTLINE(cert-env33-c)
    static void Shell(const std::string& text) { ASSERT_EQ(std::system(("umask 022; set -e; " + text).c_str()), 0); }
    static auto Entries(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }
};

TEST_F(CopyTest, TellsWhyAFileWasNotCopiedAndChangesNothing) {
    Shell("umask 0; mkdir folder; touch marked denied held folder/x; truncate -s 200K big; echo old > b; echo new > a;"
          "chmod 444 marked; chmod 0 denied; ln a twin; ln -s a link; ln -s none dangling; mkfifo fifo");
    const std::tuple<const char*, const char*, bool, std::int32_t> rows[] = {
        // clang-format off
        {"none", "b", false, 1}, {"none", "b", true, 1}, {"", "b", false, 1}, {"folder", "b", false, 1},
        {"denied", "b", false, 1}, {"dangling", "b", false, 1}, {"held", "b", false, 0}, {"a", "b", true, 2},
        {"a", "folder", true, 3}, {"a", "denied", true, 3}, {"a", "dangling", true, 3}, {"a", "folder", false, 3},
        {"a", "denied", false, 3}, {"a", "dangling", false, 3}, {"a", "marked", false, 3}, {"a", "fifo", false, 3},
        {"a", R"(none\x)", false, 3}, {"a", R"(b\x)", false, 3}, {"a", R"(new\)", false, 3}, {"a", "", false, 3},
        {"a", R"(Q:\x)", false, 3}, {"big", "b", false, 3}, {"big", "new", true, 3}, {"a", "held", false, 0},
        {"a", "a", false, 0}, {"a", "twin", false, 0}, {"a", "link", false, 0}, {"link", R"(folder\..\a)", false, 0},
        // clang-format on
    };
    const std::string before = Describe(".");
    const HANDLE held = ::CreateFileW(u"held", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    struct rlimit old {};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const struct rlimit full { 100000, old.rlim_max };
    static_cast<void>(::signal(SIGXFSZ, SIG_IGN));
    ::setrlimit(RLIMIT_FSIZE, &full);
    for (const auto& [source, destination, failIfExists, expected] : rows) {
        const AsOrdinaryUser user;
        auto error = static_cast<CopyFileError>(-1);
        EXPECT_FALSE(CopyFileA(source, destination, failIfExists, nullptr)) << source << " to " << destination;
        EXPECT_FALSE(CopyFileA(source, destination, failIfExists, &error)) << source << " to " << destination;
        EXPECT_EQ(error, expected) << source << " to " << destination;
    }
    ::setrlimit(RLIMIT_FSIZE, &old);
    static_cast<void>(::signal(SIGXFSZ, SIG_DFL));
    ::CloseHandle(held);
    EXPECT_FALSE(CopyFileA("a", "marked", false, nullptr)) << "nor by a user whom rights do not bind";
    EXPECT_TRUE(Describe(".") == before);
}

TEST_F(CopyTest, KeepsContentModeAndTime) {
    for (const fs::path& copy : {At("\303\251"), OtherVolume() / "there"})
        for (const std::string fill : {"seq 60000", "echo a", "true"}) {
            Shell(fill + " > a; chmod 751 a; touch -d @1234567890.123456789 a");
            auto error = static_cast<CopyFileError>(-1);
            EXPECT_TRUE(CopyFileA("a", Win32(copy), false, &error) && error == -1);
            EXPECT_TRUE(ReadFile(copy) == ReadFile("a") && fs::status(copy).permissions() == fs::perms(0751)) << fill;
            EXPECT_EQ(fs::last_write_time(copy), fs::last_write_time("a")) << fill;
        }
    Shell("echo old > target; ln -s target link");
    EXPECT_TRUE(CopyFileA("link", "plain", true, nullptr) && !fs::is_symlink("plain"));
    EXPECT_TRUE(CopyFileA(R"(C:\proc\version)", "link", false, nullptr) && fs::is_symlink("link"));
    EXPECT_EQ(ReadFile("target"), ReadFile("/proc/version")) << "which tells a size of 0";
}

TEST_F(CopyTest, LeavesTheOldFileWhenTheProcessIsKilled) {
    const fs::path source = OtherVolume() / "source";
    Shell("mkdir to; printf old > to/b; truncate -s 1G " + source.string());
    const pid_t process = ::fork();
    if (process == 0)
        ::_exit(CopyFileA(Win32(source), R"(to\b)", false, nullptr) ? 0 : 1);
    for (int wait = 0; wait < 20000 && Entries("to") == 1; ++wait)
        ::usleep(500);
    ::kill(process, SIGKILL);
    int status = 0;
    ::waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && fs::file_size("to/b") == 3) << status << " " << fs::file_size("to/b");
}

TEST_F(CopyTest, TakesFoldersWithAllTheyHold) {
    Shell("mkdir -p s/\303\251 s/locked s/empty; echo new > s/\303\251/x; touch s/.hidden s/locked/y; ln -s s link;"
          "ln -s none s/dangling; ln -s .. s/up; mkfifo -m 640 s/fifo; chmod 555 s/locked/y s/locked;"
          "touch -d @1234567890.123456789 s/locked/y s/locked s");
    const std::string whole = Describe("s");
    for (const fs::path& copy : {At("\303\251"), OtherVolume() / "d"}) {
        const AsOrdinaryUser user;
        CopyFolder("s", Win32(copy));
        ASSERT_EQ(Describe(copy), whole);
        for (const char* name : {"locked/y", "locked", "."})
            EXPECT_EQ(fs::last_write_time(copy / name), fs::last_write_time(At("s") / name)) << name;
        WriteFile(copy / "\303\251/x", "old");
        WriteFile(copy / "own", "own");
        CopyFolder(R"(s\)", Win32(copy));
        EXPECT_TRUE(ReadFile(copy / "\303\251/x") == "new\n" && ReadFile(copy / "own") == "own");
    }
    CopyFolder(R"(s\empty)", "n");
    for (const char* destination : {"", "s", R"(s\n)", R"(link\empty\n)", R"(s\empty)"})
        CopyFolder("s", destination);
    for (const char* source : {"", "none", R"(s\.hidden)"})
        CopyFolder(source, "n");
    EXPECT_TRUE(Describe("s") == whole && fs::is_empty("n"));
}

TEST_F(CopyTest, DeletesWhatIsNamedAndNothingBehindALink) {
    Shell("mkdir -p in/keep 'in/t/*' in/t/ab; cd in/t; touch '*/x' ab/x marked; chmod 444 marked; mkfifo fifo;"
          "echo x > ../keep/x; ln -s ../keep/x link; ln -s ../keep folder; ln -s ../keep other; ln -s none dangling");
    fs::current_path("in");
    const std::string before = Describe(At(""));
    for (const char* name : {"", ".", "..", R"(..\)", R"(keep\..)", R"(.\.)", "none", R"(Q:\t)"})
        for (const bool permanently : {false, true}) {
            DeleteFolderWithContents(name, false, permanently);
            ASSERT_EQ(Describe(At("")), before) << name;
        }
    DeleteFolderWithContents(R"(t\*)", false, true);
    DeleteFolderWithContents(R"(t\folder\)", false, true);
    EXPECT_TRUE(!fs::exists("t/*") && !fs::is_symlink("t/folder") && fs::exists("t/ab/x") && fs::exists("t/marked"));
    Shell("cd t; for level in $(seq 30); do mkdir $(printf %0200d); cd -P $(printf %0200d); done");
    DeleteFolderWithContents("t", true, false);
    const AsOrdinaryUser user;
    WriteFile(At("mine/shut/x"), "");
    for (const char* folder : {"mine/shut", "mine"})
        fs::permissions(At(folder), fs::perms::none);
    DeleteFolderWithContents(In("mine").c_str(), false, true);
    EXPECT_TRUE(Entries(".") == 1 && ReadFile("keep/x") == "x\n" && !fs::exists(At("data/Trash")));
    EXPECT_FALSE(fs::exists(At("mine")));
}

TEST_F(CopyTest, RecyclesEveryItemWithItsWayBack) {
    const fs::path other = OtherVolume();
    const std::string end = other.filename().string(), item = "a b%\xC3\xA9" + end;
    Shell("mkdir -p locked/item; chmod 555 locked");
    const AsOrdinaryUser user;
    for (const fs::path& path : {At(item), At(item), other / item}) {
        WriteFile(path / "x", "");
        DeleteFolderWithContents(Win32(path).c_str(), false, false);
    }
    const fs::path bin = "data/Trash", otherBin = "/dev/shm/.Trash-" + std::to_string(::geteuid());
    const fs::path kept[][3] = {{bin, item, At("")}, {bin, item + ".2", At("")}, {otherBin, item, end + "/"}};
    for (const auto& [folder, name, place] : kept) {
        const std::string info = ReadFile(folder / "info" / (name.string() + ".trashinfo"));
        EXPECT_EQ(info.find("[Trash Info]\nPath=" + place.string() + "a%20b%25%C3%A9" + end + "\nDeletionDate=2"), 0);
        EXPECT_TRUE(fs::exists(folder / "files" / name / "x")) << folder;
    }
    Shell("find " + otherBin.string() + " -depth \\( -path '*" + end + "*' -o -empty \\) -delete");
    DeleteFolderWithContents(R"(locked\item)", false, false);
    EXPECT_TRUE(fs::exists("locked/item") && Entries(bin / "info") == 2);
    if (!fs::exists("/usr/bin/trash-restore"))
        GTEST_SKIP() << "no other program here that could read the recycle bin";
    Shell("trash-list > out; grep -qF '" + At(item).string() + "' out; echo 0 | trash-restore > out; test -d *" + end);
}

TEST_F(CopyTest, RenamesOnlyToAFreeName) {
    const char* const names[] = {"file", "folder", "empty", "link"};
    const fs::path other = OtherVolume() / "new";
    Shell("mkdir empty folder; touch file folder/x; ln -s none link");
    const std::string before = Describe(".");
    for (const char* from : names) {
        for (const char* taken : names)
            EXPECT_TRUE(from == taken || Platform::RenameWithoutReplacing(from, taken) != 0) << from << " to " << taken;
        EXPECT_NE(Platform::RenameWithoutReplacing(from, Win32(other).c_str()), 0);
        EXPECT_EQ(Platform::RenameWithoutReplacing(from, "new"), 0) << from;
        EXPECT_EQ(Platform::RenameWithoutReplacing("new", from), 0) << from;
    }
    EXPECT_EQ(Describe("."), before);
}

TEST_F(CopyTest, ComparesWhatFoldersHold) {
    Shell("mkdir -p a/sub; printf 12 > a/sub/x; ln -s x a/sub/link; ln -s a/sub link");
    for (const std::string change : {"printf 123 > b/sub/x", "mv b/sub/x b/sub/y", "mkdir b/more",
                                     "rm b/sub/x; mkdir b/sub/x", "ln -sf y b/sub/link"}) {
        Shell("rm -rf b; cp -a a b");
        EXPECT_TRUE(Platform::HoldSameTree(u"a", u"b"));
        Shell(change);
        EXPECT_FALSE(Platform::HoldSameTree(u"a", u"b") || Platform::HoldSameTree(u"b", u"a")) << change;
    }
    Shell("rm -rf b; cp -a a b; chmod 555 a/sub; touch -d tomorrow b/sub/x");
    EXPECT_TRUE(Platform::HoldSameTree(u"a", u"b")) << "of the same bytes";
    Shell("printf 21 > b/sub/x; touch a/late");
    EXPECT_FALSE(Platform::RemoveCopiedTree(u"a", u"b"));
    EXPECT_TRUE(ReadFile("a/sub/x") == "12" && fs::exists("a/late") && !fs::is_symlink("a/sub/link"));
    for (const WCHAR* path : {u"a", u"a\\new", u"a\\sub\\new", u"link\\new", u"b\\..\\a\\sub"})
        EXPECT_TRUE(Platform::LiesInFolder(path, u"a")) << WideToUtf8(path);
    for (const WCHAR* path : {u".", u"ab", u"b\\sub", u"a\\..\\b\\new"})
        EXPECT_FALSE(Platform::LiesInFolder(path, u"a")) << WideToUtf8(path);
}

} // namespace
} // namespace Vellox::FileNames
