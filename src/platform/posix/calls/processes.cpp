#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/handles.h"
#include "platform/posix/calls/command_line.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

// A program starts in two steps, so that it does not become a child of the host: a helper process starts it and ends at
// once, which makes the program a child of process 1, or of the nearest subreaper (PR_SET_CHILD_SUBREAPER of prctl).
// The helper is a child of the host, but one that a plain wait or waitpid of the host's does not find, nor SIGCHLD tell
// of: it is cloned without a signal for its end, and only waitpid with __WCLONE finds such a child.
//
// Both processes run in the host's memory (CLONE_VM), each on a stack of its own, while the calling thread stands still
// (CLONE_VFORK). So nothing is copied, however large the host is. In exchange they make system calls and nothing else,
// as another thread may hold the lock of malloc at that moment, and all signals are blocked, as a handler of the host's
// would run in the host's memory. What they have to tell stands in this record.
struct Launch {
    const char* program;
    char* const* words;
    std::byte* programStack;
    int processDescriptor = -1;
    int error = 0;
};

constexpr std::size_t stackSize = std::size_t{64} * 1024;

// clone takes the end of the stack, as it grows downward, and the x86-64 calling convention wants it aligned to 16
// bytes.
std::byte* StackEnd(const std::unique_ptr<std::byte[]>& stack) {
    const auto end = reinterpret_cast<std::uintptr_t>(stack.get() + stackSize);
    return reinterpret_cast<std::byte*>(end & ~std::uintptr_t{15});
}

// The raw system call, as sigaction of the C library may have been replaced by one that keeps a record of the handlers
// in the host's memory, as the sanitizers' does. This process shares that memory, so the record would be changed for
// the host, whose handlers the kernel has kept.
void ResetSignals() {
    const struct {
        unsigned long handler, flags, restorer, mask;
    } defaultAction = {};
    for (int signal = 1; signal < NSIG; ++signal)
        ::syscall(SYS_rt_sigaction, signal, &defaultAction, nullptr, sizeof defaultAction.mask);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool LeaveOnlyNullStreams() {
    if (::close_range(0, ~0U, 0) != 0)
        return false;
    return ::open("/dev/null", O_RDWR) == 0 && ::dup(0) == 1 && ::dup(0) == 2;
}

int RunProgram(void* argument) {
    Launch& launch = *static_cast<Launch*>(argument);
    if (LeaveOnlyNullStreams() && ::setsid() != -1) {
        ResetSignals();
        ::execve(launch.program, launch.words, ::environ);
    }
    launch.error = errno;
    ::_exit(127);
}

// The helper shares the table of descriptors with the host (CLONE_FILES), so the process descriptor that CLONE_PIDFD
// makes here is open in the host too. The program gets a copy of the table. A program that execve refused has ended
// here and is waited for, or it would stay a zombie for process 1 to find.
int RunHelper(void* argument) {
    Launch& launch = *static_cast<Launch*>(argument);
    const int process = ::clone(RunProgram, launch.programStack, CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD,
                                argument, &launch.processDescriptor);
    if (process == -1)
        launch.error = errno;
    else if (launch.error != 0)
        ::waitpid(process, nullptr, 0);
    ::_exit(0);
}

class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;
    ~AllSignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_;
};

// The descriptor of the running program; none, with the last error set, if it did not start.
Descriptor Start(const std::string& program, std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const std::unique_ptr<std::byte[]> helperStack(new std::byte[stackSize]);
    const std::unique_ptr<std::byte[]> programStack(new std::byte[stackSize]);
    Launch launch = {program.c_str(), pointers.data(), StackEnd(programStack)};
    const AllSignalsBlocked blocked;
    const int helper = ::clone(RunHelper, StackEnd(helperStack), CLONE_VM | CLONE_VFORK | CLONE_FILES, &launch);
    if (helper == -1) {
        FailFromErrno();
        return {};
    }
    Retried([&] { return ::waitpid(helper, nullptr, static_cast<int>(__WCLONE)); });
    Descriptor process(launch.processDescriptor);
    if (launch.error == 0)
        return process;
    Fail(ErrorFromErrno(launch.error));
    return {};
}

struct timespec Now() {
    struct timespec now = {};
    static_cast<void>(::clock_gettime(CLOCK_MONOTONIC, &now));
    return now;
}

constexpr LONGLONG nanosecondsPerSecond = 1'000'000'000;
constexpr LONGLONG nanosecondsPerMillisecond = 1'000'000;

LONGLONG Nanoseconds(const struct timespec& time) {
    return time.tv_sec * nanosecondsPerSecond + time.tv_nsec;
}

// Gives what poll gives; a signal does not end the wait.
int PollUntil(struct pollfd& process, LONGLONG deadline) {
    while (true) {
        const LONGLONG left = std::max<LONGLONG>(deadline - Nanoseconds(Now()), 0);
        const struct timespec timeout = {left / nanosecondsPerSecond, left % nanosecondsPerSecond};
        const int result = ::ppoll(&process, 1, &timeout, nullptr);
        if (result != -1 || errno != EINTR)
            return result;
    }
}

} // namespace

BOOL CreateProcessA(const char* /*application*/, char* commandLine, SECURITY_ATTRIBUTES* /*process*/,
                    SECURITY_ATTRIBUTES* /*thread*/, BOOL /*inheritHandles*/, DWORD /*flags*/, void* /*environment*/,
                    const char* /*currentDirectory*/, STARTUPINFOA* /*startup*/, PROCESS_INFORMATION* information) {
    std::vector<std::string> words = SplitCommandLine(commandLine);
    if (words.empty())
        return static_cast<BOOL>(Fail(ERROR_FILE_NOT_FOUND));
    const std::string program = FindProgram(words.front());
    if (program.empty())
        return FALSE;
    Descriptor process = Start(program, words);
    if (!process)
        return FALSE;
    const HANDLE handle = ToHandle(std::move(process));
    if (handle == INVALID_HANDLE_VALUE)
        return FALSE;
    *information = {handle, nullptr, 0, 0};
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    struct pollfd process = {-1, POLLIN, 0};
    if (!ToDescriptor(handle, process.fd))
        return WAIT_FAILED;
    const int result = milliseconds == INFINITE
                           ? Retried([&] { return ::poll(&process, 1, -1); })
                           : PollUntil(process, Nanoseconds(Now()) + milliseconds * nanosecondsPerMillisecond);
    if (result == 0)
        return WAIT_TIMEOUT;
    if (result < 0 || (process.revents & POLLIN) == 0) {
        Fail(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    return WAIT_OBJECT_0;
}
