#pragma once

#include <string>

namespace Vellox::FileNames {

enum class MoveResult {
    Moved,
    DestinationTaken, // something stands there; nothing was touched
    Failed,           // the source is whole at its old place
    TakesCopy,        // the same, and a copy may still move it
};

bool IsLink(const std::string& path);

// True if any entry stands at the path, read on either of the routes by which a move reaches it.
bool IsTaken(const std::string& path);

// Moves it by a rename alone, which takes no time.
MoveResult RenameFileOrFolder(const std::string& source, const std::string& destination);

// Moves a file, a folder with its contents or a link to a path that is free. What cannot be renamed is copied, the copy
// is compared with the source, and only then is the source removed. A folder is never moved into itself.
//
// A source that cannot be removed stays where it is. Its copy is then taken back, or kept if that is wanted, which
// counts as moved.
enum class CopyOfWhatStays { TakeBack, Keep };
MoveResult MoveFileOrFolder(const std::string& source, const std::string& destination, CopyOfWhatStays copyOfWhatStays);

} // namespace Vellox::FileNames
