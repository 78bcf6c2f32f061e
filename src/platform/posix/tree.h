#pragma once

#include <string>

// Operations on folders with all they hold, relative to open folders, so that a folder that is swapped for a link on
// the way leads nowhere else. Links are handled as links. All give false, with the last error set, if they could not
// do the whole job.

namespace Vellox::Posix {

// Deeper trees are refused instead of running out of stack.
inline constexpr int deepestTree = 1000;

// Copies what the source folder holds into the destination folder, which is made if it is missing. Goes on after a
// failure with what can be copied.
bool CopyTreeContents(const std::string& source, const std::string& destination);

// Deletes an entry of any kind, a folder with its contents. Goes on after a failure with what can be deleted.
bool DeleteTree(const std::string& path);

} // namespace Vellox::Posix
