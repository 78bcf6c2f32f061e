#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "platform/posix/command_line.h"
#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/processes.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using Words = std::vector<std::string>;

class LaunchTest : public ScratchTest {
protected:
    // Runs to the end. False if the program did not start.
    static bool Run(Words words) {
        void* process = LaunchProcess("", words);
        return WaitForProcess(process, -1) == 1 && ::CloseHandle(process) != FALSE;
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

TEST_F(LaunchTest, GivesTheProgramAWorldOfItsOwn) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    struct sigaction previous {};
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &previous);
    const bool ran = Run(Script(R"(ls -l /proc/$$/fd | sed -n 's/.* \([0-9]*\) -> /\1 /p' | sort -n > streams
awk '{ print $1 == $6 }' /proc/$$/stat > session
awk '/^Sig(Blk|Ign)/ { print $2 + 0 }' /proc/self/status > signals)"));
    ::sigaction(SIGPIPE, &previous, nullptr);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_TRUE(ran);
    // The shell has its script open as well.
    EXPECT_EQ(ReadFile(At("streams")).substr(0, 36), "0 /dev/null\n1 /dev/null\n2 /dev/null\n");
    EXPECT_EQ(ReadFile(At("session")), "1\n");
    EXPECT_EQ(ReadFile(At("signals")), "0\n0\n");
}

void CountSignal(int) {
    static_cast<void>(::write(STDERR_FILENO, "SIGCHLD\n", 8));
    ::_exit(1);
}

// The host's own ways with its children, and what it has open, make no difference.
TEST_F(LaunchTest, AThousandLaunchesLeaveNothingBehind) {
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

TEST_F(LaunchTest, TheHostsOwnChildrenStayItsOwn) {
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

TEST_F(LaunchTest, LaunchesFromManyThreadsOfALargeHost) {
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
