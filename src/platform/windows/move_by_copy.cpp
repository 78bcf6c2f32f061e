#include "platform/windows/move_by_copy.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "platform/windows/shell.h"
#include "platform/windows/trees.h"

// From its first byte to its last comparison an item is open in a way that keeps everybody else from writing to it,
// from renaming it and from removing it, and so is its copy. The copy gets its name, and both are deleted, by these
// handles. What the sharing modes of Windows refuse to other programs, no other program does in between.

namespace Vellox::Windows {
namespace {

using Platform::CopyOfWhatStays;
using Platform::MoveByCopyResult;

enum class Made { Done, NameTaken, Failed };

// To be asked right after the call.
Made MadeIf(bool isDone) {
    if (isDone)
        return Made::Done;
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ? Made::NameTaken : Made::Failed;
}

MoveByCopyResult ResultOf(Made named) {
    return named == Made::NameTaken ? MoveByCopyResult::NameTaken : MoveByCopyResult::Failed;
}

// Makes something beside the destination, under a name that no other program looks for. Gives its path, or the empty
// text if it could not be made.
template <typename Make> Text MakeBeside(const Text& destination, Make make) {
    const Text stem = FolderOf(destination) + L"\\.vellox-move";
    constexpr int mostNumbers = 100'000;
    for (int number = 1; number < mostNumbers; ++number) {
        const Text path = stem + std::to_wstring(number);
        const Made made = path == destination ? Made::NameTaken : MadeIf(make(path));
        if (made == Made::Done)
            return path;
        if (made == Made::Failed)
            break;
    }
    return {};
}

bool MakeEmptyFile(const Text& path) {
    return static_cast<bool>(
        FileHandle(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)));
}

// FlushFileBuffers has NTFS write its log as well, and with it the rename. A folder that refuses the flush, as one on
// other file systems may, has its name written when the system does it.
Made GiveName(HANDLE copy, const Text& destination) {
    std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + destination.size() * sizeof(WCHAR));
    auto* rename = new (buffer.data()) FILE_RENAME_INFO{};
    rename->FileNameLength = static_cast<DWORD>(destination.size() * sizeof(WCHAR));
    std::memcpy(rename->FileName, destination.data(), rename->FileNameLength);
    const Made named =
        MadeIf(::SetFileInformationByHandle(copy, FileRenameInfo, rename, static_cast<DWORD>(buffer.size())) != FALSE);
    if (named == Made::Done)
        ::FlushFileBuffers(copy);
    return named;
}

bool CopyContents(const Text& folder, const Text& copy) {
    const Text pattern = folder + L"\\*";
    SHFILEOPSTRUCTW operation = {};
    operation.wFunc = FO_COPY;
    operation.pFrom = pattern.c_str();
    operation.pTo = copy.c_str();
    operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI;
    return RunShellOperation(operation) == 0 && operation.fAnyOperationsAborted == FALSE;
}

void CopyAttributesAndTimes(HANDLE item, HANDLE copy) {
    FILE_BASIC_INFO information;
    if (::GetFileInformationByHandleEx(item, FileBasicInfo, &information, sizeof information) == FALSE)
        return;
    information.LastAccessTime.QuadPart = 0; // is left as it is
    information.ChangeTime.QuadPart = 0;
    ::SetFileInformationByHandle(copy, FileBasicInfo, &information, sizeof information);
}

void DeleteCopy(FileHandle copy, const Text& path) {
    if (copy)
        RemoveEntries(path);
    if (const FileHandle doomed = OpenAnew(std::move(copy), path, removing))
        Delete(doomed.Get());
}

MoveByCopyResult MoveFolder(const Text& source, const Text& destination, CopyOfWhatStays copyOfWhatStays) {
    FileHandle folder = HoldFolder(source, listing);
    if (!folder || LiesInFolder(destination, source))
        return MoveByCopyResult::Failed;
    const Time began = Now();
    const Text copyPath =
        MakeBeside(destination, [](const Text& path) { return ::CreateDirectoryW(path.c_str(), nullptr) != FALSE; });
    FileHandle copy = HoldFolder(copyPath, listing);
    const bool isWhole =
        copy && CopyContents(source, copyPath) && HoldSameEntries(source, copyPath, began) && FlushEntries(copyPath);
    if (!isWhole) {
        DeleteCopy(std::move(copy), copyPath);
        return MoveByCopyResult::Failed;
    }
    copy = OpenAnew(std::move(copy), copyPath, removing | GENERIC_WRITE);
    CopyAttributesAndTimes(folder.Get(), copy.Get());
    const Made named = GiveName(copy.Get(), destination);
    copy = OpenAnew(std::move(copy), named == Made::Done ? destination : copyPath, listing);
    if (named != Made::Done) {
        DeleteCopy(std::move(copy), copyPath);
        return ResultOf(named);
    }
    const bool isEmpty = copy && RemoveCopiedEntries(source, destination, began);
    folder = OpenAnew(std::move(folder), source, removing);
    if (isEmpty && folder && Delete(folder.Get()))
        return MoveByCopyResult::Done;
    folder = FileHandle();
    // What is no longer the same was changed or went in part, and then the copy is all there is of it.
    if (copyOfWhatStays == CopyOfWhatStays::Keep || !copy || !HoldSameEntries(source, destination, began))
        return MoveByCopyResult::Done;
    if (RemoveCopiedEntries(destination, source, began)) {
        copy = OpenAnew(std::move(copy), destination, removing);
        Delete(copy.Get());
    }
    return MoveByCopyResult::Failed;
}

