#include <fcntl.h>
#include <pthread.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <thread>
#include <utility>

#include "platform/operations.h"
#include "platform/posix/calls/command_line.h"
#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"
#include "vellox/frame.h"
#include "vellox/pathtext.h"
#include "vellox/processes.h"

// What only this system has below the calls: links with targets, signals, descriptors, the freedesktop.org trash.

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using Words = std::vector<std::string>;

class PosixTest : public ScratchTest {
protected:
    PosixTest() { SetDataFolder(At("data")); }
    ~PosixTest() override { ::unsetenv("XDG_DATA_HOME"); }

    // NOLINTNEXTLINE(cert-env33-c)
    static void Shell(const std::string& text) { ASSERT_EQ(std::system(("umask 022; set -e; " + text).c_str()), 0); }
    static void ExpectRuns(Words words) {
        void* process = LaunchProcess("", words);
        EXPECT_NE(process, nullptr) << words[0];
        EXPECT_EQ(WaitForProcess(process, -1), 1) << words[0];
        ::CloseHandle(process);
    }
};

TEST_F(PosixTest, CopiesWhatALinkLeadsTo) {
    Shell("echo old > target; ln -s target link; echo a > marked; chmod 444 marked");
    EXPECT_TRUE(CopyFileA("link", "plain", true, nullptr));
    EXPECT_FALSE(fs::is_symlink("plain"));
    EXPECT_TRUE(CopyFileA(R"(C:\proc\version)", "link", false, nullptr));
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_EQ(ReadFile("target"), ReadFile("/proc/version")) << "which tells a size of 0";
    EXPECT_FALSE(CopyFileA("target", "marked", false, nullptr)) << "nor by a user whom rights do not bind";
}

TEST_F(PosixTest, RecyclesEveryItemWithItsWayBack) {
    const fs::path other = OtherVolume();
    const std::string end = other.filename().string(), item = "a b%\xC3\xA9" + end;
    Shell("mkdir -p locked/item; chmod 555 locked");
    const AsOrdinaryUser user;
    for (const fs::path& path : {At(item), At(item), other / item}) {
        WriteFile(path / "x", "");
        DeleteFolderWithContents(Win32(path).c_str(), false, false);
    }
    const fs::path bin = "data/Trash", otherBin = FolderOnOtherVolume() / (".Trash-" + std::to_string(::geteuid()));
    struct Row {
        fs::path bin;
        std::string name, pathBegins;
    };
    const Row rows[] = {
        {bin, item, "/"},
        {bin, item + ".2", "/"},
        {otherBin, item, end + "/a%20b"},
    };
    for (const Row& row : rows) {
        if (row.bin == otherBin && !HoldsAll(other))
            continue; // a bin is used only by its owner
        SCOPED_TRACE(row.bin / row.name);
        const std::string info = ReadFile(row.bin / "info" / (row.name + ".trashinfo"));
        EXPECT_EQ(info.find("[Trash Info]\nPath=" + row.pathBegins), 0U) << info;
        EXPECT_NE(info.find("/a%20b%25%C3%A9" + end + "\nDeletionDate=2"), std::string::npos) << info;
        EXPECT_TRUE(fs::exists(row.bin / "files" / row.name / "x"));
    }
    fs::create_directory(otherBin);
    Shell("find " + otherBin.string() + " -depth \\( -path '*" + end + "*' -o -empty \\) -delete");
    DeleteFolderWithContents(R"(locked\item)", false, false);
    EXPECT_TRUE(fs::exists("locked/item")) << "which cannot be recycled";
    EXPECT_EQ(GetFolderFiles(R"(data\Trash\info\*)").size(), 2U);
    if (!fs::exists("/usr/bin/trash-restore"))
        GTEST_SKIP() << "no other program here that could read the recycle bin";
    Shell("trash-list > out; grep -qF '" + At(item).string() + "' out; echo 0 | trash-restore > out; test -d *" + end);
}

