#include "vellox/processes.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "platform/posix/command_line.h"
#include "support/scratch.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using Words = std::vector<std::string>;

class ProcessesTest : public ScratchTest {
protected:
    static void Close(void* process) { ::close(static_cast<int>(reinterpret_cast<std::intptr_t>(process))); }

    static void* Launch(Words words) { return LaunchProcess("ignored", words); }

    // Runs to the end. False if the program did not start.
    static bool Run(Words words) {
        void* process = Launch(std::move(words));
        if (process == nullptr)
            return false;
        EXPECT_EQ(WaitForProcess(process, -1), 1);
        EXPECT_EQ(WaitForProcess(process, 0), 1);
        Close(process);
        return true;
    }

    // A script in the scratch folder, which is the child's current directory too.
    Words Script(std::string_view text) {
        WriteFile(At("script"), "#!/bin/sh\n" + std::string(text) + "\n");
        fs::permissions(At("script"), fs::perms::owner_all);
        return {In("script")};
    }
};

bool HasChildren() {
    return ::waitpid(-1, nullptr, WNOHANG | __WALL) != -1;
}

TEST(CommandLine, IsSplitAsAWindowsProgramWould) {
    const std::pair<const char*, Words> rows[] = {
        // clang-format off
        {"", {}}, {"app.exe -x 1", {"app.exe", "-x", "1"}}, {" \tapp.exe\t -x ", {"app.exe", "-x"}},
        {R"("C:\My Apps\app.exe" My Song.sng)", {R"(C:\My Apps\app.exe)", "My", "Song.sng"}},
        {R"("C:\dir\" "My Song.sng")", {R"(C:\dir\)", "My Song.sng"}},
        {R"(a "My Song.sng" x"y z"w)", {"a", "My Song.sng", "xy zw"}},
        {R"(a b\"c b\\"d e" \\\"f\\g)", {"a", R"(b"c)", R"(b\d e)", R"(\"f\\g)"}},
        {R"(a C:\dir\ "C:\dir\\" end)", {"a", R"(C:\dir\)", R"(C:\dir\)", "end"}},
        {R"(a "" "b""c" "open end)", {"a", "", R"(b"c)", "open end"}},
        // clang-format on
    };
    for (const auto& [line, words] : rows)
        EXPECT_EQ(Posix::SplitCommandLine(line), words) << line;
}

TEST_F(ProcessesTest, RefusesWhatIsNoProgram) {
    WriteFile(At("plain"), "");
    WriteFile(At("unreadable"), "#!/bin/sh\n");
    fs::permissions(At("plain"), fs::perms::owner_read);
    fs::permissions(At("unreadable"), fs::perms::owner_exec | fs::perms::others_exec);
    WriteFile(At("garbage"), "no program");
    fs::permissions(At("garbage"), fs::perms::owner_all);
    const AsOrdinaryUser user;
    for (const Words& words : {Words{}, Words{""}, Words{" ", " "}, Words{In("none")}, Words{In("plain")},
                               Words{In("unreadable")}, Words{In("")}, Words{In("garbage")}, Words{"no-such-program"},
                               Words{R"(X:\bin\true)"}, Words{R"("")"}, Words{std::string(100000, 'x')}}) {
        VELLOX_TRACE_ROW(words.empty() ? "" : words[0].substr(0, 80));
        EXPECT_EQ(Launch(words), nullptr);
    }
}

TEST_F(ProcessesTest, FindsProgramsByPathAndByName) {
    for (const char* program : {"true", "/bin/true", R"(C:\bin\true)"})
        EXPECT_TRUE(Run({program})) << program;
    fs::create_directory(At("my apps"));
    Script("touch ran");
    fs::rename(At("script"), At("my apps/script"));
    EXPECT_TRUE(Run({"\"" + In("my apps/script") + "\""}));
    EXPECT_TRUE(fs::exists(At("ran")));
    EXPECT_TRUE(Run({R"("my apps\script")"}));
}

