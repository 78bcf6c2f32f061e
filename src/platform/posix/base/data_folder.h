#pragma once

#include <string>

namespace Vellox::Posix {

// The folder for the user's application data: $XDG_DATA_HOME, or .local/share in the home folder. Empty if the system
// tells neither.
std::string DataFolder();

// Makes the missing levels of an absolute path, for the user alone. False, with errno set, if that fails.
bool CreatePrivateFolders(const std::string& path);

} // namespace Vellox::Posix
