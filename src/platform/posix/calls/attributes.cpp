#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>

#include "platform/posix/base/entry.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

bool IsFolderBehindLink(const char* path) {
    struct stat target;
    return ::stat(path, &target) == 0 && S_ISDIR(target.st_mode);
}

DWORD AttributesOf(const char* path, const struct stat& status) {
    DWORD attributes = 0;
    if (S_ISLNK(status.st_mode))
        attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    if (S_ISDIR(status.st_mode) || (S_ISLNK(status.st_mode) && IsFolderBehindLink(path)))
        attributes |= FILE_ATTRIBUTE_DIRECTORY;
    if (IsReadOnly(status))
        attributes |= FILE_ATTRIBUTE_READONLY;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

bool ReadStatus(const PosixPath& path, struct stat& status) {
    return path.IsValid() && (::lstat(path.Text(), &status) == 0 || FailFromErrno());
}

BOOL ReadAttributes(const PosixPath& path, void* data) {
    struct stat status;
    if (!ReadStatus(path, status))
        return FALSE;
    const auto size = static_cast<ULONGLONG>(status.st_size);
    WIN32_FILE_ATTRIBUTE_DATA& record = *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(data);
    record = {};
    record.dwFileAttributes = AttributesOf(path.Text(), status);
    record.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    record.nFileSizeLow = static_cast<DWORD>(size);
    return TRUE;
}

} // namespace

DWORD GetFileAttributesW(const WCHAR* path) {
    const PosixPath place(path);
    struct stat status;
    return ReadStatus(place, status) ? AttributesOf(place.Text(), status) : INVALID_FILE_ATTRIBUTES;
}

BOOL GetFileAttributesExA(const char* path, GET_FILEEX_INFO_LEVELS /*level*/, void* data) {
    return ReadAttributes(PosixPath(path), data);
}

BOOL CreateDirectoryW(const WCHAR* path, SECURITY_ATTRIBUTES* /*security*/) {
    const PosixPath place(path);
    return static_cast<BOOL>(place.IsValid() && (::mkdir(place.Text(), 0777) == 0 || FailFromErrno()));
}

BOOL GetDiskFreeSpaceExA(const char* folder, ULARGE_INTEGER* available, ULARGE_INTEGER* total, ULARGE_INTEGER* free) {
    const PosixPath place(folder);
    if (!place.IsValid())
        return FALSE;
    struct stat status;
    struct statvfs volume;
    if (::stat(place.Text(), &status) != 0 || Retried([&] { return ::statvfs(place.Text(), &volume); }) != 0)
        return static_cast<BOOL>(FailFromErrno());
    if (!S_ISDIR(status.st_mode))
        return static_cast<BOOL>(Fail(ERROR_DIRECTORY));
    const auto bytes = [&](ULONGLONG blocks) {
        ULONGLONG product = 0;
        return __builtin_mul_overflow(blocks, volume.f_frsize, &product) ? ~ULONGLONG{0} : product;
    };
    available->QuadPart = bytes(volume.f_bavail);
    if (total != nullptr)
        total->QuadPart = bytes(volume.f_blocks);
    if (free != nullptr)
        free->QuadPart = bytes(volume.f_bfree);
    return TRUE;
}

BOOL SetCurrentDirectoryA(const char* path) {
    const PosixPath place(path);
    return static_cast<BOOL>(place.IsValid() && (::chdir(place.Text()) == 0 || FailFromErrno()));
}
