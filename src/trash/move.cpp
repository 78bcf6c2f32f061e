#include "trash/move.h"

#include <string>

#include "filesystem/copying.h"
#include "filesystem/queries.h"
#include "frame/text.h"
#include "platform/guard.h"
#include "platform/operations.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

enum class ItemKind { File, Folder, Link };

ItemKind KindOf(const std::string& path) {
    if (IsLink(path))
        return ItemKind::Link;
    bool isDirectory = false;
    CheckPathIsDirectory(path, isDirectory);
    return isDirectory ? ItemKind::Folder : ItemKind::File;
}

// Knows an item by more than its path, as another process can put another one there at any time.
class HeldItem {
public:
    HeldItem(const WideString& path, DWORD shareMode)
        : path_(path), handle_(::CreateFileW(path.c_str(), GENERIC_READ, shareMode, nullptr, OPEN_EXISTING,
                                             FILE_FLAG_BACKUP_SEMANTICS, nullptr)),
          isKnown_(ReadState(size_, lastWrite_)) {}
    // Other moves that copy keep away from a claimed item.
    bool IsClaimed() const { return handle_ && Platform::ClaimForMove(handle_.Get()) && IsAt(path_); }
    bool IsAt(const WideString& path) const { return Platform::IsItemAt(path.c_str(), handle_.Get()); }
    bool DeleteFileAt(const WideString& path) const { return Platform::DeleteFileAt(path.c_str(), handle_.Get()); }
    // Not every program that writes can be kept out, but each leaves its time.
    bool IsAsOpened() const {
        LARGE_INTEGER size;
        FILETIME lastWrite;
        return isKnown_ && ReadState(size, lastWrite) && size.QuadPart == size_.QuadPart &&
               lastWrite.dwLowDateTime == lastWrite_.dwLowDateTime &&
               lastWrite.dwHighDateTime == lastWrite_.dwHighDateTime;
    }

private:
    bool ReadState(LARGE_INTEGER& size, FILETIME& lastWrite) const {
        return handle_ && ::GetFileSizeEx(handle_.Get(), &size) != FALSE &&
               ::GetFileTime(handle_.Get(), nullptr, nullptr, &lastWrite) != FALSE;
    }

    const WideString& path_;
    FileHandle handle_;
    LARGE_INTEGER size_ = {};
    FILETIME lastWrite_ = {};
    bool isKnown_;
};

// Nobody may write to a file, as what came in behind the copy would go with the source.
constexpr DWORD shareFile = FILE_SHARE_READ | FILE_SHARE_DELETE;
constexpr DWORD shareFolder = shareFile | FILE_SHARE_WRITE;

// Asked right after the call that could not take the path. Whoever had it may have gone on since.
bool WasTaken(const std::string& path) {
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS || IsTaken(path);
}

// Makes something beside the destination, under a name that no other process looks for. Gives its path, or the empty
// text if it could not be made.
template <typename Make> std::string MakeBeside(const std::string& destination, Make make) {
    const std::string stem = destination.substr(0, destination.find_last_of("\\/:") + 1) + ".vellox-move";
    constexpr int mostNumbers = 100'000;
    for (int number = 1; number < mostNumbers; ++number) {
        std::string path = stem + std::to_string(number);
        if (EqualsIgnoringCase(path, destination))
            continue;
        if (make(path))
            return path;
        if (!WasTaken(path))
            break;
    }
    return {};
}

MoveResult WhyNothingWasMade(const std::string& destination) {
    return WasTaken(destination) ? MoveResult::DestinationTaken : MoveResult::Failed;
}

// A name for what is whole; else, or if the name is taken, nothing is left of it.
MoveResult GiveName(bool isWhole, const std::string& copyPath, const std::string& destination) {
    if (isWhole && ::MoveFileW(WideArgument(copyPath).c_str(), WideArgument(destination).c_str()) != FALSE)
        return MoveResult::Moved;
    const MoveResult result = isWhole ? WhyNothingWasMade(destination) : MoveResult::Failed;
    DeleteFolderForGood(copyPath);
    return result;
}

// What is no longer the same was changed or went in part, and then the copy is all there is of it.
bool IsAllAtItsPlace(const WideString& from, const WideString& to) {
    return Platform::HoldSameTree(from.c_str(), to.c_str());
}

