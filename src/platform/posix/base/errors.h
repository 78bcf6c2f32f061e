#pragma once

#include <cerrno>

#include "platform/posix/win32.h"

namespace Vellox::Posix {

// What the Win32 code of an errno value is, by one table.
DWORD ErrorFromErrno(int error);

// Sets the last error and gives false, so that a failing call can end in one line.
bool Fail(DWORD error);
bool FailFromErrno();

// The same for a call that writes: a fault of the disk is then a fault in writing.
bool FailWritingFromErrno();

// For a call whose failure is no matter, such as fchown of a copy by a user who may not: takes the result, which the
// compiler would otherwise warn of as not looked at.
inline void MayFail(int /*result*/) {}

// Around a clean-up: what failed before it is still told after it.
class KeptErrors {
public:
    KeptErrors() : last_(::GetLastError()), number_(errno) {}
    KeptErrors(const KeptErrors&) = delete;
    KeptErrors& operator=(const KeptErrors&) = delete;
    ~KeptErrors() {
        ::SetLastError(last_);
        errno = number_;
    }

private:
    DWORD last_;
    int number_;
};

// A system call that a signal interrupts is made again.
template <typename Call> auto Retried(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

} // namespace Vellox::Posix
