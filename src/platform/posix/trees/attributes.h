#pragma once

#include <sys/stat.h>

#include "platform/posix/base/entry.h"

namespace Vellox::Posix {

// What a copy keeps of its source beside the contents, as far as the file system and the user's rights let. What cannot
// be kept is left out in silence, and never so that somebody gets a right to the copy that the source did not give.
enum class Keep {
    // Permission bits, access list, extended attributes and times. The copy is its maker's own, so a file has neither
    // the set-user-ID and set-group-ID bits nor capabilities.
    ForCopy,
    // All that, and owner, group, and, where these two could be kept, the special bits and capabilities.
    ForMove,
};

// An entry that is held open, with what the system said about it. An O_PATH descriptor will do.
struct OpenEntry {
    int descriptor;
    const struct stat& status;
};

// For a file, a folder or a FIFO. The copy is open as well, not as O_PATH, and was made for the user alone (0600,
// 0700). It has its contents already: to write a file or to fill a folder changes the times and takes special bits
// away.
void KeepAttributes(const OpenEntry& source, int copy, Keep keep);

// For a link, which has no rights of its own.
void KeepLinkAttributes(const struct stat& source, Entry copy, Keep keep);

} // namespace Vellox::Posix
