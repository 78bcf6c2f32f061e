#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/posix/base/entry.h"
#include "platform/posix/trees/temporary_entry.h"

namespace Vellox::Posix {

// Copies what the source folder holds into the destination folder, which is made if it is missing. Goes on after a
// failure with what can be copied, and then gives false with the last error set.
bool CopyTreeContents(const std::string& source, const std::string& destination);

// Makes a link to the same target.
bool CopyLink(Entry from, const struct stat& status, Entry to, Existing existing);

} // namespace Vellox::Posix
