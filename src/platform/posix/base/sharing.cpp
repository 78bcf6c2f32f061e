#include "platform/posix/base/sharing.h"

#include <fcntl.h>

#include "platform/posix/base/errors.h"

namespace Vellox::Posix {
namespace {

// One byte for each statement about a file, far beyond any content. Whoever makes the statement holds a read lock
// on its byte, so that many can make it; whoever it would exclude asks whether someone holds one.
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
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

// Without read access, or without locks in the file system, a statement cannot be made; that is no reason to fail.
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

bool IsBeingWritten(int descriptor) {
    return IsStatedByOthers(descriptor, WritesFile);
}

} // namespace Vellox::Posix
