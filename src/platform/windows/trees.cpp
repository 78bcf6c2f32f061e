#include "platform/windows/trees.h"

#include <algorithm>

namespace Vellox::Windows {
namespace {

bool HoldSameBytes(HANDLE first, HANDLE second) {
    constexpr DWORD pieceSize = 64 * 1024;
    std::vector<char> firstBytes(pieceSize);
    std::vector<char> secondBytes(pieceSize);
    while (true) {
        DWORD firstCount = 0;
        DWORD secondCount = 0;
        if (::ReadFile(first, firstBytes.data(), pieceSize, &firstCount, nullptr) == FALSE ||
            ::ReadFile(second, secondBytes.data(), pieceSize, &secondCount, nullptr) == FALSE ||
            firstCount != secondCount ||
            !std::equal(firstBytes.begin(), firstBytes.begin() + firstCount, secondBytes.begin()))
            return false;
        if (firstCount == 0)
            return true;
    }
}

// Files of one size and one time count as the same; where the times differ, as not every file system can keep them, the
// bytes decide.
bool HoldSameData(HANDLE first, HANDLE second) {
    BY_HANDLE_FILE_INFORMATION one;
    BY_HANDLE_FILE_INFORMATION other;
    if (::GetFileInformationByHandle(first, &one) == FALSE || ::GetFileInformationByHandle(second, &other) == FALSE)
        return false;
    const bool isSameSize = one.nFileSizeHigh == other.nFileSizeHigh && one.nFileSizeLow == other.nFileSizeLow;
    return isSameSize &&
           (::CompareFileTime(&one.ftLastWriteTime, &other.ftLastWriteTime) == 0 || HoldSameBytes(first, second));
}

// A file that was copied, and its copy. Nobody can write to it while it is open here, and what is still written is not
// yet what was copied.
struct CopiedFile {
    CopiedFile(const Text& path, const Text& copyPath)
        : file(Open(path, GENERIC_READ, shareReadersOnly)), copy(Open(copyPath, GENERIC_READ)) {}
    bool IsFinished() const { return file && copy && HoldSameData(file.Get(), copy.Get()); }

    FileHandle file;
    FileHandle copy;
};

// Where a link leads is not compared, so one never counts as the same.
bool HoldSame(const Text& first, const Entry& firstEntry, const Text& second, const Entry& secondEntry) {
    if (firstEntry != secondEntry || firstEntry.IsLink())
        return false;
    if (!firstEntry.IsFolder())
        return CopiedFile(first, second).IsFinished();
    std::vector<Entry> firstEntries;
    std::vector<Entry> secondEntries;
    return ReadEntries(first, firstEntries) && ReadEntries(second, secondEntries) &&
           std::equal(firstEntries.begin(), firstEntries.end(), secondEntries.begin(), secondEntries.end(),
                      [&](const Entry& one, const Entry& other) {
                          return HoldSame(first + L'\\' + one.name, one, second + L'\\' + other.name, other);
                      });
}

bool RemoveCopied(const Text& source, const Entry& sourceEntry, const Text& copy, const Entry& copyEntry);

bool RemoveCopiedEntries(const Text& source, const Text& copy) {
    std::vector<Entry> entries;
    std::vector<Entry> copies;
    if (!ReadEntries(source, entries) || !ReadEntries(copy, copies))
        return false;
    bool isEmpty = true;
    for (const Entry& entry : entries) {
        const auto found =
            std::find_if(copies.begin(), copies.end(), [&](const Entry& other) { return other.name == entry.name; });
        const bool isGone = found != copies.end() &&
                            RemoveCopied(source + L'\\' + entry.name, entry, copy + L'\\' + found->name, *found);
        isEmpty = isEmpty && isGone;
    }
    return isEmpty;
}

// A read-only mark would keep an entry where it is.
bool Remove(const Text& path, BOOL(WINAPI* remove)(const WCHAR*)) {
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    return remove(path.c_str()) != FALSE;
}

bool RemoveCopied(const Text& source, const Entry& sourceEntry, const Text& copy, const Entry& copyEntry) {
    if (sourceEntry != copyEntry || sourceEntry.IsLink())
        return false;
    if (sourceEntry.IsFolder())
        return RemoveCopiedEntries(source, copy) && Remove(source, ::RemoveDirectoryW);
    const CopiedFile copied(source, copy);
    return copied.IsFinished() && Remove(source, ::DeleteFileW);
}

// Takes a handle that may write, so a read-only mark goes for that time.
bool FlushFile(const WCHAR* path) {
    const DWORD attributes = ::GetFileAttributesW(path);
    const bool isMarked = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isMarked)
        ::SetFileAttributesW(path, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    const FileHandle file = Open(path, GENERIC_WRITE);
    const bool isFlushed = file && ::FlushFileBuffers(file.Get()) != FALSE;
    if (isMarked)
        ::SetFileAttributesW(path, attributes);
    return isFlushed;
}

bool Flush(const Text& path, const Entry& entry) {
    if (!entry.LeadsToFolder())
        return FlushFile(path.c_str());
    std::vector<Entry> entries;
    return ReadEntries(path, entries) && std::all_of(entries.begin(), entries.end(), [&](const Entry& below) {
               return Flush(path + L'\\' + below.name, below);
           });
}

} // namespace

bool HoldSameTree(const Text& source, const Text& copy) {
    const std::optional<Entry> sourceEntry = ReadEntry(source);
    const std::optional<Entry> copyEntry = ReadEntry(copy);
    return sourceEntry && copyEntry && HoldSame(source, *sourceEntry, copy, *copyEntry);
}

bool RemoveCopiedTree(const Text& source, const Text& copy) {
    const std::optional<Entry> sourceEntry = ReadEntry(source);
    const std::optional<Entry> copyEntry = ReadEntry(copy);
    return sourceEntry && copyEntry && RemoveCopied(source, *sourceEntry, copy, *copyEntry);
}

bool BringToDisk(const Text& path) {
    const std::optional<Entry> entry = ReadEntry(path);
    return entry && Flush(path, *entry);
}

} // namespace Vellox::Windows
