#include "platform/posix/base/errors.h"

namespace {
thread_local DWORD lastError = ERROR_SUCCESS;
} // namespace

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD error) {
    lastError = error;
}

namespace Vellox::Posix {

DWORD ErrorFromErrno(int error) {
    switch (error) {
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EISDIR: return ERROR_ACCESS_DENIED;
    case EBADF: return ERROR_INVALID_HANDLE;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case EXDEV: return ERROR_NOT_SAME_DEVICE;
    case EROFS: return ERROR_WRITE_PROTECT;
    case EIO: return ERROR_READ_FAULT;
    case ETXTBSY: return ERROR_SHARING_VIOLATION;
    case EAGAIN:
    case EDEADLK: return ERROR_LOCK_VIOLATION;
    case EOPNOTSUPP: return ERROR_NOT_SUPPORTED;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case ENOSPC:
    case EDQUOT: return ERROR_DISK_FULL;
    case ENOTEMPTY: return ERROR_DIR_NOT_EMPTY;
    case EBUSY: return ERROR_BUSY;
    case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
    case EFBIG: return ERROR_FILE_TOO_LARGE;
    case ELOOP: return ERROR_CANT_RESOLVE_FILENAME;
    default: return ERROR_GEN_FAILURE;
    }
}

bool Fail(DWORD error) {
    ::SetLastError(error);
    return false;
}

bool FailFromErrno() {
    return Fail(ErrorFromErrno(errno));
}

bool FailWritingFromErrno() {
    return errno == EIO ? Fail(ERROR_WRITE_FAULT) : FailFromErrno();
}

} // namespace Vellox::Posix