bool IsSame(HANDLE first, HANDLE second) {
    const std::optional<Identity> identity = IdentityOf(first);
    return identity && identity == IdentityOf(second);
}

bool IsAt(HANDLE file, const Text& path) {
    const FileHandle item = Open(path, FILE_READ_ATTRIBUTES, shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    return item && IsSame(file, item.Get());
}

// Keeps other moves by copy away from the file until it is closed. The byte lies far beyond any content, where the lock
// binds nobody else. A file system without locks does without.
bool Claim(HANDLE file) {
    return ::LockFile(file, 0, 0x40000000, 1, 0) != FALSE || ::GetLastError() != ERROR_LOCK_VIOLATION;
}

// CopyFileW opens the source itself, and not in a way that lets it be open for removal here. So the file is held
// without that right first, and opened anew when it is to go.
MoveByCopyResult MoveFile(const Text& source, const Text& destination, CopyOfWhatStays copyOfWhatStays) {
    const FileHandle file = Open(source, GENERIC_READ, shareReadersOnly, FILE_FLAG_OPEN_REPARSE_POINT);
    FileHandle held = Open(source, GENERIC_READ, FILE_SHARE_READ, FILE_FLAG_OPEN_REPARSE_POINT);
    if (!file || !held || !IsSame(file.Get(), held.Get()) || !Claim(file.Get()))
        return MoveByCopyResult::Failed;
    const Time began = Now();
    const Text copyPath = MakeBeside(destination, MakeEmptyFile);
    if (copyPath.empty())
        return MoveByCopyResult::Failed;
    const bool isCopied = ::CopyFileW(source.c_str(), copyPath.c_str(), FALSE) != FALSE;
    const FileHandle copy = HoldCopy(copyPath);
    CopyAttributesAndTimes(held.Get(), copy.Get());
    const bool isWhole =
        isCopied && copy && HoldSameData(held.Get(), copy.Get(), began) && ::FlushFileBuffers(copy.Get()) != FALSE;
    const Made named = isWhole ? GiveName(copy.Get(), destination) : Made::Failed;
    if (named != Made::Done) {
        if (copy)
            Delete(copy.Get());
        return ResultOf(named);
    }
    held = FileHandle();
    const FileHandle doomed = Open(source, removing, FILE_SHARE_READ, FILE_FLAG_OPEN_REPARSE_POINT);
    const bool isRemoved = doomed && IsSame(file.Get(), doomed.Get()) &&
                           HoldSameData(doomed.Get(), copy.Get(), began) && Delete(doomed.Get());
    if (isRemoved || copyOfWhatStays == CopyOfWhatStays::Keep || !IsAt(file.Get(), source))
        return MoveByCopyResult::Done;
    Delete(copy.Get());
    return MoveByCopyResult::Failed;
}

bool RemoveLink(const Text& link) {
    const FileHandle doomed = Open(link, removing, shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION information;
    return doomed && ::GetFileInformationByHandle(doomed.Get(), &information) != FALSE &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && Delete(doomed.Get());
}

// Where a link leads is not compared: what was made is a link, and any link at the source's path goes.
MoveByCopyResult MoveLink(const Text& source, const Text& destination, CopyOfWhatStays copyOfWhatStays) {
    constexpr DWORD flags = COPY_FILE_COPY_SYMLINK | COPY_FILE_FAIL_IF_EXISTS;
    const Made made =
        MadeIf(::CopyFileExW(source.c_str(), destination.c_str(), nullptr, nullptr, nullptr, flags) != FALSE);
    if (made != Made::Done)
        return ResultOf(made);
    if (RemoveLink(source) || copyOfWhatStays == CopyOfWhatStays::Keep || !ReadEntry(source))
        return MoveByCopyResult::Done;
    RemoveLink(destination);
    return MoveByCopyResult::Failed;
}

} // namespace

MoveByCopyResult MoveByCopy(const Text& source, const Text& destination, CopyOfWhatStays copyOfWhatStays) {
    const std::optional<Entry> entry = ReadEntry(source);
    if (!entry)
        return MoveByCopyResult::Failed;
    if (entry->IsLink())
        return MoveLink(source, destination, copyOfWhatStays);
    return entry->IsFolder() ? MoveFolder(source, destination, copyOfWhatStays)
                             : MoveFile(source, destination, copyOfWhatStays);
}

} // namespace Vellox::Windows
