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

// CFile leaves closing to its user; this one closes on every way out.
class OpenFile {
public:
    OpenFile(const std::string& path, DWORD access, DWORD shareMode, DWORD disposition) {
        file_.Open(path.c_str(), access, shareMode, disposition);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { file_.Close(); }
    QuirnFiles::CFile& Get() { return file_; }

private:
    QuirnFiles::CFile file_;
};

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
    if (!FileNames::CheckFileExists(path)) {
        fileCouldNotBeRead = !IsGone(path);
        return;
    }
    try {
        OpenFile file(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
        QuirnFiles::KeepingReader reader(file.Get());
        CatalogueRecords read;
        read.Read(reader);
        fileCouldNotBeRead = reader.Failed();
        Merge(std::move(read));
    } catch (const VelloxException&) {
        // The file is there and did not open.
    }
}

void TrashCatalogue::Merge(CatalogueRecords read) {
    const std::lock_guard<CatalogueLock> guard(lock);
    LetLoadedWait();
    loaded = std::move(read);
    for (auto entry = waiting.begin(); entry != waiting.end();) {
        const CatalogueRecords::Record* record = loaded.Find(entry->first);
        const bool isReplaced = record != nullptr && record->isWhole;
        // Half a record, as a failed save leaves it, does not take the place of a whole one.
        if (!isReplaced)
            loaded.Remove(entry->first);
        entry = isReplaced ? waiting.erase(entry) : std::next(entry);
    }
}

// After a failed save the entries of the file wait like any other.
void TrashCatalogue::LetLoadedWait() {
    for (const CatalogueRecords::Record& record : loaded.InOrder())
        waiting.insert_or_assign(std::string(loaded.Key(record)),
                                 TrashEntry{record.trashedTime, std::string(loaded.RestorePath(record))});
    loaded = {};
}

void TrashCatalogue::Save() {
    if (fileCouldNotBeRead)
        return;
    try {
        WriteTo(GetFilePath());
    } catch (const VelloxException&) {
        // The entries wait for the next save.
    }
}

void TrashCatalogue::WriteTo(const std::string& path) {
    OpenFile file(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_ALWAYS);
    const std::lock_guard<CatalogueLock> guard(lock);
    QuirnFiles::BufferedWriter writer(file.Get());
    WriteHeader(writer, loaded.Count() + waiting.size());
    auto next = waiting.begin();
    const auto writeWaiting = [&] {
        WriteRecord(writer, next->first, next->second.trashedTime, next->second.restorePath);
        ++next;
    };
    for (const CatalogueRecords::Record& record : loaded.InOrder()) {
        while (next != waiting.end() && next->first < loaded.Key(record))
            writeWaiting();
        loaded.Write(writer, record);
    }
    while (next != waiting.end())
        writeWaiting();
    writer.Finish();
    loaded = {};
    waiting.clear();
}

void TrashCatalogue::Add(std::string trashPath, std::string restorePath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    loaded.Remove(trashPath);
    waiting.insert_or_assign(std::move(trashPath), TrashEntry{CurrentTime(), std::move(restorePath)});
}

bool TrashCatalogue::FindRestorePath(const std::string& trashPath, std::string& restorePath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    if (const CatalogueRecords::Record* record = loaded.Find(trashPath)) {
        restorePath = loaded.RestorePath(*record);
        return !restorePath.empty();
    }
    const auto found = waiting.find(trashPath);
    if (found == waiting.end())
        return false;
    restorePath = found->second.restorePath;
    return !restorePath.empty();
}

void TrashCatalogue::Remove(const std::string& trashPath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    loaded.Remove(trashPath);
    waiting.erase(trashPath);
}

} // namespace Vellox
