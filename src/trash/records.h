#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fileobjects/buffered_file.h"

namespace Vellox {

// The records of a catalogue file, as they were read: the bytes of the file, and where in them the records are.
//
// The file, little-endian and without gaps:
//
//   version  4 bytes, 2; below 2 the records have no restorePath
//   count    4 bytes
//   records  key: string, trashedTime: 8 bytes, restorePath: string; in ascending order of the keys' bytes
//   string   size: 4 bytes, that of the text and its NUL; the text; a NUL
class CatalogueRecords {
public:
    struct Record {
        std::size_t key; // places in the bytes
        std::size_t restorePath;
        std::uint64_t trashedTime; // ticks of 100 ns since 1601-01-01 UTC
        std::uint32_t keySize;
        std::uint32_t restorePathSize;
        bool isWhole;         // false if the file ends within its restorePath
        bool isAsItIsWritten; // the bytes hold it just as a save writes it
    };

    // Takes the complete records before any damage. Of two with one key the later counts.
    void Read(QuirnFiles::KeepingReader& reader);

    bool IsEmpty() const { return records_.empty(); }
    std::size_t Count() const { return records_.size(); }
    const std::vector<Record>& InOrder() const { return records_; }
    std::string_view Key(const Record& record) const { return {bytes_.data() + record.key, record.keySize}; }
    std::string_view RestorePath(const Record& record) const {
        return {bytes_.data() + record.restorePath, record.restorePathSize};
    }

    // Null if there is none.
    const Record* Find(std::string_view key) const;
    void Remove(std::string_view key);

    void Write(QuirnFiles::BufferedWriter& file, const Record& record) const;

private:
    void BringIntoOrder();

    std::string bytes_;
    std::vector<Record> records_; // in ascending order of their keys
};

// The parts of a file that do not stand in another one.
void WriteHeader(QuirnFiles::BufferedWriter& file, std::size_t count);
void WriteRecord(QuirnFiles::BufferedWriter& file, std::string_view key, std::uint64_t trashedTime,
                 std::string_view restorePath);

} // namespace Vellox
