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
    HeldFile(const WideString& path, DWORD shareMode)
        : path_(path), handle_(::CreateFileW(path.c_str(), GENERIC_READ, shareMode, nullptr, OPEN_EXISTING,
                                             FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;
    ~HeldFile() {
        if (IsOpen())
            ::CloseHandle(handle_);
    }
    bool IsClaimed() const { return IsOpen() && Platform::ClaimForMove(handle_) && IsAtItsPath(); }
    bool IsAtItsPath() const { return Platform::IsFileAt(path_.c_str(), handle_); }
    bool Delete() const { return Platform::DeleteFileAt(path_.c_str(), handle_); }

private:
    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

    const WideString& path_;
    HANDLE handle_;
};

MoveResult WhyNothingWasMade(const std::string& destination) {
    return IsTaken(destination) ? MoveResult::DestinationTaken : MoveResult::Failed;
}

// A source that is no longer what was copied is another item, and the copy is all there is of the old one.
MoveResult WhatRemovalLeft(bool removed, const WideString& from, const WideString& to) {
    return removed || !Platform::HoldSameTree(from.c_str(), to.c_str()) ? MoveResult::Moved : MoveResult::Copied;
}

bool IsSafeOnDisk(const WideString& copy, const WideString& source) {
    return Platform::HoldSameTree(source.c_str(), copy.c_str()) && Platform::BringToDisk(copy.c_str());
}

// The destination folder is made here, so that it can only be one of our own. What someone else puts into it meanwhile
// is his, also when the copy is taken back.
MoveResult MoveFolderByCopy(const std::string& source, const std::string& destination) {
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
    return WhatRemovalLeft(Platform::RemoveCopiedTree(from.c_str(), to.c_str()), from, to);
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

// The copy takes its name as late as it can, as from then on other processes may move it on.
MoveResult MoveFileByCopy(const std::string& source, const std::string& destination) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    // Nobody may write, as what came in behind the copy would go with the source.
    const HeldFile original(from, FILE_SHARE_READ | FILE_SHARE_DELETE);
    if (!original.IsClaimed())
        return MoveResult::Failed;
    const std::string copy = CopyBeside(source, destination);
    if (copy.empty())
        return MoveResult::Failed;
    const WideString made = Utf8ToWide(copy);
    const bool isWhole = Platform::HoldSameTree(from.c_str(), made.c_str());
    if (!isWhole || ::MoveFileW(made.c_str(), to.c_str()) == FALSE) {
        DeleteFolderForGood(copy);
        return isWhole ? WhyNothingWasMade(destination) : MoveResult::Failed;
    }
    // Not every program that writes can be kept out. Whoever has moved the copy on has brought it to disk.
    const bool isSafe = (Platform::BringToDisk(to.c_str()) && Platform::HoldSameTree(from.c_str(), to.c_str())) ||
                        !Platform::HasAttributes(to.c_str());
    return (isSafe && original.Delete()) || !original.IsAtItsPath() ? MoveResult::Moved : MoveResult::Copied;
}

MoveResult MoveLinkByCopy(const std::string& source, const std::string& destination) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    if (!Platform::CopyLink(from.c_str(), to.c_str()))
        return WhyNothingWasMade(destination);
    return WhatRemovalLeft(::DeleteFileW(from.c_str()) != FALSE, from, to);
}

} // namespace

bool IsTaken(const std::string& path) {
    bool isDirectory = false;
    return CheckFolderExists(path) || (!IsAscii(path) && CheckPathIsDirectory(path, isDirectory));
}

MoveResult MoveFileOrFolder(const std::string& source, const std::string& destination) {
    if (Platform::RenameWithoutReplacing(source.c_str(), destination.c_str()) == 0)
        return MoveResult::Moved;
    if (IsTaken(destination))
        return MoveResult::DestinationTaken;
    // Other bytes mean one name to the rename and another to the copy.
    if (!IsValidUtf8(source) || !IsValidUtf8(destination))
        return MoveResult::Failed;
    switch (KindOf(source)) {
    case ItemKind::Folder: return MoveFolderByCopy(source, destination);
    case ItemKind::Link: return MoveLinkByCopy(source, destination);
    default: return MoveFileByCopy(source, destination);
    }
}

} // namespace Vellox::FileNames
