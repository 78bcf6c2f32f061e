#include "trash/catalogue.h"

#include <cstring>
#include <exception>
#include <mutex>
#include <utility>

#include "fileobjects/exception.h"
#include "fileobjects/file.h"
#include "filesystem/queries.h"
#include "pathtext/join.h"

namespace Vellox {

// Without memory for an empty map there is no process either.
TrashCatalogue trashCatalogue; // NOLINT(cert-err58-cpp)

namespace {

using QuirnFiles::BufferedReader;
using QuirnFiles::BufferedWriter;

constexpr std::int32_t currentVersion = 2;

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

template <typename Integer> Integer ReadInteger(BufferedReader& file) {
    unsigned char bytes[sizeof(Integer)];
    if (file.Read(bytes, sizeof bytes) != sizeof bytes)
        throw VelloxException("Error reading data");
    std::uint64_t value = 0;
    for (std::size_t index = sizeof bytes; index > 0; --index)
        value = (value << 8) | bytes[index - 1];
    return static_cast<Integer>(value);
}

template <typename Integer> void WriteInteger(BufferedWriter& file, Integer value) {
    unsigned char bytes[sizeof(Integer)];
    for (std::size_t index = 0; index < sizeof bytes; ++index)
        bytes[index] = static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> (8 * index));
    if (file.Write(bytes, sizeof bytes) != sizeof bytes)
        throw VelloxException("Error writing data");
}

// Never takes more memory than the file has bytes left, whatever the size says.
bool ReadText(BufferedReader& file, std::uint32_t size, std::string& text) {
    if (size > file.Remaining()) {
        file.SkipToEnd();
        return false;
    }
    text.resize(size);
    if (file.Read(text.data(), size) != size) {
        text.clear();
        return false;
    }
    text.resize(std::strlen(text.c_str()));
    return true;
}

// False, with the empty text, if the file ends before the text does. Other damage shows at the next time that is read.
bool ReadString(BufferedReader& file, std::string& text) {
    if (file.Remaining() < sizeof(std::int32_t)) {
        file.SkipToEnd();
        return false;
    }
    try {
        const auto size = ReadInteger<std::int32_t>(file);
        return size < 0 || ReadText(file, static_cast<std::uint32_t>(size), text);
    } catch (const std::exception&) {
        return true;
    }
}

void WriteString(BufferedWriter& file, const std::string& text) {
    WriteInteger(file, static_cast<std::int32_t>(text.size() + 1));
    file.Write(text.c_str(), text.size() + 1);
}

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
        BufferedReader reader(file.Get());
        ReadRecordsBeforeDamage(reader);
        fileCouldNotBeRead = reader.Failed();
    } catch (const VelloxException&) {
        // The file is there and did not open.
    }
}

void TrashCatalogue::ReadRecordsBeforeDamage(BufferedReader& reader) {
    try {
        ReadRecords(reader);
    } catch (const VelloxException&) {
        // What could be read stays, and the next save repairs the file.
    }
}

void TrashCatalogue::ReadRecords(BufferedReader& reader) {
    const auto version = ReadInteger<std::int32_t>(reader);
    const auto count = ReadInteger<std::int32_t>(reader);
    const std::lock_guard<CatalogueLock> guard(lock);
    for (std::int32_t index = 0; index < count; ++index) {
        std::string key;
        TrashEntry entry;
        ReadString(reader, key);
        entry.trashedTime = ReadInteger<std::uint64_t>(reader);
        const bool isWhole = version < currentVersion || ReadString(reader, entry.restorePath);
        // The file is in order, so that the end is where its records belong.
        const std::size_t before = entries.size();
        const auto stored = entries.try_emplace(entries.end(), std::move(key));
        // Half a record, as a failed save leaves it, does not take the place of a whole one that waits in memory.
        if (isWhole || entries.size() > before)
            stored->second = std::move(entry);
    }
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
    BufferedWriter writer(file.Get());
    WriteInteger(writer, currentVersion);
    WriteInteger(writer, static_cast<std::int32_t>(entries.size()));
    for (const auto& [trashPath, entry] : entries) {
        WriteString(writer, trashPath);
        WriteInteger(writer, entry.trashedTime);
        WriteString(writer, entry.restorePath);
    }
    writer.Finish();
    entries.clear();
}

void TrashCatalogue::Add(std::string trashPath, std::string restorePath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    entries[std::move(trashPath)] = {CurrentTime(), std::move(restorePath)};
}

bool TrashCatalogue::FindRestorePath(const std::string& trashPath, std::string& restorePath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    const auto found = entries.find(trashPath);
    if (found == entries.end())
        return false;
    restorePath = found->second.restorePath;
    return !restorePath.empty();
}

void TrashCatalogue::Remove(const std::string& trashPath) {
    const std::lock_guard<CatalogueLock> guard(lock);
    entries.erase(trashPath);
}

} // namespace Vellox
