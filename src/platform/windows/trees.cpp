#include "platform/windows/trees.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Vellox::Windows {
namespace {

bool Rewind(HANDLE file) {
    return ::SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, FILE_BEGIN) != FALSE;
}

bool HoldSameBytes(HANDLE first, HANDLE second) {
    if (!Rewind(first) || !Rewind(second))
        return false;
    constexpr DWORD pieceSize = 64 * 1024;
    const auto firstBytes = std::make_unique<char[]>(pieceSize);
    const auto secondBytes = std::make_unique<char[]>(pieceSize);
    while (true) {
        DWORD firstCount = 0;
        DWORD secondCount = 0;
        if (::ReadFile(first, firstBytes.get(), pieceSize, &firstCount, nullptr) == FALSE ||
            ::ReadFile(second, secondBytes.get(), pieceSize, &secondCount, nullptr) == FALSE ||
            firstCount != secondCount ||
            !std::equal(firstBytes.get(), firstBytes.get() + firstCount, secondBytes.get()))
            return false;
        if (firstCount == 0)
            return true;
    }
}

bool ReadState(HANDLE file, FILE_BASIC_INFO& times, LARGE_INTEGER& size) {
    return ::GetFileInformationByHandleEx(file, FileBasicInfo, &times, sizeof times) != FALSE &&
           ::GetFileSizeEx(file, &size) != FALSE;
}

const Entry* FindByName(const std::vector<Entry>& entries, const Text& name) {
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& it) { return it.name == name; });
    return found == entries.end() ? nullptr : &*found;
}

// Nobody can write to the file, rename it or remove it while it is open.
FileHandle HoldFile(const Text& path, DWORD access) {
    return Open(path, access, FILE_SHARE_READ, FILE_FLAG_OPEN_REPARSE_POINT);
}

