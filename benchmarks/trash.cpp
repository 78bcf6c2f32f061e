#include "vellox/trash.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <fstream>
#include <map>

#include "scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::Benchmarks {
namespace {

// ---- A batch into the trash ----

fs::path Songs() {
    return Scratch() / "songs";
}

fs::path TrashFolder() {
    return Scratch() / "home" / "Vellox Studio 10" / "Trash";
}

void MakeSongs(std::size_t files) {
    FileNames::CreateDirectories(GetHomeFolderBase());
    fs::remove_all(TrashFolder());
    MakeFlatFolder(Songs(), files);
}

// Only the last call writes the catalogue.
void TrashSongs(std::size_t files) {
    const std::string folder = Win32(Songs()) + "\\";
    for (std::size_t number = 0; number < files; ++number)
        FileNames::DeleteFileToRecycleBin(folder + FileName(number), number + 1 == files);
}

void RenameSongs(std::size_t files) {
    fs::create_directory(TrashFolder());
    for (std::size_t number = 0; number < files; ++number)
        fs::rename(Songs() / FileName(number), TrashFolder() / FileName(number));
}

// ---- A question to the catalogue ----

template <typename Integer> void Put(std::string& bytes, Integer value) {
    for (std::size_t index = 0; index < sizeof value; ++index)
        bytes += static_cast<char>(value >> (8 * index));
}

void PutText(std::string& bytes, const std::string& text) {
    Put(bytes, static_cast<std::uint32_t>(text.size() + 1));
    bytes.append(text.c_str(), text.size() + 1);
}

template <typename Integer> Integer Take(const char*& position) {
    Integer value = 0;
    std::memcpy(&value, position, sizeof value);
    position += sizeof value;
    return value;
}

std::string TakeText(const char*& position) {
    const auto size = Take<std::uint32_t>(position);
    std::string text(position, size - 1);
    position += size;
    return text;
}

struct Record {
    std::uint64_t time;
    std::string restorePath;
};
using Records = std::map<std::string, Record>;

constexpr std::uint32_t version = 2;

std::string Serialised(const Records& records) {
    std::string bytes;
    Put(bytes, version);
    Put(bytes, static_cast<std::uint32_t>(records.size()));
    for (const auto& [key, record] : records) {
        PutText(bytes, key);
        Put(bytes, record.time);
        PutText(bytes, record.restorePath);
    }
    return bytes;
}

Records Parsed(const std::string& bytes) {
    const char* position = bytes.data() + sizeof version;
    Records records;
    for (auto count = Take<std::uint32_t>(position); count > 0; --count) {
        std::string key = TakeText(position);
        const auto time = Take<std::uint64_t>(position);
        records[std::move(key)] = {time, TakeText(position)};
    }
    return records;
}

std::string Key(std::size_t number) {
    return FileNames::GetTrashFolderPath() + "\\" + FileName(number);
}

std::string ReadWhole(const fs::path& path) {
    std::string bytes(fs::file_size(path), '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

void AskMap(const std::string& key) {
    const Records records = Parsed(ReadWhole(CatalogueFile()));
    benchmark::DoNotOptimize(records.find(key));
    WriteFile(CatalogueFile(), Serialised(records));
}

} // namespace

fs::path CatalogueFile() {
    return TrashFolder() / ".trash.db";
}

void MakeCatalogue(std::size_t count) {
    FileNames::CreateDirectories(FileNames::GetTrashFolderPath());
    Records records;
    for (std::size_t number = 0; number < count; ++number)
        records[Key(number)] = {133'000'000'000'000'000 + number,
                                "C:\\Users\\Musician\\Songs\\Morning Light\\Takes\\" + FileName(number)};
    WriteFile(CatalogueFile(), Serialised(records));
}

void AskCatalogue(std::size_t records) {
    if (!FileNames::CanPutBack(Key(records / 2)))
        throw std::runtime_error("the catalogue does not know " + Key(records / 2));
}

namespace {

Job BatchIntoTrash(Variants& variants, std::string name, std::size_t files) {
    Job job(variants, std::move(name), files, {}, [=] { MakeSongs(files); });
    job.Add(Role::Library, "DeleteFileToRecycleBin", [=] { TrashSongs(files); });
    return job;
}

Job QuestionToCatalogue(Variants& variants, std::string name, std::size_t records) {
    Job job(variants, std::move(name), records, [=] { MakeCatalogue(records); });
    job.Add(Role::Library, "CanPutBack", [=] { AskCatalogue(records); });
    return job;
}

} // namespace

void AddTrashOfSize(Variants& variants, std::size_t size) {
    BatchIntoTrash(variants, GrowthOf("trash", size), size);
    QuestionToCatalogue(variants, GrowthOf("catalogue", size), size);
}

void AddTrash(Variants& variants, const Sizes& sizes) {
    const std::size_t files = sizes.trashed;
    BatchIntoTrash(variants, "trash", files).Add(Role::Peer, "std::filesystem::rename", [=] { RenameSongs(files); });
    for (const std::size_t records : sizes.catalogues)
        QuestionToCatalogue(variants, "catalogue, " + std::to_string(records), records)
            .Add(Role::Peer, "std::map", [key = Key(records / 2)] { AskMap(key); });
}

} // namespace Vellox::Benchmarks
