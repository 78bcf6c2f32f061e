#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/entry.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/handles.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/base/transfer.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

// With O_NONBLOCK, open does not wait for a writer at the other end of a FIFO, nor for a program that has taken a lease
// on the file (F_SETLEASE of fcntl) to give it up; in that case it fails with EWOULDBLOCK. O_RDWR also for writing
// alone, as the sharing locks are read locks and need it.
int OpenFlags(DWORD access, DWORD disposition) {
    const int mode = (access & GENERIC_WRITE) != 0 ? O_RDWR : O_RDONLY;
    return mode | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (disposition == CREATE_ALWAYS ? O_CREAT : 0);
}

// A FIFO opens to be read alone, as what is written to it is in no file afterwards. A file that nobody has permission
// to write is a read-only file of Win32, which nobody opens to write; open would let root do it.
bool MayBeOpened(const struct stat& status, DWORD access) {
    if (S_ISDIR(status.st_mode))
        return false;
    return (access & GENERIC_WRITE) == 0 || (!S_ISFIFO(status.st_mode) && !IsReadOnly(status));
}

// CREATE_ALWAYS empties the file here, by ftruncate, and not by O_TRUNC in open: at that moment nobody had been asked
// yet whether he shares the file. It is emptied also if its size was 0 in the fstat before, as another user may have
// written to it between that call and the sharing locks.
bool EmptyFile(int descriptor, const struct stat& status) {
    if (!S_ISREG(status.st_mode))
        return true;
    return Retried([&] { return ::ftruncate(descriptor, 0); }) == 0 || FailFromErrno();
}

Descriptor OpenFile(const PosixPath& path, DWORD access, DWORD shareMode, DWORD disposition) {
    Descriptor file = Open(path.Text(), OpenFlags(access, disposition), 0666);
    struct stat status;
    if (!file || ::fstat(file.Get(), &status) != 0) {
        FailFromErrno();
        return {};
    }
    if (!MayBeOpened(status, access)) {
        Fail(ERROR_ACCESS_DENIED);
        return {};
    }
    if (!TakeSharingLocks(file.Get(), access, shareMode))
        return {};
    if (disposition == CREATE_ALWAYS && !EmptyFile(file.Get(), status))
        return {};
    return file;
}

} // namespace

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD shareMode, SECURITY_ATTRIBUTES* /*security*/,
                   DWORD disposition, DWORD /*flags*/, HANDLE /*templateFile*/) {
    if (disposition != OPEN_EXISTING && disposition != CREATE_ALWAYS) {
        Fail(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    const PosixPath place(path);
    if (!place.IsValid())
        return INVALID_HANDLE_VALUE;
    Descriptor file = OpenFile(place, access, shareMode, disposition);
    return file ? ToHandle(std::move(file)) : INVALID_HANDLE_VALUE;
}

BOOL ReadFile(HANDLE file, void* data, DWORD count, DWORD* done, OVERLAPPED* /*overlapped*/) {
    *done = 0;
    int descriptor = 0;
    if (!ToDescriptor(file, descriptor))
        return FALSE;
    std::size_t read = 0;
    const bool isRead = ReadAll(descriptor, data, count, read) || FailFromErrno();
    *done = static_cast<DWORD>(read);
    return static_cast<BOOL>(isRead);
}

BOOL WriteFile(HANDLE file, const void* data, DWORD count, DWORD* done, OVERLAPPED* /*overlapped*/) {
    *done = 0;
    int descriptor = 0;
    if (!ToDescriptor(file, descriptor))
        return FALSE;
    std::size_t written = 0;
    const bool isWritten = WriteAll(descriptor, data, count, written) || FailWritingFromErrno();
    *done = static_cast<DWORD>(written);
    return static_cast<BOOL>(isWritten);
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method) {
    int descriptor = 0;
    if (!ToDescriptor(file, descriptor))
        return FALSE;
    const int origins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (method > FILE_END)
        return static_cast<BOOL>(Fail(ERROR_INVALID_PARAMETER));
    const off_t result = ::lseek(descriptor, distance.QuadPart, origins[method]);
    if (result < 0)
        return static_cast<BOOL>(errno == EINVAL ? Fail(ERROR_NEGATIVE_SEEK) : FailFromErrno());
    if (position != nullptr)
        position->QuadPart = result;
    return TRUE;
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) {
    int descriptor = 0;
    if (!ToDescriptor(file, descriptor))
        return FALSE;
    struct stat status;
    if (::fstat(descriptor, &status) != 0)
        return static_cast<BOOL>(FailFromErrno());
    size->QuadPart = status.st_size;
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE file) {
    int descriptor = 0;
    if (!ToDescriptor(file, descriptor))
        return FALSE;
    return static_cast<BOOL>(Retried([&] { return ::fsync(descriptor); }) == 0 || FailWritingFromErrno());
}

// Linux frees the descriptor also where close fails, with EINTR too. A second close could hit a file that another
// thread has opened meanwhile under the same number.
BOOL CloseHandle(HANDLE handle) {
    int descriptor = 0;
    if (!ToDescriptor(handle, descriptor))
        return FALSE;
    return static_cast<BOOL>(::close(descriptor) == 0 || errno == EINTR || FailFromErrno());
}

BOOL DeleteFileW(const WCHAR* path) {
    const PosixPath place(path);
    if (!place.IsValid())
        return FALSE;
    return static_cast<BOOL>(::unlink(place.Text()) == 0 || FailFromErrno());
}
