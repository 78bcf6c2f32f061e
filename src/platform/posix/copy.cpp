#include "platform/posix/copy.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdlib>

#include "platform/posix/descriptor.h"
#include "platform/posix/errors.h"
#include "platform/posix/handles.h"
#include "platform/posix/identity.h"
#include "platform/posix/paths.h"
#include "platform/posix/rename.h"
#include "platform/posix/sharing.h"
#include "platform/posix/tree.h"
#include "platform/win32.h"

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

// Opens without a wait, and without being refused because the user may only write.
Descriptor OpenForReplacing(const char* path) {
    const int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    Descriptor file = Open(path, O_RDWR | flags);
    if (!file && errno == EACCES)
        file = Open(path, O_WRONLY | flags);
    if (!file)
        FailFromErrno();
    return file;
}

Descriptor OpenSource(const PosixPath& path, struct stat& status) {
    Descriptor source = Open(path.Text(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (!source || ::fstat(source.Get(), &status) != 0) {
        FailFromErrno();
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        Fail(ERROR_ACCESS_DENIED);
        return {};
    }
    if (!TakeSharingLocks(source.Get(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE))
        return {};
    return source;
}

// Where a copy goes: the entry's own folder and name, behind any link, and the hold on what stands there.
struct Target {
    Descriptor folder;
    std::string name;
    Descriptor existing;
};

bool HoldExisting(const char* path, const struct stat& source, const struct stat& status, Target& target) {
    if (IsSameEntry(source, status))
        return Fail(ERROR_SHARING_VIOLATION);
    if (!S_ISREG(status.st_mode) || IsReadOnly(status))
        return Fail(ERROR_ACCESS_DENIED);
    target.existing = OpenForReplacing(path);
    return target.existing &&
           TakeSharingLocks(target.existing.Get(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
}

bool OpenTargetFolder(std::string_view path, Target& target) {
    Place place;
    if (!SplitLastComponent(path, place))
        return Fail(ERROR_ACCESS_DENIED);
    target.folder = Open(place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    target.name = place.name;
    return target.folder || FailFromErrno();
}

bool OpenTarget(const PosixPath& path, const struct stat& source, Existing existing, Target& target) {
    struct stat status;
    if (::lstat(path.Text(), &status) != 0)
        return path.View().back() == '/' ? Fail(ERROR_PATH_NOT_FOUND) : OpenTargetFolder(path.View(), target);
    if (existing == Existing::Refuse)
        return Fail(ERROR_FILE_EXISTS);
    char resolved[PATH_MAX];
    if (::stat(path.Text(), &status) != 0 || ::realpath(path.Text(), resolved) == nullptr)
        return FailFromErrno();
    return HoldExisting(resolved, source, status, target) && OpenTargetFolder(resolved, target);
}

} // namespace

std::string NextTemporaryName() {
    static std::atomic<unsigned> counter{0};
    static const std::string start = ".vellox-" + std::to_string(::getpid()) + "-";
    return start + std::to_string(counter++) + ".tmp";
}

TemporaryEntry::~TemporaryEntry() {
    if (!name_.empty())
        DeleteTreeEntry({folder_, name_.c_str()});
}

bool TemporaryEntry::Publish(const char* name, Existing existing) {
    const bool published = existing == Existing::Replace ? ::renameat(folder_, name_.c_str(), folder_, name) == 0
                                                         : RenameIntoFreeName(folder_, name_.c_str(), folder_, name);
    if (!published)
        return errno == EEXIST ? Fail(ERROR_FILE_EXISTS) : FailWritingFromErrno();
    name_.clear();
    return true;
}

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

using namespace Vellox::Posix;

BOOL CopyFileW(const WCHAR* source, const WCHAR* destination, BOOL failIfExists) {
    const PosixPath from(source);
    const PosixPath to(destination);
    if (!from.IsValid() || !to.IsValid())
        return FALSE;
    struct stat status;
    const Descriptor file = OpenSource(from, status);
    if (!file)
        return FALSE;
    const Existing existing = failIfExists != FALSE ? Existing::Refuse : Existing::Replace;
    while (true) {
        Target target;
        if (!OpenTarget(to, status, existing, target))
            return FALSE;
        // What comes meanwhile may be in use, and is looked at first.
        const Existing found = target.existing ? existing : Existing::Refuse;
        if (CopyRegularFile(file.Get(), status, target.folder.Get(), target.name.c_str(), found))
            return TRUE;
        const bool hasCome = found != existing && ::GetLastError() == ERROR_FILE_EXISTS;
        if (!hasCome || ::lseek(file.Get(), 0, SEEK_SET) != 0)
            return FALSE;
    }
}

// The call itself keeps to that here.
bool Vellox::Platform::CopyFileInOneStep(const WCHAR* source, const WCHAR* destination, bool failIfExists) {
    return ::CopyFileW(source, destination, static_cast<BOOL>(failIfExists)) != FALSE;
}
