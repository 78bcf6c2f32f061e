#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

const fs::file_time_type longAgo{std::chrono::nanoseconds(1234567890123456789)};

class CopyingTest : public ScratchTest {
protected:
    CopyingTest() { ::setenv("XDG_DATA_HOME", At("data").c_str(), 1); }
    ~CopyingTest() override { ::unsetenv("XDG_DATA_HOME"); }

    static std::ptrdiff_t Entries(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }
};

TEST_F(CopyingTest, TellsWhyAFileWasNotCopiedAndChangesNothing) {
    for (const char* name : {"a", "b", "big", "marked", "denied", "held", "folder/x"}) {
        WriteFile(At(name), std::string(name == std::string("big") ? 100001 : 3, 'x'));
        fs::permissions(name, fs::perms(0666));
    }
    fs::permissions("marked", fs::perms(0444));
    fs::permissions("denied", fs::perms::none);
    fs::create_hard_link("a", "twin");
    fs::create_symlink("a", "link");
    fs::create_symlink("none", "dangling");
    ASSERT_EQ(::mkfifo("fifo", 0666), 0);
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

TEST_F(CopyingTest, KeepsContentModeAndTime) {
    for (const fs::path& destination : {At("caf\xC3\xA9"), OtherVolume() / "there"})
        for (const char* step : {"", "12345678", "123"}) {
            std::string content;
            for (int count = 0; count < 30000; ++count)
                content += step;
            WriteFile(At("a"), content);
            fs::permissions("a", fs::perms(0751));
            fs::last_write_time("a", longAgo);
            auto error = static_cast<CopyFileError>(-1);
            EXPECT_TRUE(CopyFileA("a", Win32(destination), false, &error) && error == -1);
            EXPECT_TRUE(ReadFile(destination) == content);
            EXPECT_EQ(fs::status(destination).permissions(), fs::perms(0751));
            EXPECT_EQ(fs::last_write_time(destination), longAgo);
        }
    // The system tells its length as 0.
    EXPECT_TRUE(CopyFileA(R"(C:\proc\version)", "version", true, nullptr));
    EXPECT_EQ(ReadFile("version"), ReadFile("/proc/version"));
    fs::create_symlink("caf\xC3\xA9", "link");
    EXPECT_TRUE(CopyFileA("link", "plain", true, nullptr) && !fs::is_symlink("plain"));
    fs::permissions("version", fs::perms(0600));
    EXPECT_TRUE(CopyFileA("version", "link", false, nullptr) && fs::is_symlink("link"));
    EXPECT_EQ(ReadFile("caf\xC3\xA9"), ReadFile("version"));
}

TEST_F(CopyingTest, LeavesTheOldFileWhenTheProcessIsKilled) {
    const fs::path source = OtherVolume() / "source";
    WriteFile(At("to/b"), "old");
    WriteFile(source, "");
    fs::resize_file(source, std::uintmax_t{1} << 30);
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

TEST_F(CopyingTest, CopiesFoldersWithAllTheyHold) {
    for (const char* name : {"s/caf\xC3\xA9/x", "s/.hidden", "s/locked/y"})
        WriteFile(At(name), name);
    fs::create_directory("s/empty");
    fs::create_symlink("none", "s/dangling");
    fs::create_symlink("..", "s/up");
    fs::create_symlink("s", "link");
    ASSERT_EQ(::mkfifo("s/fifo", 0640), 0);
    for (const char* name : {"s/locked/y", "s/locked", "s"}) {
        fs::permissions(name, fs::perms(0555));
        fs::last_write_time(name, longAgo);
    }
    const std::string source = Describe("s");
    const char* const refused[][2] = {
        {"s", "s"}, {"s", R"(s\n)"}, {"s", R"(link\empty\n)"}, {"link", R"(s\empty)"}, {"none", "s"},
        {"", "n"},  {"s", ""}};
    for (const auto& row : refused)
        CopyFolder(row[0], row[1]);
    for (const fs::path& copy : {At("d\xC3\xA9"), OtherVolume() / "d"}) {
        const AsOrdinaryUser user;
        CopyFolder("s", Win32(copy));
        ASSERT_EQ(Describe(copy), source);
        for (const char* name : {"locked/y", "locked", "."})
            EXPECT_EQ(fs::last_write_time(copy / name), longAgo) << name;
        fs::permissions(copy, fs::perms(0755));
        WriteFile(copy / "caf\xC3\xA9/x", "old");
        WriteFile(copy / "own", "own");
        CopyFolder(R"(s\)", Win32(copy));
        EXPECT_TRUE(ReadFile(copy / "caf\xC3\xA9/x") == "s/caf\xC3\xA9/x" && ReadFile(copy / "own") == "own");
    }
    CopyFolder(R"(s\empty)", "n");
    EXPECT_TRUE(fs::is_empty("n"));
    EXPECT_EQ(Describe("s"), source);
}

TEST_F(CopyingTest, DeletesWhatIsNamedAndNothingBehindALink) {
    for (const char* name : {"in/keep/x", "in/t/*/x", "in/t/ab/x", "in/t/marked"})
        WriteFile(At(name), name);
    fs::current_path("in");
    fs::permissions("t/marked", fs::perms(0444));
    for (const char* target : {"../keep/x", "../keep", "none"})
        fs::create_symlink(target, "t/link" + std::to_string(Entries("t")));
    fs::create_symlink("../keep", "t/folder");
    ASSERT_EQ(::mkfifo("t/fifo", 0666), 0);
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
    EXPECT_TRUE(Entries(".") == 1 && ReadFile("keep/x") == "in/keep/x" && !fs::exists(At("data/Trash")));
}

TEST_F(CopyingTest, RecyclesEveryItemWithItsWayBack) {
    const fs::path other = OtherVolume();
    const std::string item = "a b%\xC3\xA9" + other.filename().string();
    for (const fs::path& path : {At(item), At(item), other / item}) {
        WriteFile(path / "x", path.string());
        DeleteFolderWithContents(Win32(path).c_str(), false, false);
        EXPECT_FALSE(fs::exists(path));
    }
    const fs::path otherBin = "/dev/shm/.Trash-" + std::to_string(::geteuid());
    const fs::path kept[][2] = {{"data/Trash", At("")}, {"data/Trash", At("")}, {otherBin, other.filename() / ""}};
    const char* const names[] = {"", ".2", ""};
    for (int index = 0; index < 3; ++index) {
        const auto& [bin, place] = kept[index];
        const std::string info = ReadFile(bin / "info" / (item + names[index] + ".trashinfo"));
        EXPECT_EQ(info.rfind("[Trash Info]\nPath=" + place.string() + "a%20b%25%C3%A9" + other.filename().string() +
                                 "\nDeletionDate=2",
                             0),
                  0)
            << info;
    }
    EXPECT_EQ(ReadFile(otherBin / "files" / item / "x"), (other / item).string());
}
} // namespace
} // namespace Vellox::FileNames
