#include "platform/posix/trees/walk.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace Vellox::Posix {
namespace {

// Ordinary trees are not deeper, and are walked without opening a folder twice.
constexpr std::size_t mostOpen = 8;

} // namespace

// getdents64 and not readdir, which would take a descriptor for itself and ask for the folder's status and flags.
bool Names::Read(int folder) {
    constexpr std::size_t bufferSize = std::size_t{32} * 1024;
    alignas(dirent64) char buffer[bufferSize];
    bytes_.clear();
    next_ = 0;
    count_ = 0;
    while (true) {
        const ssize_t count = Retried([&] { return ::getdents64(folder, buffer, sizeof buffer); });
        if (count <= 0)
            return count == 0;
        for (ssize_t at = 0; at < count;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
            at += entry->d_reclen;
            if (IsDotName(entry->d_name))
                continue;
            bytes_ += static_cast<char>(entry->d_type);
            bytes_.append(entry->d_name).push_back('\0');
            ++count_;
        }
    }
}

bool Names::Next(Name& name) {
    if (next_ == bytes_.size())
        return false;
    name.kind = static_cast<unsigned char>(bytes_[next_]);
    name.text = &bytes_[next_ + 1];
    next_ = bytes_.find('\0', next_ + 1) + 1;
    return true;
}

bool WayDown::GoDown(Descriptor folder) {
    if (levels_.size() >= mostOpen && !CloseFarthest())
        return false;
    levels_.push_back({std::move(folder)});
    return true;
}

bool WayDown::CloseFarthest() {
    Level& level = levels_[levels_.size() - mostOpen];
    struct stat status;
    if (!level.folder)
        return true; // it is further down than the work was before
    if (::fstat(level.folder.Get(), &status) != 0)
        return false;
    level.device = status.st_dev;
    level.number = status.st_ino;
    level.folder = Descriptor();
    return true;
}

bool WayDown::GoUp(Descriptor& left) {
    left = std::move(levels_.back().folder);
    levels_.pop_back();
    return levels_.empty() || levels_.back().folder || OpenAgain(levels_.back(), left.Get());
}

bool WayDown::OpenAgain(Level& level, int below) const {
    level.folder = OpenAt(below, "..", flags_ | O_DIRECTORY | O_CLOEXEC);
    struct stat status;
    if (!level.folder || ::fstat(level.folder.Get(), &status) != 0)
        return false;
    if (status.st_dev == level.device && status.st_ino == level.number)
        return true;
    level.folder = Descriptor();
    errno = ESTALE;
    return false;
}

} // namespace Vellox::Posix
