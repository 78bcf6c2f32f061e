#include "platform/posix/trees/copied.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include "platform/posix/base/errors.h"
#include "platform/posix/base/transfer.h"
#include "platform/posix/trees/copy_file.h"

namespace Vellox::Posix {
namespace {

bool IsSameTime(const struct timespec& one, const struct timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

// File systems tell times in steps of up to two seconds (FAT, exFAT), so a write within that time after another one can
// leave the file with the same time.
bool ShowsLaterWrites(const struct stat& status) {
    constexpr std::time_t longestStep = 2;
    struct timespec now = {};
    const bool isKnown = ::clock_gettime(CLOCK_REALTIME, &now) == 0;
    return isKnown && std::max(status.st_mtim.tv_sec, status.st_ctim.tv_sec) + longestStep < now.tv_sec;
}

bool ReadPiece(int file, char* buffer, std::size_t size) {
    std::size_t done = 0;
    return ReadAll(file, buffer, size, done) && done == size;
}

} // namespace

FileState StateOf(const struct stat& status) {
    return {IdentityOf(status), status.st_size, status.st_mtim, status.st_ctim};
}

bool IsInState(const struct stat& status, const FileState& state) {
    return HasStateOfContents(status, state) && IsSameTime(status.st_ctim, state.changed);
}

bool HasStateOfContents(const struct stat& status, const FileState& state) {
    return IdentityOf(status) == state.identity && status.st_size == state.size &&
           IsSameTime(status.st_mtim, state.modified);
}

const CopiedFile* CopiedFiles::Find(const struct stat& source) const {
    const auto found = files_.find(IdentityOf(source));
    return found == files_.end() ? nullptr : &found->second;
}

std::unordered_map<Identity, FileState, HashOfIdentity> CopiedFiles::Copies() const {
    std::unordered_map<Identity, FileState, HashOfIdentity> copies;
    for (const auto& [identity, file] : files_)
        copies[file.copy.identity] = file.copy;
    return copies;
}

bool CopyForMove(const OpenEntry& source, int copy, CopiedFile& copied) {
    const bool showedWrites = ShowsLaterWrites(source.status);
    if (!FillCopy(source, copy, Keep::ForMove))
        return false;
    struct stat now;
    struct stat copyStatus;
    if (::fstat(source.descriptor, &now) != 0 || ::fstat(copy, &copyStatus) != 0)
        return FailFromErrno();
    copied = {StateOf(now), StateOf(copyStatus), true};
    if (showedWrites && IsInState(source.status, copied.source))
        return true;
    // Whether someone wrote while it was copied, the times cannot tell.
    copied.showsWrites = ShowsLaterWrites(now);
    return (now.st_size == copyStatus.st_size && HoldSameBytes(source.descriptor, copy, now.st_size) &&
            ::fstat(source.descriptor, &now) == 0 && IsInState(now, copied.source)) ||
           Fail(ERROR_SHARING_VIOLATION);
}

bool HoldSameBytes(int first, int second, off_t size) {
    constexpr off_t largestPiece = off_t{512} * 1024;
    if (::lseek(first, 0, SEEK_SET) != 0 || ::lseek(second, 0, SEEK_SET) != 0)
        return false;
    std::vector<char> firstBytes(static_cast<std::size_t>(std::min(size, largestPiece)));
    std::vector<char> secondBytes(firstBytes.size());
    for (off_t left = size; left > 0; left -= std::min(left, largestPiece)) {
        const auto count = static_cast<std::size_t>(std::min(left, largestPiece));
        if (!ReadPiece(first, firstBytes.data(), count) || !ReadPiece(second, secondBytes.data(), count) ||
            std::memcmp(firstBytes.data(), secondBytes.data(), count) != 0)
            return false;
    }
    return true;
}

bool HoldSameTarget(Entry first, Entry second) {
    char firstTarget[PATH_MAX];
    char secondTarget[PATH_MAX];
    const ssize_t firstLength = ::readlinkat(first.folder, first.name, firstTarget, sizeof firstTarget);
    const ssize_t secondLength = ::readlinkat(second.folder, second.name, secondTarget, sizeof secondTarget);
    return firstLength >= 0 && firstLength == secondLength &&
           std::equal(firstTarget, firstTarget + firstLength, secondTarget);
}

} // namespace Vellox::Posix
