#include "platform/posix/trees/copy_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/transfer.h"

namespace Vellox::Posix {
namespace {

constexpr off_t bufferSize = off_t{64} * 1024;
constexpr off_t toTheEnd = std::numeric_limits<off_t>::max();

enum class Zeros { Write, Skip };

// What is left of a stretch between the two files' positions, which both calls for copying move on.
struct Stretch {
    int source;
    int copy;
    off_t length;
    Zeros zeros = Zeros::Write;
};

// Clones the blocks where the file system can. The kernel may stop early, at the end of the file or for a reason of its
// own, such as two file systems; whoever reads on from there finds out which it was.
void CopyInKernel(Stretch& stretch) {
    constexpr off_t mostAtOnce = off_t{1} << 30;
    while (stretch.length > 0) {
        const auto count = static_cast<std::size_t>(std::min(stretch.length, mostAtOnce));
        const ssize_t copied =
            Retried([&] { return ::copy_file_range(stretch.source, nullptr, stretch.copy, nullptr, count, 0); });
        if (copied <= 0)
            return;
        stretch.length -= copied;
    }
}

bool IsZero(const char* data, std::size_t count) {
    return count > 0 && data[0] == 0 && std::memcmp(data, data + 1, count - 1) == 0;
}

bool WritePiece(const Stretch& stretch, const char* data, std::size_t count) {
    if (stretch.zeros == Zeros::Skip && IsZero(data, count))
        return ::lseek(stretch.copy, static_cast<off_t>(count), SEEK_CUR) >= 0 || FailFromErrno();
    std::size_t written = 0;
    return WriteAll(stretch.copy, data, count, written) || FailWritingFromErrno();
}

bool CopyByReading(Stretch stretch) {
    char buffer[bufferSize];
    while (stretch.length > 0) {
        const auto count = static_cast<std::size_t>(std::min(stretch.length, bufferSize));
        std::size_t read = 0;
        if (!ReadAll(stretch.source, buffer, count, read))
            return FailFromErrno();
        if (!WritePiece(stretch, buffer, read))
            return false;
        if (read < count)
            return true;
        stretch.length -= static_cast<off_t>(read);
    }
    return true;
}

bool CopyStretch(Stretch stretch) {
    CopyInKernel(stretch);
    return CopyByReading(stretch);
}

// One read that ends where the file is said to end is enough. Some files, as in /proc, hold more than they are said to.
bool CopySmallFile(const OpenEntry& source, int copy) {
    char buffer[bufferSize];
    const ssize_t read = Retried([&] { return ::read(source.descriptor, buffer, sizeof buffer); });
    if (read < 0)
        return FailFromErrno();
    if (!WritePiece({source.descriptor, copy, read}, buffer, static_cast<std::size_t>(read)))
        return false;
    return read == source.status.st_size || CopyByReading({source.descriptor, copy, toTheEnd});
}

// Nothing is written behind the last hole, so the size has to be told.
bool EndInHole(int source, int copy) {
    const off_t size = ::lseek(source, 0, SEEK_END);
    if (size < 0)
        return FailFromErrno();
    return Retried([&] { return ::ftruncate(copy, size); }) == 0 || FailWritingFromErrno();
}

bool CopyBetweenHoles(int source, int copy) {
    off_t hole = 0;
    while (true) {
        const off_t data = ::lseek(source, hole, SEEK_DATA);
        if (data < 0 && errno == ENXIO)
            return EndInHole(source, copy);
        if (data < 0)
            return CopyStretch({source, copy, toTheEnd});
        hole = ::lseek(source, data, SEEK_HOLE);
        if (hole < 0 || ::lseek(source, data, SEEK_SET) < 0 || ::lseek(copy, data, SEEK_SET) < 0)
            return FailFromErrno();
        // FUSE tells a file without holes for those of a program that does not know them (ntfs-3g, bindfs).
        if (!CopyStretch({source, copy, hole - data, Zeros::Skip}))
            return false;
    }
}

// A file without holes takes up at least its size. One that is smaller on the disk has holes, or is compressed.
bool HasHoles(const struct stat& status) {
    constexpr off_t blockSize = 512; // of st_blocks, on every file system
    return status.st_blocks < status.st_size / blockSize;
}

bool CopyContents(const OpenEntry& source, int copy) {
    if (HasHoles(source.status))
        return CopyBetweenHoles(source.descriptor, copy);
    if (source.status.st_size < bufferSize)
        return CopySmallFile(source, copy);
    return CopyStretch({source.descriptor, copy, toTheEnd});
}

Descriptor CreateFileAt(int folder, const char* name) {
    return OpenAt(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
}

bool CopyUnderName(const OpenEntry& source, Entry entry, Keep keep) {
    const Descriptor copy = CreateFileAt(entry.folder, entry.name);
    if (!copy)
        return FailWritingFromErrno();
    if (FillCopy(source, copy.Get(), keep))
        return true;
    const KeptErrors errors;
    ::unlinkat(entry.folder, entry.name, 0);
    return false;
}

} // namespace

bool FillCopy(const OpenEntry& source, int copy, Keep keep) {
    if (!CopyContents(source, copy))
        return false;
    KeepAttributes(source, copy, keep);
    return true;
}

bool CopyRegularFile(const OpenEntry& source, Entry entry, Existing existing, Keep keep) {
    if (existing == Existing::Impossible)
        return CopyUnderName(source, entry, keep);
    TemporaryEntry prepared(entry.folder);
    const Descriptor copy(
        prepared.Create([](int folder, const char* name) { return CreateFileAt(folder, name).Release(); }));
    if (!copy)
        return FailWritingFromErrno();
    return FillCopy(source, copy.Get(), keep) && prepared.Publish(entry.name, existing);
}

} // namespace Vellox::Posix