TEST_F(PosixTest, CopiesNothingThroughALinkOverAHeldFileOrIntoTheFolderThatItReads) {
    Shell("mkdir -p s d; echo new > s/held; echo new > s/link; echo new > s/folder; echo new > s/old; mkdir d/folder");
    Shell("echo old > outside; ln -s ../outside d/link; echo old > d/held; echo old > d/old");
    const HANDLE held = ::CreateFileW(u"d/held", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    CopyFolder("s", "d");
    ::CloseHandle(held);
    EXPECT_EQ(ReadFile("outside") + ReadFile("d/held") + ReadFile("d/old"), "old\nold\nnew\n");
    EXPECT_TRUE(fs::is_directory("d/folder"));
    Shell("mkdir -p up/s/s; echo upper > up/s/x; echo lower > up/s/s/x");
    const std::string before = Describe("up/s");
    CopyFolder(R"(up\s)", "up");
    EXPECT_EQ(Describe("up/s"), before);
    EXPECT_EQ(ReadFile("up/x"), "upper\n");
}

TEST_F(PosixTest, TouchesNothingThroughANameThatNoPathCanTell) {
    Shell(R"(mkdir -p in/sub "$(printf 'caf\351')/x" "$(printf 'caf\303\251')/x")");
    Shell(R"(cd in/sub; touch '..\..\victim' ../../victim)");
    EXPECT_EQ(GetFolderFiles(R"(in\sub\*)"), std::vector<std::string>{"..\uFFFD..\uFFFDvictim"});
    const std::string before = Describe(".");
    CopyFolder("caf\xE9", "copy");
    CopyFolder("in", "copy\xE9");
    DeleteFolderWithContents("caf\xE9", false, true);
    EXPECT_EQ(Describe("."), before);
    for (const std::string& name : GetFolderFiles(R"(in\sub\*)"))
        DeleteFolderWithContents((R"(in\sub\)" + name).c_str(), false, true);
    EXPECT_TRUE(fs::exists("victim"));
    fs::current_path("in/sub");
    fs::create_directory(R"(..\sub)");
    fs::current_path(R"(..\sub)");
    EXPECT_EQ(path_rimuovifilename(std::string("x")), "") << "in a folder with such a name";
}

TEST_F(PosixTest, OpensFilesInNoOtherWayThanAsked) {
    for (const DWORD disposition : {1U, 4U, 5U}) // CREATE_NEW, OPEN_ALWAYS, TRUNCATE_EXISTING
        EXPECT_EQ(::CreateFileW(u"new", GENERIC_WRITE, 0, nullptr, disposition, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(fs::is_empty("."));
}

// A copy of this program, which starts itself, is removed while it runs.
TEST_F(PosixTest, TellsAProgramWhoseFileIsGone) {
    constexpr const char* variable = "VELLOX_TEST_PROGRAM";
    if (const char* program = std::getenv(variable)) {
        EXPECT_EQ(GetModuleFilename(), Win32(program));
        fs::remove(program);
        EXPECT_EQ(GetModuleFilename(), Win32(program));
        return;
    }
    for (const std::string name : {"program", "program (deleted)"}) {
        fs::copy_file("/proc/self/exe", name);
        Shell(std::string(variable) + "='" + At(name).string() + "' './" + name + "' --gtest_filter=*WhoseFileIsGone");
    }
}

TEST_F(PosixTest, DeletesDeepFoldersAndWildcardsByTheirNames) {
    Shell("mkdir -p 't/*' t/ab; touch 't/*/x' t/ab/x");
    DeleteFolderWithContents(R"(t\*)", false, true);
    EXPECT_FALSE(fs::exists("t/*"));
    EXPECT_TRUE(fs::exists("t/ab/x"));
    Shell("cd t; for level in $(seq 30); do mkdir $(printf %0200d); cd -P $(printf %0200d); done");
    DeleteFolderWithContents("t", true, false);
    EXPECT_FALSE(fs::exists("t"));
    EXPECT_FALSE(fs::exists("data/Trash")) << "with the dialogs that this system does not have";
}

TEST_F(PosixTest, CopiesNoFolderIntoItselfWhateverLeadsThere) {
    Make({"outer/inner/a.wav", "mounted/"});
    fs::create_directory_symlink("outer/inner", "link");
    const bool isMounted = ::mount("outer/inner", "mounted", nullptr, MS_BIND, nullptr) == 0;
    std::vector<const char*> destinations = {"link", R"(link\x\y)", R"(outer\x\y)"};
    if (isMounted)
        destinations.insert(destinations.end(), {"mounted", R"(mounted\x\y)"});
    else
        std::cout << "[ left out ] a second mount: this user cannot make one\n";
    const std::string before = Describe("outer");
    for (const char* destination : destinations) {
        CopyFolder("outer", destination);
        EXPECT_EQ(Describe("outer"), before) << destination;
    }
    EXPECT_EQ(::umount("mounted") == 0, isMounted);
    Make({"empty/"});
    CopyFolder("empty", R"(made\on\the\way)");
    EXPECT_TRUE(fs::is_directory("made/on/the/way"));
}

// With so few descriptors and so small a stack that no level can have one of its own.
TEST_F(PosixTest, GoesToTheBottomOfAnyTree) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer takes more than that of each stack for itself";
#endif
    constexpr int levels = 1'200;
    const fs::path moved = OtherVolume() / "moved";
    const auto openBelow = [](int folder) { return ::openat(folder, "down", O_RDONLY | O_DIRECTORY | O_CLOEXEC); };
    const auto levelsOf = [&](const fs::path& top) {
        int count = -1;
        for (int folder = ::open(top.c_str(), O_RDONLY | O_CLOEXEC); folder >= 0; ++count)
            ::close(std::exchange(folder, openBelow(folder)));
        return count;
    };
    const auto run = [&] {
        int folder = ::open(".", O_RDONLY | O_CLOEXEC);
        for (int level = 0; level <= levels; ++level) {
            ::mkdirat(folder, "down", 0700);
            ::close(std::exchange(folder, openBelow(folder)));
            ::close(::openat(folder, "a.wav", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        }
        ::close(folder);
        CopyFolder("down", "copy");
        EXPECT_EQ(levelsOf("copy"), levels);
        EXPECT_EQ(Platform::MoveByCopy(u"copy", moved.u16string().c_str(), Platform::CopyOfWhatStays::TakeBack),
                  Platform::MoveByCopyResult::Done);
        EXPECT_EQ(levelsOf("copy"), -1);
        EXPECT_EQ(levelsOf(moved), levels);
        for (const std::string& path : {std::string("down"), Win32(moved)}) {
            DeleteFolderWithContents(path.c_str(), false, true);
            EXPECT_FALSE(CheckFileExistsEvenIfNotAccessible(path)) << path;
        }
    };
    const auto runInLittleSpace = [&] {
        const rlimit few{40, 40};
        ::setrlimit(RLIMIT_NOFILE, &few);
        pthread_attr_t small;
        ::pthread_attr_init(&small);
        ::pthread_attr_setstacksize(&small, std::size_t{256} * 1024);
        ::pthread_setattr_default_np(&small);
        std::thread(run).join();
        std::_Exit(HasFailure() ? 1 : 0);
    };
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_EXIT(runInLittleSpace(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PosixTest, KeepsAFileFromOtherProcessesUntilItsHolderEnds) {
    WriteFile("file", "");
    const auto opensAlone = [] {
        return ::CreateFileW(u"file", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr) != INVALID_HANDLE_VALUE;
    };
    EXPECT_EXIT(::_exit(opensAlone() ? 0 : 1), ::testing::ExitedWithCode(0), "");
    const HANDLE held = ::CreateFileW(u"file", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(held, INVALID_HANDLE_VALUE) << "which the process that ended still holds";
    EXPECT_EXIT(::_exit(opensAlone() ? 1 : 0), ::testing::ExitedWithCode(0), "");
    ::CloseHandle(held);
}

// In processes of their own, as one keeps its home folder and its streams.
TEST_F(PosixTest, KeepsDataWhereTheEnvironmentTellsAndHandlesApartFromStreams) {
    const auto ask = [](const std::string& data, const std::string& home) {
        SetEnvironment("XDG_DATA_HOME", data);
        SetEnvironment("HOME", home);
        return GetProgramFolderUserDocuments();
    };
    const auto body = [&] {
        EXPECT_EQ(ask("/proc/none", At("home").string()) + ask("data", "/proc/none"), "") << "what is not absolute";
        for (const std::string data : {"data", "/none"})
            EXPECT_EQ(ask(data, At("home").string()), In(R"(home\.local\share\Vellox Studio 10)"));
        EXPECT_EQ(Describe("."), "home 2 700\nhome\\.local 2 700\nhome\\.local\\share 2 700\n");
        for (int stream = 0; stream < 3; ++stream)
            ::close(stream);
        const HANDLE handle = ::CreateFileW(u"C:\\dev\\null", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        const auto descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
        EXPECT_GE(descriptor, 3);
        EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
        EndProcess();
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PosixTest, SplitsACommandLineAsAWindowsProgramWould) {
    const std::pair<const char*, Words> rows[] = {
        {"", {}},
        {" \tapp.exe\t -x ", {"app.exe", "-x"}},
        {R"("C:\My Apps\app.exe" My Song.sng)", {R"(C:\My Apps\app.exe)", "My", "Song.sng"}},
        {R"("C:\dir\" "My Song.sng")", {R"(C:\dir\)", "My Song.sng"}},
        {R"(a "My Song.sng" x"y z"w)", {"a", "My Song.sng", "xy zw"}},
        {R"(a b\"c b\\"d e" \\\"f\\g)", {"a", R"(b"c)", R"(b\d e)", R"(\"f\\g)"}},
        {R"(a C:\dir\ "C:\dir\\" end)", {"a", R"(C:\dir\)", R"(C:\dir\)", "end"}},
        {R"(a "" "b""c" "open end)", {"a", "", R"(b"c)", "open end"}},
    };
    for (const auto& [line, words] : rows)
        EXPECT_EQ(Posix::SplitCommandLine(line), words) << line;
}

TEST_F(PosixTest, RunsAProgramThatMayNotBeRead) {
    Shell("cp /bin/true hidden; chmod 111 hidden");
    const AsOrdinaryUser user;
    ExpectRuns({R"(.\hidden)"});
}

// The host has much open, blocks and ignores signals, and has a child of its own, which stays its own.
TEST_F(PosixTest, GivesAProgramAWorldOfItsOwn) {
    WriteFile("script", R"((ls -m /proc/self/fd
readlink /proc/$$/fd/[012]
test $(cut -d' ' -f1 /proc/$$/stat) = $(cut -d' ' -f6 /proc/$$/stat) && echo leads a session
grep -E '^Sig(Blk|Ign)' /proc/self/status) > told)");
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(7);
    std::vector<int> open = {::dup(0)};
    while (open.back() >= 0 && open.size() < 900)
        open.push_back(::dup(0));
    for (int spare = 0; spare < 8; ++spare, open.pop_back())
        ::close(open.back());
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    const auto previous = ::signal(SIGPIPE, SIG_IGN);
    ExpectRuns({"/bin/sh", "script"});
    static_cast<void>(::signal(SIGPIPE, previous));
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    std::for_each(open.begin(), open.end(), ::close);
    EXPECT_EQ(ReadFile("told"), "0, 1, 2, 3\n/dev/null\n/dev/null\n/dev/null\nleads a session\n"
                                "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
    int status = 0;
    EXPECT_EQ(::waitpid(-1, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

void EndAtSignal(int) {
    ::_exit(1);
}

// Whatever the host's own ways with its children; the descriptors are counted at the end of each test.
TEST_F(PosixTest, LeavesNothingBehindAfterManyLaunches) {
    for (const auto handler : {SIG_DFL, SIG_IGN, EndAtSignal}) {
        const auto previous = ::signal(SIGCHLD, handler);
        const auto launch = [] {
            for (int count = 0; count < 50; ++count)
                ExpectRuns({"/bin/true"});
        };
        std::thread other(launch);
        launch();
        other.join();
        EXPECT_EQ(::signal(SIGCHLD, previous), handler);
    }
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), -1);
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(::sigismember(&blocked, SIGCHLD), 0);
}

} // namespace
} // namespace Vellox::FileNames
