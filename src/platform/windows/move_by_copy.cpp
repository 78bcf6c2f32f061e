#include <string>

#include "platform/guard.h"
#include "platform/operations.h"
#include "platform/windows/entries.h"
#include "platform/windows/shell.h"
#include "platform/windows/trees.h"

namespace Vellox::Platform {
namespace {

using Windows::Text;

bool IsSameItem(HANDLE first, HANDLE second) {
    const std::optional<Windows::Identity> item = Windows::IdentityOf(first);
    return item && item == Windows::IdentityOf(second);
}

bool CopyLink(const Text& link, const Text& newLink) {
    constexpr DWORD flags = COPY_FILE_COPY_SYMLINK | COPY_FILE_FAIL_IF_EXISTS;
    return ::CopyFileExW(link.c_str(), newLink.c_str(), nullptr, nullptr, nullptr, flags) != FALSE;
}

// Where a link leads is not compared, so any link at the path goes.
bool RemoveLink(const Text& link) {
    const FileHandle doomed = Windows::Open(link, DELETE, Windows::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION information = {};
    FILE_DISPOSITION_INFO deletion = {TRUE};
    return doomed && ::GetFileInformationByHandle(doomed.Get(), &information) != FALSE &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           ::SetFileInformationByHandle(doomed.Get(), FileDispositionInfo, &deletion, sizeof deletion) != FALSE;
}

void CopyFolderAttributes(const Text& from, const Text& to) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (::GetFileAttributesExW(from.c_str(), GetFileExInfoStandard, &data) == FALSE)
        return;
    if (const FileHandle folder = Windows::Open(to, FILE_WRITE_ATTRIBUTES))
        ::SetFileTime(folder.Get(), &data.ftCreationTime, nullptr, &data.ftLastWriteTime);
    ::SetFileAttributesW(to.c_str(), data.dwFileAttributes);
}

// Far beyond any content, where a lock binds nobody else.
bool ClaimForMove(HANDLE file) {
    return ::LockFile(file, 0, 0x40000000, 1, 0) != FALSE || ::GetLastError() != ERROR_LOCK_VIOLATION;
}

bool IsItemAt(const Text& path, HANDLE file) {
    const FileHandle item = Windows::Open(path, 0, Windows::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    return item && IsSameItem(item.Get(), file);
}

// By its handle, as another process can put another file there at any time. A read-only mark would keep it here.
bool DeleteFileAt(const Text& path, HANDLE file) {
    const FileHandle doomed =
        Windows::Open(path, DELETE | FILE_WRITE_ATTRIBUTES, Windows::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    FILE_BASIC_INFO unmarked = {};
    unmarked.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    FILE_DISPOSITION_INFO deletion = {TRUE};
    return doomed && IsSameItem(doomed.Get(), file) &&
           ::SetFileInformationByHandle(doomed.Get(), FileBasicInfo, &unmarked, sizeof unmarked) != FALSE &&
           ::SetFileInformationByHandle(doomed.Get(), FileDispositionInfo, &deletion, sizeof deletion) != FALSE;
}

enum class Made { Done, NameTaken, Failed };

// What another process has taken meanwhile is told by the call that could not take it.
Made MadeIf(BOOL isDone) {
    if (isDone != FALSE)
        return Made::Done;
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ? Made::NameTaken : Made::Failed;
}

// Knows an item by more than its path, as another process can put another one there at any time.
class HeldItem {
public:
    HeldItem(const Text& path, DWORD shareMode)
        : path_(path), handle_(::CreateFileW(path.c_str(), GENERIC_READ, shareMode, nullptr, OPEN_EXISTING,
                                             FILE_FLAG_BACKUP_SEMANTICS, nullptr)),
          isKnown_(ReadState(size_, lastWrite_)) {}
    // Other moves by copy keep away from a claimed item.
    bool IsClaimed() const { return handle_ && ClaimForMove(handle_.Get()) && IsAt(path_); }
    bool IsAt(const Text& path) const { return IsItemAt(path, handle_.Get()); }
    bool DeleteAt(const Text& path) const { return DeleteFileAt(path, handle_.Get()); }
    // Not every program that writes can be kept out, but each leaves its time.
    bool IsAsOpened() const {
        LARGE_INTEGER size;
        FILETIME lastWrite;
        return isKnown_ && ReadState(size, lastWrite) && size.QuadPart == size_.QuadPart &&
               ::CompareFileTime(&lastWrite, &lastWrite_) == 0;
    }

private:
    bool ReadState(LARGE_INTEGER& size, FILETIME& lastWrite) const {
        return handle_ && ::GetFileSizeEx(handle_.Get(), &size) != FALSE &&
               ::GetFileTime(handle_.Get(), nullptr, nullptr, &lastWrite) != FALSE;
    }

    Text path_;
    FileHandle handle_;
    LARGE_INTEGER size_ = {};
    FILETIME lastWrite_ = {};
    bool isKnown_;
};

// Nobody may write to a file, as what came in behind the copy would go with the source.
constexpr DWORD shareFile = FILE_SHARE_READ | FILE_SHARE_DELETE;
constexpr DWORD shareFolder = shareFile | FILE_SHARE_WRITE;

// A copy is made beside the destination, under a name that no other process looks for. Gives its path, or the empty
// text if it could not be made.
template <typename Make> Text MakeBeside(const Text& destination, Make make) {
    const Text stem = destination.substr(0, destination.find_last_of(L"\\/:") + 1) + L".vellox-move";
    constexpr int mostNumbers = 100'000;
    for (int number = 1; number < mostNumbers; ++number) {
        Text path = stem + std::to_wstring(number);
        const Made made = path == destination ? Made::NameTaken : make(path);
        if (made == Made::Done)
            return path;
        if (made == Made::Failed)
            break;
    }
    return {};
}

int RunShell(UINT function, const Text& from, const Text& to) {
    SHFILEOPSTRUCTW operation = {};
    operation.wFunc = function;
    const Text fromList = from + L'\0';
    const Text toList = to + L'\0';
    operation.pFrom = fromList.c_str();
    operation.pTo = to.empty() ? nullptr : toList.c_str();
    operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI;
    const int error = Windows::RunShellOperation(operation);
    return error == 0 && operation.fAnyOperationsAborted != FALSE ? ERROR_CANCELLED : error;
}

// A name for what is whole; else, or if the name is taken, nothing is left of it.
MoveByCopyResult GiveName(bool isWhole, const Text& copyPath, const Text& destination) {
    const Made named = isWhole ? MadeIf(::MoveFileW(copyPath.c_str(), destination.c_str())) : Made::Failed;
    if (named == Made::Done)
        return MoveByCopyResult::Done;
    if (!copyPath.empty())
        RunShell(FO_DELETE, copyPath, {});
    return named == Made::NameTaken ? MoveByCopyResult::NameTaken : MoveByCopyResult::Failed;
}

MoveByCopyResult MoveFolderByCopy(const Text& source, const Text& destination, CopyOfWhatStays copyOfWhatStays) {
    const HeldItem original(source, shareFolder);
    if (Windows::LiesInFolder(destination, source) || !original.IsClaimed())
        return MoveByCopyResult::Failed;
    const Text copyPath =
        MakeBeside(destination, [](const Text& path) { return MadeIf(::CreateDirectoryW(path.c_str(), nullptr)); });
    const HeldItem copy(copyPath, shareFolder);
    const bool isWhole = copy.IsClaimed() && RunShell(FO_COPY, source + L"\\*", copyPath) == 0 &&
                         Windows::HoldSameTree(source, copyPath);
    CopyFolderAttributes(source, copyPath);
    const MoveByCopyResult result = GiveName(isWhole && Windows::BringToDisk(copyPath), copyPath, destination);
    if (result != MoveByCopyResult::Done)
        return result;
    const bool isRemoved = original.IsAt(source) && Windows::RemoveCopiedTree(source, destination);
    const auto isAllAtItsPlace = [&] { return Windows::HoldSameTree(source, destination); };
    if (isRemoved || copyOfWhatStays == CopyOfWhatStays::Keep || !isAllAtItsPlace())
        return MoveByCopyResult::Done;
    if (copy.IsAt(destination))
        Windows::RemoveCopiedTree(destination, source);
    return MoveByCopyResult::Failed;
}

MoveByCopyResult MoveFileByCopy(const Text& source, const Text& destination, CopyOfWhatStays copyOfWhatStays) {
    const HeldItem original(source, shareFile);
    if (!original.IsClaimed())
        return MoveByCopyResult::Failed;
    const Text copyPath = MakeBeside(
        destination, [&](const Text& path) { return MadeIf(::CopyFileW(source.c_str(), path.c_str(), TRUE)); });
    const bool isOnDisk = Windows::BringToDisk(copyPath); // which could not write to a held copy
    const HeldItem copy(copyPath, shareFile);
    const bool isWhole = isOnDisk && copy.IsClaimed() && Windows::HoldSameTree(source, copyPath);
    const MoveByCopyResult result = GiveName(isWhole, copyPath, destination);
    if (result != MoveByCopyResult::Done)
        return result;
    const bool isRemoved = original.IsAsOpened() && original.DeleteAt(source);
    if (isRemoved || !original.IsAt(source) || copyOfWhatStays == CopyOfWhatStays::Keep)
        return MoveByCopyResult::Done;
    copy.DeleteAt(destination);
    return MoveByCopyResult::Failed;
}

MoveByCopyResult MoveLinkByCopy(const Text& source, const Text& destination, CopyOfWhatStays copyOfWhatStays) {
    if (!CopyLink(source, destination))
        return MadeIf(FALSE) == Made::NameTaken ? MoveByCopyResult::NameTaken : MoveByCopyResult::Failed;
    if (RemoveLink(source) || copyOfWhatStays == CopyOfWhatStays::Keep)
        return MoveByCopyResult::Done;
    if (::GetFileAttributesW(source.c_str()) == INVALID_FILE_ATTRIBUTES)
        return MoveByCopyResult::Done;
    RemoveLink(destination);
    return MoveByCopyResult::Failed;
}

} // namespace

MoveByCopyResult MoveByCopy(const WCHAR* source, const WCHAR* destination, CopyOfWhatStays copyOfWhatStays) {
    const Text from = Windows::FullPath(source);
    const Text to = Windows::FullPath(destination);
    const std::optional<Windows::Entry> item = Windows::ReadEntry(from);
    if (!item)
        return MoveByCopyResult::Failed;
    if (item->IsLink())
        return MoveLinkByCopy(from, to, copyOfWhatStays);
    return item->IsFolder() ? MoveFolderByCopy(from, to, copyOfWhatStays) : MoveFileByCopy(from, to, copyOfWhatStays);
}

} // namespace Vellox::Platform