bool HoldSame(const Text& path, const Entry& entry, const Text& copyPath, const Entry& copyEntry, Time copyBegan) {
    if (entry != copyEntry || entry.IsLink())
        return false;
    if (entry.IsFolder()) {
        const FileHandle folder = HoldFolder(path, listing);
        const FileHandle copiedFolder = HoldFolder(copyPath, listing);
        return folder && copiedFolder && HoldSameEntries(path, copyPath, copyBegan);
    }
    const FileHandle file = HoldFile(path, GENERIC_READ);
    const FileHandle copy = Open(copyPath, GENERIC_READ, shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    return file && copy && HoldSameData(file.Get(), copy.Get(), copyBegan);
}

bool RemoveCopied(const Text& path, const Entry& entry, const Text& copyPath, const Entry& copyEntry, Time copyBegan) {
    if (entry != copyEntry || entry.IsLink())
        return false;
    if (entry.IsFolder()) {
        FileHandle folder = HoldFolder(path, listing);
        const FileHandle copiedFolder = HoldFolder(copyPath, listing);
        if (!folder || !copiedFolder || !RemoveCopiedEntries(path, copyPath, copyBegan))
            return false;
        const FileHandle empty = OpenAnew(std::move(folder), path, removing);
        return empty && Delete(empty.Get());
    }
    const FileHandle file = HoldFile(path, removing);
    const FileHandle copy = Open(copyPath, GENERIC_READ, shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    return file && copy && HoldSameData(file.Get(), copy.Get(), copyBegan) && Delete(file.Get());
}

bool Flush(const Text& path, const Entry& entry) {
    if (entry.LeadsToFolder())
        return entry.IsLink() || FlushEntries(path);
    const FileHandle file = HoldCopy(path);
    return file && ::FlushFileBuffers(file.Get()) != FALSE;
}

} // namespace

Time Now() {
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    return static_cast<Time>((static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

// FAT counts the time of a write in steps of two seconds. The change time also tells of a program that wrote and then
// set the time of the write back.
bool HoldSameData(HANDLE file, HANDLE copy, Time copyBegan) {
    constexpr Time coarsestStep = 20'000'000;
    FILE_BASIC_INFO times;
    FILE_BASIC_INFO copyTimes;
    LARGE_INTEGER size;
    LARGE_INTEGER copySize;
    if (!ReadState(file, times, size) || !ReadState(copy, copyTimes, copySize) || size.QuadPart != copySize.QuadPart)
        return false;
    const Time lastTouch = std::max(times.LastWriteTime.QuadPart, times.ChangeTime.QuadPart);
    const bool isSameTime = times.LastWriteTime.QuadPart == copyTimes.LastWriteTime.QuadPart;
    return (isSameTime && lastTouch < copyBegan - coarsestStep) || HoldSameBytes(file, copy);
}

bool HoldSameEntries(const Text& folder, const Text& copy, Time copyBegan) {
    std::vector<Entry> entries;
    std::vector<Entry> copies;
    return ReadEntries(folder, entries) && ReadEntries(copy, copies) &&
           std::equal(entries.begin(), entries.end(), copies.begin(), copies.end(),
                      [&](const Entry& one, const Entry& other) {
                          return HoldSame(folder + L'\\' + one.name, one, copy + L'\\' + other.name, other, copyBegan);
                      });
}

bool RemoveCopiedEntries(const Text& folder, const Text& copy, Time copyBegan) {
    std::vector<Entry> entries;
    std::vector<Entry> copies;
    if (!ReadEntries(folder, entries) || !ReadEntries(copy, copies))
        return false;
    bool isEmpty = true;
    for (const Entry& entry : entries) {
        const Text below = L'\\' + entry.name;
        const Entry* copied = FindByName(copies, entry.name);
        const bool isGone = copied != nullptr && RemoveCopied(folder + below, entry, copy + below, *copied, copyBegan);
        isEmpty = isEmpty && isGone;
    }
    return isEmpty;
}

bool RemoveEntries(const Text& folder) {
    std::vector<Entry> entries;
    bool isEmpty = ReadEntries(folder, entries);
    for (const Entry& entry : entries) {
        const Text path = folder + L'\\' + entry.name;
        FileHandle item = HoldFolder(path, listing);
        if (item && entry.IsFolder())
            RemoveEntries(path);
        const FileHandle doomed = OpenAnew(std::move(item), path, removing);
        const bool isGone = doomed && Delete(doomed.Get());
        isEmpty = isEmpty && isGone;
    }
    return isEmpty;
}

bool FlushEntries(const Text& folder) {
    std::vector<Entry> entries;
    return ReadEntries(folder, entries) && std::all_of(entries.begin(), entries.end(), [&](const Entry& entry) {
               return Flush(folder + L'\\' + entry.name, entry);
           });
}

FileHandle HoldCopy(const Text& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    const bool isMarked = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isMarked)
        ::SetFileAttributesW(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    FileHandle copy = Open(path, removing | GENERIC_WRITE, FILE_SHARE_READ, FILE_FLAG_OPEN_REPARSE_POINT);
    if (isMarked)
        ::SetFileAttributesW(path.c_str(), attributes);
    return copy;
}

FileHandle OpenAnew(FileHandle held, const Text& path, DWORD access) {
    const std::optional<Identity> identity = IdentityOf(held.Get());
    held = FileHandle();
    FileHandle item = HoldFolder(path, access);
    return item && identity && identity == IdentityOf(item.Get()) ? std::move(item) : FileHandle();
}

FileHandle HoldFolder(const Text& path, DWORD access) {
    return Open(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, FILE_FLAG_OPEN_REPARSE_POINT);
}

bool Delete(HANDLE item) {
    FILE_BASIC_INFO before = {};
    FILE_BASIC_INFO unmarked = {};
    unmarked.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    FILE_DISPOSITION_INFO deletion = {TRUE};
    const bool isKnown = ::GetFileInformationByHandleEx(item, FileBasicInfo, &before, sizeof before) != FALSE;
    const bool isMarked = isKnown && (before.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isMarked)
        ::SetFileInformationByHandle(item, FileBasicInfo, &unmarked, sizeof unmarked);
    if (::SetFileInformationByHandle(item, FileDispositionInfo, &deletion, sizeof deletion) != FALSE)
        return true;
    if (isMarked)
        ::SetFileInformationByHandle(item, FileBasicInfo, &before, sizeof before);
    return false;
}

} // namespace Vellox::Windows
