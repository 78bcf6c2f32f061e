#include "trash/move.h"

#include <string>

#include "filesystem/queries.h"
#include "frame/text.h"
#include "platform/operations.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

// Whether an item is a folder is asked on the narrow route, to which one with a name beyond its code page is none. Such
// a folder stays where it is.
bool IsHiddenFolder(const std::string& path) {
    if (IsAscii(path))
        return false;
    const DWORD attributes = ::GetFileAttributesW(WideArgument(path).c_str());
    constexpr DWORD kinds = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & kinds) != FILE_ATTRIBUTE_DIRECTORY)
        return false;
    bool isDirectory = false;
    CheckPathIsDirectory(path, isDirectory);
    return !isDirectory;
}

} // namespace

bool IsLink(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesW(WideArgument(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool IsTaken(const std::string& path) {
    bool isDirectory = false;
    return CheckFolderExists(path) || (!IsAscii(path) && CheckPathIsDirectory(path, isDirectory));
}

MoveResult RenameFileOrFolder(const std::string& source, const std::string& destination) {
    if (Platform::RenameWithoutReplacing(source.c_str(), destination.c_str()) == 0)
        return MoveResult::Moved;
    const DWORD error = ::GetLastError();
    if (IsTaken(destination))
        return MoveResult::DestinationTaken;
    // Nothing stood at the source when it was to be renamed. If another program has put something there since then,
    // that is not what was to be moved. (A path that is not ASCII can name another entry to the copy than to the
    // rename.)
    if (error == ERROR_FILE_NOT_FOUND && IsAscii(source))
        return MoveResult::Failed;
    if (error == ERROR_FILENAME_EXCED_RANGE)
        return MoveResult::Failed;
    // The rename takes the bytes as they are, and the copy takes them for UTF-8. Where they are not UTF-8, the copy
    // would reach another entry, if any.
    if (!IsValidUtf8(source) || !IsValidUtf8(destination))
        return MoveResult::Failed;
    return MoveResult::TakesCopy;
}

MoveResult MoveFileOrFolder(const std::string& source, const std::string& destination,
                            CopyOfWhatStays copyOfWhatStays) {
    const MoveResult result = RenameFileOrFolder(source, destination);
    if (result != MoveResult::TakesCopy)
        return result;
    if (IsHiddenFolder(source))
        return MoveResult::Failed;
    switch (Platform::MoveByCopy(WideArgument(source).c_str(), WideArgument(destination).c_str(), copyOfWhatStays)) {
    case Platform::MoveByCopyResult::Done: return MoveResult::Moved;
    case Platform::MoveByCopyResult::NameTaken: return MoveResult::DestinationTaken;
    default: return MoveResult::Failed;
    }
}

} // namespace Vellox::FileNames
