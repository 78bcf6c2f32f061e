#pragma once

#include <sys/stat.h>

#include "platform/posix/base/entry.h"

namespace Vellox::Posix {

// True if two entries, neither of them a folder, are of one kind and hold the same. Files of one size and one
// modification time count as the same; where only the times differ, as not every file system can keep them, the bytes
// decide.
bool HoldSameData(Entry first, const struct stat& firstStatus, Entry second, const struct stat& secondStatus);

// The same for entries of any kind with all they hold; false as well while another user of this library has a file of
// the first open to write to it.
bool HoldSameTree(Entry first, Entry second);

} // namespace Vellox::Posix
