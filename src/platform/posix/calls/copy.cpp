#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/entry.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/trees/copy_file.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

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
    target.folder = OpenPlace(place.folder.c_str());
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

BOOL CopyFileW(const WCHAR* source, const WCHAR* destination, BOOL failIfExists) {
    const PosixPath from(source);
    const PosixPath to(destination);
    if (!from.IsValid() || !to.IsValid())
        return FALSE;
    struct stat status{};
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
        if (CopyRegularFile({file.Get(), status}, {target.folder.Get(), target.name.c_str()}, found, Keep::ForCopy))
            return TRUE;
        const bool hasCome = found != existing && ::GetLastError() == ERROR_FILE_EXISTS;
        if (!hasCome || ::lseek(file.Get(), 0, SEEK_SET) != 0)
            return FALSE;
    }
}