TEST_F(ProcessesTest, GivesTheProgramAWorldOfItsOwn) {
    ::setenv("VELLOX_TEST_VALUE", "a value", 1);
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    struct sigaction previous {};
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &previous);
    Words words = Script(R"(ls -l /proc/$$/fd | sed -n 's/.* \([0-9]*\) -> /\1 /p' | sort -n > streams
awk '{ print $1 == $6 }' /proc/$$/stat > session
awk '/^Sig(Blk|Ign)/ { print $2 + 0 }' /proc/self/status > signals
printf '%s\n' "$VELLOX_TEST_VALUE" "$PWD" "$@" > words)");
    words.insert(words.end(), {R"("My Song.sng")", "a", "b"});
    const bool ran = Run(words);
    ::sigaction(SIGPIPE, &previous, nullptr);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_TRUE(ran);
    // The shell has its script open as well.
    EXPECT_EQ(ReadFile(At("streams")).substr(0, 36), "0 /dev/null\n1 /dev/null\n2 /dev/null\n");
    EXPECT_EQ(ReadFile(At("session")), "1\n");
    EXPECT_EQ(ReadFile(At("signals")), "0\n0\n");
    EXPECT_EQ(ReadFile(At("words")), "a value\n" + At("").parent_path().string() + "\nMy Song.sng\na\nb\n");
}

TEST_F(ProcessesTest, WaitsAsLongAsAskedFromSeveralThreads) {
    EXPECT_EQ(WaitForProcess(nullptr, -1), 0);
    void* process = Launch({"sleep", "0.4"});
    ASSERT_NE(process, nullptr);
    const auto start = std::chrono::steady_clock::now();
    for (const int timeout : {0, 100})
        EXPECT_EQ(WaitForProcess(process, timeout), 0) << timeout;
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count)
        threads.emplace_back([&] { EXPECT_EQ(WaitForProcess(process, 10000), 1); });
    for (std::thread& thread : threads)
        thread.join();
    Close(process);
    EXPECT_EQ(WaitForProcess(process, -1), 0);
}

void CountSignal(int) {
    static_cast<void>(::write(STDERR_FILENO, "SIGCHLD\n", 8));
    ::_exit(1);
}

// The host's own ways with its children, and what it has open, make no difference.
TEST_F(ProcessesTest, AThousandLaunchesLeaveNothingBehind) {
    const std::size_t descriptors = OpenDescriptors();
    for (const auto handler : {SIG_DFL, SIG_IGN, CountSignal}) {
        struct sigaction action {};
        struct sigaction previous {};
        action.sa_handler = handler;
        ::sigaction(SIGCHLD, &action, &previous);
        for (int count = 0; count < 1000 / 3 + 1; ++count)
            ASSERT_TRUE(Run({"/bin/true"}));
        struct sigaction after {};
        ::sigaction(SIGCHLD, &previous, &after);
        EXPECT_EQ(after.sa_handler, handler);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_FALSE(HasChildren());
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(::sigismember(&blocked, SIGCHLD), 0);
}

TEST_F(ProcessesTest, TheHostsOwnChildrenStayItsOwn) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(7);
    std::vector<int> open;
    for (int count = 0; count < 900; ++count)
        open.push_back(::dup(0));
    ASSERT_TRUE(Run(Script("ls /proc/$$/fd > open")));
    for (const int descriptor : open)
        ::close(descriptor);
    // 10 and 11 are the shell's: its script, and what it keeps of its output.
    EXPECT_EQ(ReadFile(At("open")), "0\n1\n10\n11\n2\n");
    int status = 0;
    EXPECT_EQ(::waitpid(-1, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(ProcessesTest, LaunchesFromManyThreadsOfALargeHost) {
    constexpr std::size_t size = std::size_t{256} << 20;
    void* memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    std::vector<std::thread> threads;
    for (int count = 0; count < 8; ++count)
        threads.emplace_back([] {
            for (int launch = 0; launch < 20; ++launch)
                EXPECT_TRUE(Run({"/bin/true"}));
        });
    for (std::thread& thread : threads)
        thread.join();
    ::munmap(memory, size);
    EXPECT_FALSE(HasChildren());
}

} // namespace
} // namespace Vellox::FileNames