// A copy is whole and on the disk before it gets its name, as the source goes at once then. From its name on, other
// processes can move it on and put another item there, so it is known by its handle.
MoveResult MoveFolderByCopy(const std::string& source, const std::string& destination,
                            CopyOfWhatStays copyOfWhatStays) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    const HeldItem original(from, shareFolder);
    if (Platform::LiesInFolder(to.c_str(), from.c_str()) || !original.IsClaimed())
        return MoveResult::Failed;
    const std::string copyPath = MakeBeside(destination, CreateDirectoryA);
    const WideString made = Utf8ToWide(copyPath);
    const HeldItem copy(made, shareFolder);
    const bool isWhole =
        copy.IsClaimed() && CopyFolderContents(source, copyPath) && Platform::HoldSameTree(from.c_str(), made.c_str());
    Platform::CopyFolderAttributes(from.c_str(), made.c_str());
    const MoveResult result = GiveName(isWhole && Platform::BringToDisk(made.c_str()), copyPath, destination);
    if (result != MoveResult::Moved)
        return result;
    const bool isRemoved = original.IsAt(from) && Platform::RemoveCopiedTree(from.c_str(), to.c_str());
    if (isRemoved || copyOfWhatStays == CopyOfWhatStays::Keep || !IsAllAtItsPlace(from, to))
        return MoveResult::Moved;
    if (copy.IsAt(to))
        Platform::RemoveCopiedTree(to.c_str(), from.c_str());
    return MoveResult::Failed;
}

MoveResult MoveFileByCopy(const std::string& source, const std::string& destination, CopyOfWhatStays copyOfWhatStays) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    const HeldItem original(from, shareFile);
    if (!original.IsClaimed())
        return MoveResult::Failed;
    constexpr bool failIfExists = true;
    const std::string copyPath = MakeBeside(
        destination, [&](const std::string& path) { return CopyFileA(source, path, failIfExists, nullptr); });
    const WideString made = Utf8ToWide(copyPath);
    const bool isOnDisk = Platform::BringToDisk(made.c_str()); // which could not write to a held copy
    const HeldItem copy(made, shareFile);
    const bool isWhole = isOnDisk && copy.IsClaimed() && Platform::HoldSameTree(from.c_str(), made.c_str());
    const MoveResult result = GiveName(isWhole, copyPath, destination);
    if (result != MoveResult::Moved)
        return result;
    const bool isRemoved = original.IsAsOpened() && original.DeleteFileAt(from);
    if (isRemoved || !original.IsAt(from) || copyOfWhatStays == CopyOfWhatStays::Keep)
        return MoveResult::Moved;
    copy.DeleteFileAt(to);
    return MoveResult::Failed;
}

MoveResult MoveLinkByCopy(const std::string& source, const std::string& destination, CopyOfWhatStays copyOfWhatStays) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    if (!Platform::CopyLink(from.c_str(), to.c_str()))
        return WhyNothingWasMade(destination);
    if (Platform::RemoveCopiedLink(from.c_str(), to.c_str()) || copyOfWhatStays == CopyOfWhatStays::Keep ||
        !IsAllAtItsPlace(from, to))
        return MoveResult::Moved;
    Platform::RemoveCopiedLink(to.c_str(), from.c_str());
    return MoveResult::Failed;
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
    // What comes to this place from now on is another item.
    if (error == ERROR_FILE_NOT_FOUND && IsAscii(source))
        return MoveResult::Failed;
    // Other bytes mean one name to the rename and another to the copy.
    if (!IsValidUtf8(source) || !IsValidUtf8(destination))
        return MoveResult::Failed;
    return MoveResult::TakesCopy;
}

MoveResult MoveFileOrFolder(const std::string& source, const std::string& destination,
                            CopyOfWhatStays copyOfWhatStays) {
    const MoveResult result = RenameFileOrFolder(source, destination);
    if (result != MoveResult::TakesCopy)
        return result;
    switch (KindOf(source)) {
    case ItemKind::Folder: return MoveFolderByCopy(source, destination, copyOfWhatStays);
    case ItemKind::Link: return MoveLinkByCopy(source, destination, copyOfWhatStays);
    default: return MoveFileByCopy(source, destination, copyOfWhatStays);
    }
}

} // namespace Vellox::FileNames
