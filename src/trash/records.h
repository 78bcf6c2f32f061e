#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "fileobjects/buffered_file.h"

namespace Vellox {

// The records of a catalogue file: its bytes, and where in them each record begins. So they take less than twice the
// memory that the file has bytes, whatever it holds.
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
        std::string_view key;
        std::uint64_t trashedTime = 0; // ticks of 100 ns since 1601-01-01 UTC
        std::string_view restorePath;
        bool isWhole = true; // false if the file ends within its restorePath
    };

    CatalogueRecords() = default;

    // Takes the complete records before any damage. Of two with one key the later counts.
    explicit CatalogueRecords(QuirnFiles::CFileBase& file);

    // False if there may be more in the file: the system did not deliver all of it, or there was no memory for it.
    bool AreComplete() const { return areComplete_; }

    std::size_t Count() const { return count_; }
    std::optional<Record> Find(std::string_view key) const;
    void Remove(std::string_view key);

    template <typename Visit> void ForEach(Visit visit) const {
        for (const std::uint64_t start : starts_)
            if (!IsRemoved(start))
                visit(RecordAt(start));
    }

    // Writes what stands from one place in their order up to another. A key has its place whether or not there is a
    // record of it.
    std::size_t PlaceOf(std::string_view key) const;
    std::size_t LastPlace() const { return starts_.size(); }
    void Write(QuirnFiles::BufferedWriter& file, std::size_t from, std::size_t to) const;

private:
    class Fields;
    struct RecordFields;

    static constexpr std::uint64_t removed = std::uint64_t{1} << 63; // a bit of a start that no file reaches
    static bool IsRemoved(std::uint64_t start) { return (start & removed) != 0; }

    bool TakeRecord(Fields& fields, RecordFields& record) const;
    void FindRecords(Fields& fields, std::size_t count);
    void BringIntoOrder();
    void SortStarts();
    unsigned char KeyByteAt(std::uint64_t start, std::uint64_t index) const;
    std::string_view KeyAt(std::uint64_t start) const;
    Record RecordAt(std::uint64_t start) const;

    QuirnFiles::FileContent content_;
    std::vector<std::uint64_t> starts_; // in ascending order of the keys
    std::uint64_t end_ = 0;             // of the last record
    std::size_t count_ = 0;
    bool haveRestorePaths_ = false;
    bool areAsWritten_ = true; // the bytes hold them just as a save writes them
    bool areComplete_ = true;
};

// The parts of a file that do not stand in another one.
void WriteHeader(QuirnFiles::BufferedWriter& file, std::size_t count);
void WriteRecord(QuirnFiles::BufferedWriter& file, std::string_view key, std::uint64_t trashedTime,
                 std::string_view restorePath);

} // namespace Vellox
