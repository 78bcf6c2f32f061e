#include "faults/injection.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/win32.h"

namespace Vellox::Testing {

Injection injection;

namespace {

bool Strikes(Boundary boundary, const char* name, bool canWait) {
    const int error = errno;
    if (injection.intruder && injection.intrudes(name))
        std::exchange(injection.intruder, nullptr)();
    errno = error;
    if (injection.boundary != boundary)
        return false;
    const long call = ++injection.calls;
    if (call < injection.first || call > injection.last)
        return false;
    if (call == injection.first) {
        injection.struck = name;
        injection.couldWait = canWait;
    }
    boundary == Boundary::Posix ? static_cast<void>(errno = injection.error)
                                : ::SetLastError(static_cast<DWORD>(injection.error));
    return true;
}

// Every descriptor has to be closed when the host starts a program.
std::intptr_t Checked(std::string_view name, std::intptr_t result) {
    const auto descriptor = static_cast<int>(result);
    const bool opens = name == "open" || name == "openat" || name == "__open_2" || name == "__openat_2";
    if ((opens || name == "fcntl") && injection.boundary == Boundary::Posix && descriptor > 2 &&
        ::syscall(SYS_fcntl, descriptor, F_GETFD) != FD_CLOEXEC)
        injection.inherited = name.data();
    return result;
}

} // namespace
} // namespace Vellox::Testing

using namespace Vellox::Testing;
using Word = std::intptr_t;

// Every argument and result is a word, and none of the calls has more than seven: one form fits all.
#define WRAP(name, boundary, waits, callsWhenStruck, callsOtherwise, failure)                                          \
    extern "C" Word __real_##name(Word, Word, Word, Word, Word, Word, Word);                                           \
    extern "C" Word __wrap_##name(Word a, Word b, Word c, Word d, Word e, Word f, Word g) {                            \
        if (!Strikes(Boundary::boundary, #name, waits))                                                                \
            return (callsOtherwise) ? Checked(#name, __real_##name(a, b, c, d, e, f, g)) : 0;                          \
        if (const int error = errno; callsWhenStruck) {                                                                \
            __real_##name(a, b, c, d, e, f, g);                                                                        \
            errno = error;                                                                                             \
        }                                                                                                              \
        return failure;                                                                                                \
    }
#define WAITING(name, failure) WRAP(name, Posix, true, false, true, failure)
#define SYNCING(name, failure) WRAP(name, Posix, true, false, false, failure)
#define POSIX(name, failure) WRAP(name, Posix, false, false, true, failure)
#define CLOSING(name, failure) WRAP(name, Posix, false, true, true, failure)
#define WIN32(name, failure) WRAP(name, Win32, false, std::string_view(#name) == "CloseHandle", true, failure)
#include "faults/calls.def"
