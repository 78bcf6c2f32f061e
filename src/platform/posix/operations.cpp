#include "platform/operations.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/entry.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/handles.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/rename.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/trees/move_by_copy.h"
#include "platform/posix/trees/nesting.h"

namespace Vellox::Platform {
namespace {

using Posix::Descriptor;
using Posix::PosixPath;

} // namespace

// glibc makes the faccessat2 call of Linux 5.8 for these flags. A seccomp filter that is older than that call, as a
// container may still have one, refuses it with EPERM; that says nothing about the path, so lstat is asked instead.
bool HasAttributes(std::u16string_view path) {
    const PosixPath place(path);
    if (!place.IsValid())
        return false;
    if (::faccessat(AT_FDCWD, place.Text(), F_OK, AT_SYMLINK_NOFOLLOW | AT_EACCESS) == 0)
        return true;
    struct stat status;
    return (errno == EPERM && ::lstat(place.Text(), &status) == 0) || Posix::FailFromErrno();
}

bool OpensForReading(const WCHAR* path) {
    const PosixPath place(path);
    if (!place.IsValid())
        return false;
    const Descriptor file = Posix::Open(place.Text(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status;
    if (!file || ::fstat(file.Get(), &status) != 0)
        return Posix::FailFromErrno();
    if (S_ISDIR(status.st_mode))
        return Posix::Fail(ERROR_ACCESS_DENIED);
    return !Posix::IsReadingDenied(file.Get()) || Posix::Fail(ERROR_SHARING_VIOLATION);
}

int RenameWithoutReplacing(const char* oldPath, const char* newPath) {
    const PosixPath from(oldPath);
    const PosixPath to(newPath);
    if (!from.IsValid() || !to.IsValid())
        return -1;
    return Posix::RenameIntoFreeName(AT_FDCWD, from.Text(), AT_FDCWD, to.Text()) || Posix::FailFromErrno() ? 0 : -1;
}

bool MayWidenBytes() {
    return false;
}

int RunShellOperation(SHFILEOPSTRUCTW& operation) {
    return ::SHFileOperationW(&operation);
}

bool LiesInFolder(const WCHAR* path, const WCHAR* folder) {
    const PosixPath place(path);
    const PosixPath folderPlace(folder);
    if (!place.IsValid() || !folderPlace.IsValid())
        return false;
    const Descriptor opened = Posix::OpenPlace(folderPlace.Text());
    return opened && Posix::LiesInFolder(place.Text(), opened.Get());
}

MoveByCopyResult MoveByCopy(const WCHAR* source, const WCHAR* destination, CopyOfWhatStays copyOfWhatStays) {
    const PosixPath from(source);
    const PosixPath to(destination);
    if (!from.IsValid() || !to.IsValid())
        return MoveByCopyResult::Failed;
    return Posix::MoveByCopy(from.Text(), to.Text(), copyOfWhatStays);
}

// flock itself can wait, but not for a limited time without a signal, which is the host's. A file system without flock
// says so with another error than EWOULDBLOCK, such as EBADF on NFS, where an exclusive lock takes a descriptor that
// can write, and a folder has none.
HANDLE TakeTurn(const WCHAR* folder, DWORD milliseconds) {
    const PosixPath place(folder);
    if (!place.IsValid())
        return INVALID_HANDLE_VALUE;
    Descriptor turn = Posix::Open(place.Text(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!turn) {
        Posix::FailFromErrno();
        return INVALID_HANDLE_VALUE;
    }
    // So short that a waiting process also meets the moment between two turns of one that takes them in a row.
    constexpr auto betweenAttempts = std::chrono::microseconds(100);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (Posix::Retried([&] { return ::flock(turn.Get(), LOCK_EX | LOCK_NB); }) != 0) {
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= end) {
            Posix::FailFromErrno();
            return INVALID_HANDLE_VALUE;
        }
        std::this_thread::sleep_for(betweenAttempts);
    }
    return Posix::ToHandle(std::move(turn));
}

// A process that the host forked meanwhile has the same open folder, and would hold the turn until it closes that.
void EndTurn(HANDLE turn) {
    int descriptor = 0;
    if (!Posix::ToDescriptor(turn, descriptor))
        return;
    Posix::MayFail(::flock(descriptor, LOCK_UN));
    ::CloseHandle(turn);
}

} // namespace Vellox::Platform
