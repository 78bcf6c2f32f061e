#include "platform/posix/base/sharing.h"

#include <fcntl.h>

#include "platform/posix/base/errors.h"

namespace Vellox::Posix {
namespace {

// A user of a file makes up to four statements about it: that he reads it, that he writes it, that nobody else may read
// it, that nobody else may write it. For each there is one byte of the file, far beyond any content. Whoever makes the
// statement holds a read lock on the byte (F_OFD_SETLK), as many users can hold at once. Whoever would contradict it
// asks whether a write lock on the byte would meet a lock of another open file (F_OFD_GETLK), and so takes none
// himself.
enum SharingByte : off_t {
    ReadsFile = off_t{1} << 62,
    WritesFile,
    DeniesReading,
    DeniesWriting,
};

struct Right {
    DWORD access;
    DWORD share;
    SharingByte used;
    SharingByte denied;
};

constexpr Right rights[] = {
    {GENERIC_READ, FILE_SHARE_READ, ReadsFile, DeniesReading},
    {GENERIC_WRITE, FILE_SHARE_WRITE, WritesFile, DeniesWriting},
};

struct flock LockOn(SharingByte byte, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

// fcntl refuses the read lock on a file that is open to be written only (EBADF), and where the file system or the
// system has no such locks (EINVAL, ENOLCK, EOPNOTSUPP). The file is then used without the statement.
void State(int descriptor, SharingByte byte) {
    struct flock lock = LockOn(byte, F_RDLCK);
    MayFail(Retried([&] { return ::fcntl(descriptor, F_OFD_SETLK, &lock); }));
}

bool IsStatedByOthers(int descriptor, SharingByte byte) {
    struct flock lock = LockOn(byte, F_WRLCK);
    return ::fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

} // namespace

bool TakeSharingLocks(int descriptor, DWORD access, DWORD shareMode) {
    for (const Right& right : rights) {
        if ((access & right.access) != 0)
            State(descriptor, right.used);
        if ((shareMode & right.share) == 0)
            State(descriptor, right.denied);
    }
    for (const Right& right : rights) {
        if ((access & right.access) != 0 && IsStatedByOthers(descriptor, right.denied))
            return Fail(ERROR_SHARING_VIOLATION);
        if ((shareMode & right.share) == 0 && IsStatedByOthers(descriptor, right.used))
            return Fail(ERROR_SHARING_VIOLATION);
    }
    return true;
}

bool IsReadingDenied(int descriptor) {
    return IsStatedByOthers(descriptor, DeniesReading);
}

} // namespace Vellox::Posix
