#pragma once

#include <sys/stat.h>

namespace Vellox::Posix {

// Gives an open folder the permissions and times of another, as far as the file system can keep them.
void KeepFolderAttributes(int folder, const struct stat& status);

} // namespace Vellox::Posix
