#include "trash/move.h"

#include <string>

#include "filesystem/copying.h"
#include "filesystem/queries.h"
#include "frame/text.h"
#include "platform/win32.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

enum class ItemKind { File, Folder, Link };

ItemKind KindOf(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesW(WideArgument(path).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
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
                                             FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    HeldItem(const HeldItem&) = delete;
    HeldItem& operator=(const HeldItem&) = delete;
    ~HeldItem() {
        if (IsOpen())
            ::CloseHandle(handle_);
    }
    // Other moves that copy keep away from a claimed item.
    bool IsClaimed() const { return IsOpen() && Platform::ClaimForMove(handle_) && IsAt(path_); }
    bool IsAt(const WideString& path) const { return Platform::IsItemAt(path.c_str(), handle_); }
    bool DeleteFileAt(const WideString& path) const { return Platform::DeleteFileAt(path.c_str(), handle_); }

private:
    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

    const WideString& path_;
    HANDLE handle_;
};

// Nobody may write to a file, as what came in behind the copy would go with the source.
constexpr DWORD shareFile = FILE_SHARE_READ | FILE_SHARE_DELETE;
constexpr DWORD shareFolder = shareFile | FILE_SHARE_WRITE;

// Makes something beside the destination, under a name that no other process looks for. Gives its path, or the empty
// text if it could not be made.
template <typename Make> std::string MakeBeside(const std::string& destination, Make make) {
    const std::string stem = destination.substr(0, destination.find_last_of("\\/:") + 1) + ".vellox-move";
    for (int number = 1;; ++number) {
        std::string path = stem + std::to_string(number);
        if (make(path))
            return path;
        if (!IsTaken(path))
            return {};
    }
}

MoveResult WhyNothingWasMade(const std::string& destination) {
    return IsTaken(destination) ? MoveResult::DestinationTaken : MoveResult::Failed;
}

// A name for what is whole; else, or if the name is taken, nothing is left of it.
MoveResult GiveName(bool isWhole, const std::string& copyPath, const std::string& destination) {
    if (isWhole && ::MoveFileW(WideArgument(copyPath).c_str(), WideArgument(destination).c_str()) != FALSE)
        return MoveResult::Moved;
    DeleteFolderForGood(copyPath);
    return isWhole ? WhyNothingWasMade(destination) : MoveResult::Failed;
}

// What is no longer the same was changed or went in part, and then the copy is all there is of it.
bool IsAllAtItsPlace(const WideString& from, const WideString& to) {
    return Platform::HoldSameTree(from.c_str(), to.c_str());
}

// As soon as a copy has its name, other processes can move it on and put another item there, so it is known by its
// handle from then on. The copy is on the disk before the source goes.
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
    const MoveResult result = GiveName(isWhole, copyPath, destination);
    if (result != MoveResult::Moved)
        return result;
    const bool isRemoved = Platform::BringToDisk(to.c_str()) && original.IsAt(from) &&
                           Platform::RemoveCopiedTree(from.c_str(), to.c_str());
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
    const HeldItem copy(made, shareFile);
    const MoveResult result =
        GiveName(copy.IsClaimed() && Platform::HoldSameTree(from.c_str(), made.c_str()), copyPath, destination);
    if (result != MoveResult::Moved)
        return result;
    // Not every program that writes can be kept out.
    const bool isSafe =
        (Platform::BringToDisk(to.c_str()) && Platform::HoldSameTree(from.c_str(), to.c_str())) || !copy.IsAt(to);
    if ((isSafe && original.DeleteFileAt(from)) || !original.IsAt(from) || copyOfWhatStays == CopyOfWhatStays::Keep)
        return MoveResult::Moved;
    copy.DeleteFileAt(to);
    return MoveResult::Failed;
}

MoveResult MoveLinkByCopy(const std::string& source, const std::string& destination, CopyOfWhatStays copyOfWhatStays) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    if (!Platform::CopyLink(from.c_str(), to.c_str()))
        return WhyNothingWasMade(destination);
    if (::DeleteFileW(from.c_str()) != FALSE || copyOfWhatStays == CopyOfWhatStays::Keep || !IsAllAtItsPlace(from, to))
        return MoveResult::Moved;
    Platform::RemoveCopiedTree(to.c_str(), from.c_str());
    return MoveResult::Failed;
}

} // namespace

bool IsTaken(const std::string& path) {
    bool isDirectory = false;
    return CheckFolderExists(path) || (!IsAscii(path) && CheckPathIsDirectory(path, isDirectory));
}

MoveResult MoveFileOrFolder(const std::string& source, const std::string& destination,
                            CopyOfWhatStays copyOfWhatStays) {
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
    switch (KindOf(source)) {
    case ItemKind::Folder: return MoveFolderByCopy(source, destination, copyOfWhatStays);
    case ItemKind::Link: return MoveLinkByCopy(source, destination, copyOfWhatStays);
    default: return MoveFileByCopy(source, destination, copyOfWhatStays);
    }
}

} // namespace Vellox::FileNames
