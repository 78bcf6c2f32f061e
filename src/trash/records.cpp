#include "trash/records.h"

#include <algorithm>
#include <cstring>

#include "fileobjects/exception.h"

namespace Vellox {
namespace {

using QuirnFiles::BufferedWriter;
using QuirnFiles::KeepingReader;

constexpr std::int32_t currentVersion = 2;

template <typename Integer> Integer IntegerAt(const char* bytes) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < sizeof(Integer); ++index)
        value |= std::uint64_t{static_cast<unsigned char>(bytes[index])} << (8 * index);
    return static_cast<Integer>(value);
}

template <typename Integer> Integer ReadInteger(KeepingReader& reader) {
    if (!reader.Have(sizeof(Integer)))
        throw VelloxException("Error reading data");
    const auto value = IntegerAt<Integer>(reader.At(reader.Position()));
    reader.Skip(sizeof(Integer));
    return value;
}

template <typename Integer> void WriteInteger(BufferedWriter& file, Integer value) {
    char bytes[sizeof(Integer)];
    for (std::size_t index = 0; index < sizeof bytes; ++index)
        bytes[index] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * index));
    if (file.Write(bytes, sizeof bytes) != sizeof bytes)
        throw VelloxException("Error writing data");
}

void WriteString(BufferedWriter& file, std::string_view text) {
    WriteInteger(file, static_cast<std::int32_t>(text.size() + 1));
    file.Write(text.data(), text.size());
    file.Write("", 1);
}

struct Text {
    std::size_t start = 0;
    std::uint32_t size = 0;
    bool isWhole = true;         // false if the file ends before the text does
    bool isAsItIsWritten = true; // with its size and one NUL at the end
};

Text EndOfFile(KeepingReader& reader) {
    reader.SkipToEnd();
    return {.isWhole = false, .isAsItIsWritten = false};
}

// Never takes more memory than the file has bytes left, whatever the size says. Damage other than the end of the file
// shows at the next time that is read.
Text ReadString(KeepingReader& reader) {
    if (!reader.Have(sizeof(std::int32_t)))
        return EndOfFile(reader);
    const auto size = ReadInteger<std::int32_t>(reader);
    if (size < 0)
        return {.isAsItIsWritten = false};
    const auto count = static_cast<std::uint32_t>(size);
    if (count > reader.Remaining() || !reader.Have(count))
        return EndOfFile(reader);
    const std::size_t start = reader.Position();
    const auto length = static_cast<std::uint32_t>(::strnlen(reader.At(start), count));
    reader.Skip(count);
    return {.start = start, .size = length, .isAsItIsWritten = length + 1 == count};
}

CatalogueRecords::Record ReadRecord(KeepingReader& reader, bool hasRestorePath) {
    const Text key = ReadString(reader);
    const auto trashedTime = ReadInteger<std::uint64_t>(reader);
    const Text restorePath = hasRestorePath ? ReadString(reader) : Text{.isAsItIsWritten = false};
    return {.key = key.start,
            .restorePath = restorePath.start,
            .trashedTime = trashedTime,
            .keySize = key.size,
            .restorePathSize = restorePath.size,
            .isWhole = restorePath.isWhole,
            .isAsItIsWritten = key.isAsItIsWritten && restorePath.isAsItIsWritten};
}

void ReadRecords(KeepingReader& reader, std::vector<CatalogueRecords::Record>& records) {
    const auto version = ReadInteger<std::int32_t>(reader);
    const auto count = ReadInteger<std::int32_t>(reader);
    for (std::int32_t index = 0; index < count; ++index)
        records.push_back(ReadRecord(reader, version >= currentVersion));
}

} // namespace

void CatalogueRecords::Read(KeepingReader& reader) {
    try {
        ReadRecords(reader, records_);
    } catch (const VelloxException&) {
        // What could be read stays, and the next save repairs the file.
    }
    bytes_ = reader.TakeBytes();
    BringIntoOrder();
}

// A file of our own is in order.
void CatalogueRecords::BringIntoOrder() {
    const auto isBefore = [this](const Record& one, const Record& other) { return Key(one) < Key(other); };
    const auto notBefore = [&](const Record& one, const Record& other) { return !isBefore(one, other); };
    if (std::adjacent_find(records_.begin(), records_.end(), notBefore) == records_.end())
        return;
    std::stable_sort(records_.begin(), records_.end(), isBefore);
    // Half a record, as a failed save leaves it, does not take the place of a whole one.
    std::vector<Record> kept;
    for (const Record& record : records_) {
        if (kept.empty() || isBefore(kept.back(), record))
            kept.push_back(record);
        else if (record.isWhole)
            kept.back() = record;
    }
    records_ = std::move(kept);
}

const CatalogueRecords::Record* CatalogueRecords::Find(std::string_view key) const {
    const auto found =
        std::lower_bound(records_.begin(), records_.end(), key,
                         [this](const Record& record, std::string_view text) { return Key(record) < text; });
    return found != records_.end() && Key(*found) == key ? &*found : nullptr;
}

void CatalogueRecords::Remove(std::string_view key) {
    if (const Record* record = Find(key))
        records_.erase(records_.begin() + (record - records_.data()));
}

void CatalogueRecords::Write(BufferedWriter& file, const Record& record) const {
    if (!record.isAsItIsWritten) {
        WriteRecord(file, Key(record), record.trashedTime, RestorePath(record));
        return;
    }
    const std::size_t start = record.key - sizeof(std::int32_t);
    const std::size_t end = record.restorePath + record.restorePathSize + 1;
    file.Write(bytes_.data() + start, end - start);
}

void WriteHeader(BufferedWriter& file, std::size_t count) {
    WriteInteger(file, currentVersion);
    WriteInteger(file, static_cast<std::int32_t>(count));
}

void WriteRecord(BufferedWriter& file, std::string_view key, std::uint64_t trashedTime, std::string_view restorePath) {
    WriteString(file, key);
    WriteInteger(file, trashedTime);
    WriteString(file, restorePath);
}

} // namespace Vellox
