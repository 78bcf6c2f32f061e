#include "trash/move.h"

#include <algorithm>

#include "filesystem/copying.h"
#include "filesystem/queries.h"
#include "frame/text.h"
#include "platform/win32.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

enum class ItemKind { File, Folder, Link };

ItemKind KindOf(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesW(Utf8ToWide(path).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return ItemKind::Link;
    bool isDirectory = false;
    CheckPathIsDirectory(path, isDirectory);
    return isDirectory ? ItemKind::Folder : ItemKind::File;
}

// The destination folder is made here, so that it can only be one of our own.
bool CopyWholeFolder(const std::string& source, const std::string& destination) {
    const WideString from = Utf8ToWide(source);
    const WideString to = Utf8ToWide(destination);
    if (Platform::LiesInFolder(to.c_str(), from.c_str()) || !CreateDirectoryA(destination))
        return false;
    const bool whole = CopyFolderContents(source, destination) && Platform::HoldSameTree(from.c_str(), to.c_str());
    if (!whole) {
        DeleteFolderForGood(destination);
        return false;
    }
    Platform::CopyFolderAttributes(from.c_str(), to.c_str());
    return true;
}

bool CopyWholeFile(const std::string& source, const std::string& destination) {
    constexpr bool failIfExists = true;
    if (!CopyFileA(source, destination, failIfExists, nullptr))
        return false;
    const WideString to = Utf8ToWide(destination);
    if (Platform::HoldSameTree(Utf8ToWide(source).c_str(), to.c_str()))
        return true;
    ::DeleteFileW(to.c_str());
    return false;
}

bool CopyWhole(const std::string& source, const std::string& destination, ItemKind kind) {
    switch (kind) {
    case ItemKind::Folder: return CopyWholeFolder(source, destination);
    case ItemKind::Link: return Platform::CopyLink(Utf8ToWide(source).c_str(), Utf8ToWide(destination).c_str());
    default: return CopyWholeFile(source, destination);
    }
}

// False if the source is still as whole as its copy.
bool RemoveCopiedSource(const std::string& source, const std::string& destination, ItemKind kind) {
    const WideString from = Utf8ToWide(source);
    const bool removed = kind == ItemKind::Folder ? DeleteFolderForGood(source) : ::DeleteFileW(from.c_str()) != FALSE;
    return removed || !Platform::HoldSameTree(from.c_str(), Utf8ToWide(destination).c_str());
}

} // namespace

bool IsTaken(const std::string& path) {
    if (CheckFolderExists(path))
        return true;
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    if (std::all_of(path.begin(), path.end(), isAscii))
        return false;
    bool isDirectory = false;
    return CheckPathIsDirectory(path, isDirectory);
}

MoveResult MoveFileOrFolder(const std::string& source, const std::string& destination) {
    if (Platform::RenameWithoutReplacing(source.c_str(), destination.c_str()) == 0)
        return MoveResult::Moved;
    if (IsTaken(destination))
        return MoveResult::DestinationTaken;
    // Other bytes mean one name to the rename and another to the copy.
    if (!IsValidUtf8(source) || !IsValidUtf8(destination))
        return MoveResult::Failed;
    const ItemKind kind = KindOf(source);
    if (!CopyWhole(source, destination, kind))
        return MoveResult::Failed;
    return RemoveCopiedSource(source, destination, kind) ? MoveResult::Moved : MoveResult::Copied;
}

} // namespace Vellox::FileNames
