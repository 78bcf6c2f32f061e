#include "platform/posix/trees/copy_file.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"

namespace Vellox::Posix {
namespace {

constexpr std::size_t kernelCopySize = std::size_t{1} << 30;
constexpr off_t unknownSize = -1;
constexpr std::size_t bufferSize = std::size_t{64} * 1024;

bool WriteAll(int file, const char* data, std::size_t count) {
    while (count > 0) {
        const ssize_t written = Retried([&] { return ::write(file, data, count); });
        if (written < 0)
            return FailWritingFromErrno();
        data += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

// A piece that does not fill the buffer is the last one, if with it all is there that the file is said to hold.
bool CopyByReading(int source, int destination, off_t expected) {
    char buffer[bufferSize];
    off_t done = 0;
    while (true) {
        const ssize_t read = Retried([&] { return ::read(source, buffer, sizeof buffer); });
        if (read < 0)
            return FailFromErrno();
        if (read == 0)
            return true;
        if (!WriteAll(destination, buffer, static_cast<std::size_t>(read)))
            return false;
        done += read;
        if (done == expected && static_cast<std::size_t>(read) < sizeof buffer)
            return true;
    }
}

// The kernel may stop early, at the end of the file or for a reason of its own; reading goes on from there, and
// finds out which it was. A small file costs less without it.
bool CopyContents(int source, int destination, off_t size) {
    if (size < static_cast<off_t>(bufferSize))
        return CopyByReading(source, destination, size);
    while (Retried([&] { return ::copy_file_range(source, nullptr, destination, nullptr, kernelCopySize, 0); }) > 0) {
    }
    return CopyByReading(source, destination, unknownSize);
}

// A file system that cannot keep them is no reason to have no copy.
void KeepFileAttributes(int file, const struct stat& status) {
    const struct timespec times[] = {status.st_atim, status.st_mtim};
    MayFail(::fchmod(file, status.st_mode & 0777));
    MayFail(::futimens(file, times));
}

bool FillCopy(int source, const struct stat& status, int copy) {
    if (!CopyContents(source, copy, status.st_size))
        return false;
    KeepFileAttributes(copy, status);
    return true;
}

Descriptor CreateFileAt(int folder, const char* name) {
    return OpenAt(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
}

bool CopyUnderName(int source, const struct stat& status, int folder, const char* name) {
    const Descriptor copy = CreateFileAt(folder, name);
    if (!copy)
        return FailWritingFromErrno();
    if (FillCopy(source, status, copy.Get()))
        return true;
    ::unlinkat(folder, name, 0);
    return false;
}

} // namespace

bool CopyRegularFile(int source, const struct stat& status, int folder, const char* name, Existing existing) {
    if (existing == Existing::Impossible)
        return CopyUnderName(source, status, folder, name);
    TemporaryEntry entry(folder);
    const Descriptor copy(
        entry.Create([](int place, const char* free) { return CreateFileAt(place, free).Release(); }));
    if (!copy)
        return FailWritingFromErrno();
    return FillCopy(source, status, copy.Get()) && entry.Publish(name, existing);
}

} // namespace Vellox::Posix
