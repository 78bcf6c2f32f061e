#pragma once

#include <string>

#include "platform/operations.h"

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

// Moves a file, a folder with its contents or a link to a path that is free: by a rename, or else by a copy, which
// Platform::MoveByCopy tells about. A copy that is kept though its source could not be removed counts as moved.
using Platform::CopyOfWhatStays;
MoveResult MoveFileOrFolder(const std::string& source, const std::string& destination, CopyOfWhatStays copyOfWhatStays);

} // namespace Vellox::FileNames
