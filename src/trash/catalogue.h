#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/win32.h"
#include "trash/records.h"

namespace Vellox {

inline constexpr std::string_view catalogueName = ".trash.db";

struct TrashEntry {
    std::uint64_t trashedTime = 0; // ticks of 100 ns since 1601-01-01 UTC
    std::string restorePath;

    bool operator==(const TrashEntry&) const = default;
};

class CatalogueLock {
public:
    CatalogueLock() { ::InitializeCriticalSection(&section_); }
    CatalogueLock(const CatalogueLock&) = delete;
    CatalogueLock& operator=(const CatalogueLock&) = delete;
    ~CatalogueLock() { ::DeleteCriticalSection(&section_); }
    void lock() { ::EnterCriticalSection(&section_); }
    void unlock() { ::LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

// Remembers where the items in the trash came from. The file ".trash.db" in the trash folder is the record; the entries
// in memory are a working copy that each operation on the trash loads, changes and saves.
//
// No failure of the file leaves Load or Save.
class TrashCatalogue {
public:
    std::string GetFilePath() const;

    // Merges the file of that folder into the entries; the file wins. Of a damaged file the complete records before the
    // damage count.
    void Load(std::string folder);

    // Replaces the file by the entries, and forgets them if that worked. Holds back, and keeps the entries, after a
    // Load that found a file which the system would not let it read: what that file holds would be lost.
    void Save();

    // Forgets what the last Load found in the file, as it may be changed from now on.
    void Forget();

    void Add(std::string trashPath, std::string restorePath);
    std::optional<TrashEntry> Find(const std::string& trashPath);
    // False also for an entry with an empty path, as an old file has them.
    bool FindRestorePath(const std::string& trashPath, std::string& restorePath);
    void Remove(const std::string& trashPath);

private:
    void Merge(CatalogueRecords read);
    void WriteTo(QuirnFiles::CFile& file);

    // In this order, so that at unload the lock goes first and the entries last. The entries stand in two places, and
    // each in one of them only: those of the file as they were read, and those that no file holds yet.
    CatalogueRecords loaded;
    std::map<std::string, TrashEntry, std::less<>> waiting; // ordered by unsigned bytes, as std::string compares
    std::string folder;
    CatalogueLock lock;
    bool fileCouldNotBeRead = false;
};

extern TrashCatalogue& trashCatalogue;

} // namespace Vellox
