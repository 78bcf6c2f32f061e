#include "platform/posix/base/entry.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>

namespace Vellox::Posix {

bool IsAt(Entry entry, const struct stat& wanted) {
    struct stat status;
    return ::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && IsSameEntry(status, wanted);
}

// The number of the process is asked for each time: after a fork it is another one. And the library keeps no text,
// which would be gone before the last of a host's exit handlers has called.
std::string NextTemporaryName() {
    static std::atomic<unsigned> counter{0};
    return ".vellox-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".tmp";
}

} // namespace Vellox::Posix
