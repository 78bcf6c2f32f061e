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

// Knows a file by more than its path, as another process can put another file there at any time.
class HeldFile {
public:
    // Nobody may write, as what came in behind the copy would go with the source.
    explicit HeldFile(const WideString& path)
        : path_(path), handle_(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                             OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;
    ~HeldFile() {
        if (IsOpen())
            ::CloseHandle(handle_);
    }
    bool IsClaimed() const { return IsOpen() && Platform::ClaimForMove(handle_) && IsAt(path_); }
    bool IsAt(const WideString& path) const { return Platform::IsFileAt(path.c_str(), handle_); }
    bool DeleteAt(const WideString& path) const { return Platform::DeleteFileAt(path.c_str(), handle_); }

private:
    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

    const WideString& path_;
    HANDLE handle_;
};

MoveResult WhyNothingWasMade(const std::string& destination) {
    return IsTaken(destination) ? MoveResult::DestinationTaken : MoveResult::Failed;
}

// A source that is no longer what was copied is another item, and the copy is all there is of the old one.
MoveResult SettleCopy(bool isSourceRemoved, const WideString& from, const WideString& to, CopyOfWhatStays copy) {
    if (isSourceRemoved || copy == CopyOfWhatStays::Keep || !Platform::HoldSameTree(from.c_str(), to.c_str()))
        return MoveResult::Moved;
    Platform::RemoveCopiedTree(to.c_str(), from.c_str());
    return MoveResult::Failed;
}

bool IsSafeOnDisk(const WideString& copy, const WideString& source) {
    return Platform::HoldSameTree(source.c_str(), copy.c_str()) && Platform::BringToDisk(copy.c_str());
}

// The destination folder is made here, so that it can only be one of our own. What someone else puts into it meanwhile
// is his, also when the copy is taken back.
MoveResult MoveFolderByCopy(const std::string& source, const std::string& destination,
                            CopyOfWhatStays copyOfWhatStays) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    if (Platform::LiesInFolder(to.c_str(), from.c_str()))
        return MoveResult::Failed;
    if (!CreateDirectoryA(destination))
        return WhyNothingWasMade(destination);
    if (!CopyFolderContents(source, destination) || !IsSafeOnDisk(to, from)) {
        Platform::RemoveCopiedTree(to.c_str(), from.c_str());
        return MoveResult::Failed;
    }
    Platform::CopyFolderAttributes(from.c_str(), to.c_str());
    return SettleCopy(Platform::RemoveCopiedTree(from.c_str(), to.c_str()), from, to, copyOfWhatStays);
}

// A copy under a name of its own, which no other process knows; the empty text if none could be made.
std::string CopyBeside(const std::string& source, const std::string& destination) {
    constexpr bool failIfExists = true;
    const std::string stem = destination.substr(0, destination.find_last_of("\\/:") + 1) + ".vellox-move";
    for (int number = 1;; ++number) {
        std::string copy = stem + std::to_string(number);
        if (CopyFileA(source, copy, failIfExists, nullptr))
            return copy;
        if (!IsTaken(copy))
            return {};
    }
}

// Other processes can move the copy on as soon as it has its name, and put another file there, so it is known by its
// handle from then on.
MoveResult MoveFileByCopy(const std::string& source, const std::string& destination, CopyOfWhatStays copyOfWhatStays) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    const HeldFile original(from);
    if (!original.IsClaimed())
        return MoveResult::Failed;
    const std::string copyPath = CopyBeside(source, destination);
    if (copyPath.empty())
        return MoveResult::Failed;
    const WideString made = Utf8ToWide(copyPath);
    const HeldFile copy(made);
    const bool isWhole = copy.IsClaimed() && Platform::HoldSameTree(from.c_str(), made.c_str());
    if (!isWhole || ::MoveFileW(made.c_str(), to.c_str()) == FALSE) {
        DeleteFolderForGood(copyPath);
        return isWhole ? WhyNothingWasMade(destination) : MoveResult::Failed;
    }
    // Not every program that writes can be kept out.
    const bool isSafe =
        (Platform::BringToDisk(to.c_str()) && Platform::HoldSameTree(from.c_str(), to.c_str())) || !copy.IsAt(to);
    if ((isSafe && original.DeleteAt(from)) || !original.IsAt(from) || copyOfWhatStays == CopyOfWhatStays::Keep)
        return MoveResult::Moved;
    copy.DeleteAt(to);
    return MoveResult::Failed;
}

MoveResult MoveLinkByCopy(const std::string& source, const std::string& destination, CopyOfWhatStays copyOfWhatStays) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    if (!Platform::CopyLink(from.c_str(), to.c_str()))
        return WhyNothingWasMade(destination);
    return SettleCopy(::DeleteFileW(from.c_str()) != FALSE, from, to, copyOfWhatStays);
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
    if (IsTaken(destination))
        return MoveResult::DestinationTaken;
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
