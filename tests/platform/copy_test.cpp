#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

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

    static void Shell(const std::string& commands) { ASSERT_EQ(std::system(("set -e; " + commands).c_str()), 0); }
    static auto Entries(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }
};

TEST_F(CopyTest, TellsWhyAFileWasNotCopiedAndChangesNothing) {
    Shell("umask 0; mkdir folder; for file in a b marked denied held folder/x; do echo old > $file; done; truncate -s "
          "100001 big; ln a twin;"
          "chmod 444 marked; chmod 0 denied; ln -s a link; ln -s none dangling; mkfifo fifo");
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
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &full);
    for (const auto& [source, destination, failIfExists, expected] : rows) {
        const AsOrdinaryUser user;
        auto error = static_cast<CopyFileError>(-1);
        EXPECT_FALSE(CopyFileA(source, destination, failIfExists, nullptr)) << source << " to " << destination;
        EXPECT_FALSE(CopyFileA(source, destination, failIfExists, &error)) << source << " to " << destination;
        EXPECT_EQ(error, expected) << source << " to " << destination;
    }
    ::setrlimit(RLIMIT_FSIZE, &old);
    ::CloseHandle(held);
    EXPECT_TRUE(Describe(".") == before);
}

TEST_F(CopyTest, KeepsContentModeAndTime) {
    const fs::path other = OtherVolume() / "there";
    for (const std::size_t size : {300000, 1, 0})
        for (const fs::path& copy : {At("caf\xC3\xA9"), other}) {
            std::string content(size, 'x');
            std::generate(content.begin(), content.end(),
                          [count = 0]() mutable { return static_cast<char>(count++ % 251); });
            WriteFile(At("a"), content);
            Shell("chmod 751 a; touch -d @1234567890.123456789 a");
            auto error = static_cast<CopyFileError>(-1);
            EXPECT_TRUE(CopyFileA("a", Win32(copy), false, &error) && error == -1);
            EXPECT_TRUE(ReadFile(copy) == content) << size;
            EXPECT_EQ(fs::status(copy).permissions(), fs::perms(0751));
            EXPECT_EQ(fs::last_write_time(copy), fs::last_write_time("a"));
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
    EXPECT_TRUE(WIFSIGNALED(status)) << "the copy was whole before it could be cut short";
    EXPECT_EQ(fs::file_size("to/b"), 3);
}

TEST_F(CopyTest, TakesFoldersWithAllTheyHold) {
    Shell("mkdir -p s/caf\xC3\xA9 s/locked s/empty; for file in caf\xC3\xA9/x .hidden locked/y; do echo new > s/$file; "
          "done; ln -s s link;"
          "ln -s none s/dangling; ln -s .. s/up; mkfifo -m 640 s/fifo; chmod 555 s/locked/y s/locked;"
          "touch -d @1234567890.123456789 s/locked/y s/locked s");
    const std::string source = Describe("s");
    const fs::path other = OtherVolume() / "d";
    for (const fs::path& copy : {At("d\xC3\xA9"), other}) {
        const AsOrdinaryUser user;
        CopyFolder("s", Win32(copy));
        ASSERT_EQ(Describe(copy), source);
        for (const char* name : {"locked/y", "locked", "."})
            EXPECT_EQ(fs::last_write_time(copy / name), fs::last_write_time(At("s") / name)) << name;
        WriteFile(copy / "caf\xC3\xA9/x", "old");
        WriteFile(copy / "own", "own");
        CopyFolder(R"(s\)", Win32(copy));
        EXPECT_TRUE(ReadFile(copy / "caf\xC3\xA9/x") == "new\n" && ReadFile(copy / "own") == "own");
    }
    CopyFolder(R"(s\empty)", "n");
    EXPECT_TRUE(fs::is_empty("n"));
    const char* const refused[][2] = {
        // clang-format off
        {"s", "s"}, {"s", R"(s\n)"}, {"s", R"(link\empty\n)"}, {"link", R"(s\empty)"}, {"none", "s"}, {"", "n"}, {"s", ""},
        // clang-format on
    };
    for (const auto& row : refused)
        CopyFolder(row[0], row[1]);
    EXPECT_TRUE(Describe("s") == source && fs::is_empty("n"));
}

TEST_F(CopyTest, DeletesWhatIsNamedAndNothingBehindALink) {
    Shell(
        "mkdir -p in/keep in/t/'*' in/t/ab; cd in; for file in keep/x 't/*/x' t/ab/x t/marked; do echo x > " $file
        "; done; chmod 444 t/marked;"
        "mkfifo t/fifo; ln -s ../keep/x t/file; ln -s ../keep t/folder; ln -s ../keep t/other; ln -s none t/dangling");
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
    fs::current_path("t");
    for (int level = 0; level < 30 && fs::create_directory(std::string(200, 'n')); ++level)
        fs::current_path(std::string(200, 'n'));
    fs::current_path(At("in"));
    DeleteFolderWithContents("t", true, false);
    EXPECT_TRUE(Entries(".") == 1 && ReadFile("keep/x") == "x\n" && !fs::exists(At("data/Trash")));
}

TEST_F(CopyTest, RecyclesEveryItemWithItsWayBack) {
    const fs::path other = OtherVolume();
    const std::string end = other.filename().string(), item = "a b%\xC3\xA9" + end;
    Shell("mkdir -p locked/item; chmod 555 locked");
    const AsOrdinaryUser user;
    for (const fs::path& path : {At(item), At(item), other / item}) {
        WriteFile(path / "x", "");
        DeleteFolderWithContents(Win32(path).c_str(), false, false);
        EXPECT_FALSE(fs::exists(path)) << path;
    }
    const fs::path bin = "data/Trash", otherBin = "/dev/shm/.Trash-" + std::to_string(::geteuid());
    const fs::path kept[][3] = {{bin, item, At("")}, {bin, item + ".2", At("")}, {otherBin, item, end + "/"}};
    for (const auto& [folder, name, place] : kept) {
        const std::string info = ReadFile(folder / "info" / (name.string() + ".trashinfo"));
        EXPECT_EQ(info.find("[Trash Info]\nPath=" + place.string() + "a%20b%25%C3%A9" + end + "\nDeletionDate=2"), 0);
        EXPECT_TRUE(fs::exists(folder / "files" / name / "x")) << folder;
    }
    Shell("cd " + otherBin.string() + "; rm -r */*" + end + "*; cd ..; rmdir -p " + otherBin.filename().string() +
          "/* || true");
    DeleteFolderWithContents(R"(locked\item)", false, false);
    EXPECT_TRUE(fs::exists("locked/item") && Entries(bin / "info") == 2);
    if (!fs::exists("/usr/bin/trash-restore"))
        GTEST_SKIP() << "no other program here that could read the recycle bin";
    Shell("trash-list | grep -qF '" + At(item).string() + "'; echo 0 | trash-restore > /dev/null");
    EXPECT_TRUE(fs::exists(At(item) / "x"));
}

} // namespace
} // namespace Vellox::FileNames
