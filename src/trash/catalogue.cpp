#include "trash/catalogue.h"

#include <cstddef>
#include <iterator>
#include <mutex>
#include <new>
#include <utility>

#include "fileobjects/exception.h"
#include "fileobjects/file.h"
#include "filesystem/queries.h"
#include "pathtext/join.h"
#include "platform/guard.h"

namespace Vellox {

namespace {

alignas(TrashCatalogue) std::byte storage[sizeof(TrashCatalogue)];

} // namespace

// A static object of the ordinary kind would be destroyed by an exit handler. Where a host loads the library late, with
// dlopen, that handler runs before those that the host registered earlier, and they may still use the trash. So the
// catalogue ends with the unload itself. Without memory for an empty map there is no process either.
TrashCatalogue& trashCatalogue = *new (storage) TrashCatalogue; // NOLINT(cert-err58-cpp)

namespace {

[[gnu::destructor]] void EndCatalogue() {
    trashCatalogue.~TrashCatalogue();
}

// CFile leaves closing to its user.
struct OpenFileTraits {
    using Value = QuirnFiles::CFile*;
    static Value None() { return nullptr; }
    static void GiveBack(Value file) { file->Close(); }
};
using FileCloser = Guard<OpenFileTraits>;

std::uint64_t CurrentTime() {
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

bool IsGone(const std::string& path) {
    if (FileNames::CheckFolderExists(path))
        return false;
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

} // namespace

std::string TrashCatalogue::GetFilePath() const {
    return FileNames::JoinFolder(folder, catalogueName);
}

void TrashCatalogue::Load(std::string newFolder) {
    folder = std::move(newFolder);
    const std::string path = GetFilePath();
    fileCouldNotBeRead = true;
    try {
        QuirnFiles::CFile file;
        file.Open(path.c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
        const FileCloser closer(&file);
        const std::lock_guard<CatalogueLock> guard(lock);
        CatalogueRecords read(file);
        fileCouldNotBeRead = !read.AreComplete();
        Merge(std::move(read));
    } catch (const VelloxException&) {
        if (!IsGone(path))
            return;
        const std::lock_guard<CatalogueLock> guard(lock);
        fileCouldNotBeRead = false;
        Merge({});
    }
}

void TrashCatalogue::Merge(CatalogueRecords read) {
    std::swap(loaded, read);
    // What a failed save has not left in the file waits like any other.
    read.ForEach([this](const CatalogueRecords::Record& record) {
        const auto found = loaded.Find(record.key);
        if (!found || !found->isWhole)
            waiting.emplace(record.key, TrashEntry{record.trashedTime, std::string(record.restorePath)});
    });
    for (auto entry = waiting.begin(); entry != waiting.end();) {
        const auto found = loaded.Find(entry->first);
        // Half a record, as a failed save leaves it, does not take the place of a whole one.
        const bool isReplaced = found && found->isWhole;
        if (!isReplaced)
            loaded.Remove(entry->first);
        entry = isReplaced ? waiting.erase(entry) : std::next(entry);
    }
}

void TrashCatalogue::Save() {
    if (fileCouldNotBeRead)
        return;
    try {
        QuirnFiles::CFile file;
        file.Open(GetFilePath().c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  CREATE_ALWAYS);
        FileCloser closer(&file);
        const std::lock_guard<CatalogueLock> guard(lock);
        WriteTo(file);
        closer = {};
        loaded = {};
        waiting.clear();
    } catch (const VelloxException&) {
        // The entries wait for the next save.
    }
}

void TrashCatalogue::WriteTo(QuirnFiles::CFile& file) {
    QuirnFiles::BufferedWriter writer(file);
    WriteHeader(writer, loaded.Count() + waiting.size());
    std::size_t written = 0;
    for (const auto& [key, entry] : waiting) {
        const std::size_t place = loaded.PlaceOf(key);
        loaded.Write(writer, written, place);
        WriteRecord(writer, key, entry.trashedTime, entry.restorePath);
        written = place;
    }
    loaded.Write(writer, written, loaded.LastPlace());
    writer.Finish();
}

// After a Load that could not read the file, what an earlier one has found may stand nowhere else.
void TrashCatalogue::Forget() {
    const std::lock_guard<CatalogueLock> guard(lock);
    if (!fileCouldNotBeRead)
        loaded = {};
}

void TrashCatalogue::Add(std::string trashPath, std::string restorePath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    loaded.Remove(trashPath);
    waiting.insert_or_assign(std::move(trashPath), TrashEntry{CurrentTime(), std::move(restorePath)});
}

std::optional<TrashEntry> TrashCatalogue::Find(const std::string& trashPath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    if (const auto record = loaded.Find(trashPath))
        return TrashEntry{record->trashedTime, std::string(record->restorePath)};
    const auto found = waiting.find(trashPath);
    return found != waiting.end() ? std::optional(found->second) : std::nullopt;
}

bool TrashCatalogue::FindRestorePath(const std::string& trashPath, std::string& restorePath) {
    const std::optional<TrashEntry> entry = Find(trashPath);
    if (entry)
        restorePath = entry->restorePath;
    return entry && !restorePath.empty();
}

void TrashCatalogue::Remove(const std::string& trashPath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    loaded.Remove(trashPath);
    waiting.erase(trashPath);
}

} // namespace Vellox
