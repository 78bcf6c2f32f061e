#include "trash/records.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <numeric>
#include <utility>

namespace Vellox {
namespace {

using QuirnFiles::BufferedWriter;
using QuirnFiles::FileContent;

constexpr std::int32_t currentVersion = 2;
constexpr std::size_t smallestRecord = 12;       // a key's size and a time
constexpr std::size_t longestText = INT_MAX - 1; // of which the size, with the NUL, can still be written

template <typename Integer> Integer IntegerAt(const char* bytes) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < sizeof(Integer); ++index)
        value |= std::uint64_t{static_cast<unsigned char>(bytes[index])} << (8 * index);
    return static_cast<Integer>(value);
}

template <typename Integer> void WriteInteger(BufferedWriter& file, Integer value) {
    char bytes[sizeof(Integer)];
    for (std::size_t index = 0; index < sizeof bytes; ++index)
        bytes[index] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * index));
    file.Write(bytes, sizeof bytes);
}

void WriteString(BufferedWriter& file, std::string_view text) {
    WriteInteger(file, static_cast<std::int32_t>(text.size() + 1));
    file.Write(text.data(), text.size());
    file.Write("", 1);
}

struct Text {
    std::string_view bytes = {};
    bool isWhole = true;     // false if the file ends before the text does
    bool isAsWritten = true; // with its size and one NUL at the end
};

} // namespace

// Takes one field after the other. Damage other than the end of the file shows at the next time that is read.
class CatalogueRecords::Fields {
public:
    explicit Fields(const FileContent& content, std::size_t position = 0) : content_(content), position_(position) {}

    std::size_t Position() const { return position_; }
    // True if a field would have gone on behind what stands in memory.
    bool RanOut() const { return ranOut_; }

    template <typename Integer> bool TakeInteger(Integer& value) {
        if (!Have(sizeof value))
            return false;
        value = IntegerAt<Integer>(content_.bytes.get() + position_);
        position_ += sizeof value;
        return true;
    }

    Text TakeText() {
        std::int32_t size = 0;
        if (!TakeInteger(size))
            return TakeCutText();
        if (size < 0)
            return {.isAsWritten = false};
        const auto count = static_cast<std::size_t>(size);
        if (count > content_.fileSize - position_)
            return TakeCutText();
        // A text for which there was no memory is empty, and is not left behind.
        if (!Have(count))
            return content_.failed ? TakeCutText() : Text{.isAsWritten = false};
        const char* bytes = content_.bytes.get() + position_;
        position_ += count;
        const std::size_t length = ::strnlen(bytes, std::min(count, longestText));
        return {.bytes = {bytes, length}, .isAsWritten = length + 1 == count};
    }

private:
    bool Have(std::size_t count) {
        const bool isThere = count <= content_.size - position_;
        ranOut_ = ranOut_ || !isThere;
        return isThere;
    }

    Text TakeCutText() {
        position_ = content_.size;
        return {.isWhole = false, .isAsWritten = false};
    }

    const FileContent& content_;
    std::size_t position_;
    bool ranOut_ = false;
};

struct CatalogueRecords::RecordFields {
    Text key;
    std::uint64_t trashedTime = 0;
    Text restorePath;
};

bool CatalogueRecords::TakeRecord(Fields& fields, RecordFields& record) const {
    record.key = fields.TakeText();
    if (!fields.TakeInteger(record.trashedTime))
        return false;
    record.restorePath = haveRestorePaths_ ? fields.TakeText() : Text{.isAsWritten = false};
    return true;
}

CatalogueRecords::CatalogueRecords(QuirnFiles::CFileBase& file) : content_(file) {
    content_.ReadOn(file, QuirnFiles::fileBufferSize);
    Fields fields(content_);
    std::int32_t version = 0;
    std::int32_t count = 0;
    if (fields.TakeInteger(version) && fields.TakeInteger(count) && count > 0) {
        content_.ReadOn(file, content_.fileSize);
        haveRestorePaths_ = version >= currentVersion;
        FindRecords(fields, static_cast<std::size_t>(count));
    }
    areComplete_ = !content_.failed && (content_.room == content_.fileSize || !fields.RanOut());
}

void CatalogueRecords::FindRecords(Fields& fields, std::size_t count) {
    // Room for all at once, as a vector that grows holds its content twice for a moment.
    starts_.reserve(std::min(count, content_.size / smallestRecord));
    bool areInOrder = true;
    std::string_view previousKey;
    RecordFields record;
    for (; count > 0; --count) {
        const std::uint64_t start = fields.Position();
        if (!TakeRecord(fields, record))
            break;
        const int order = starts_.empty() ? -1 : previousKey.compare(record.key.bytes);
        areInOrder = areInOrder && order <= 0;
        areAsWritten_ = areAsWritten_ && order < 0 && record.key.isAsWritten && record.restorePath.isAsWritten;
        if (order != 0)
            starts_.push_back(start);
        else if (record.restorePath.isWhole)
            starts_.back() = start;
        previousKey = record.key.bytes;
        end_ = fields.Position();
    }
    if (!areInOrder)
        BringIntoOrder();
    count_ = starts_.size();
}

// Only a file that no save wrote is out of order.
void CatalogueRecords::BringIntoOrder() {
    SortStarts();
    std::size_t kept = 0;
    for (const std::uint64_t start : starts_) {
        if (kept == 0 || KeyAt(starts_[kept - 1]) != KeyAt(start))
            starts_[kept++] = start;
        // Half a record, as a failed save leaves it, does not take the place of a whole one.
        else if (RecordAt(start).isWhole)
            starts_[kept - 1] = start;
    }
    starts_.resize(kept);
}

// By one byte of the keys after the other, and of equal keys in the order of the file. So the time grows with the bytes
// of the file, however many records it has and however long their keys are alike.
void CatalogueRecords::SortStarts() {
    struct Range {
        std::size_t begin, end;
        std::uint64_t index; // of the first byte in which their keys can differ
    };
    constexpr std::size_t fewRecords = 64;
    const auto isBefore = [this](std::uint64_t one, std::uint64_t other) {
        const int order = KeyAt(one).compare(KeyAt(other));
        return order < 0 || (order == 0 && one < other);
    };
    std::vector<Range> unsorted = {{0, starts_.size(), 0}};
    while (!unsorted.empty()) {
        const Range range = unsorted.back();
        unsorted.pop_back();
        const auto at = [this](std::size_t place) { return starts_.begin() + static_cast<std::ptrdiff_t>(place); };
        if (range.end - range.begin <= fewRecords) {
            std::sort(at(range.begin), at(range.end), isBefore);
            continue;
        }
        std::array<std::size_t, 257> next = {}; // the place of the next record with that byte; then where these end
        for (std::size_t place = range.begin; place < range.end; ++place)
            ++next[KeyByteAt(starts_[place], range.index) + std::size_t{1}];
        next[0] = range.begin;
        std::partial_sum(next.begin(), next.end(), next.begin());
        const std::array<std::size_t, 257> ends = next;
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::size_t begin = ends[byte];
            while (next[byte] < ends[byte + 1]) {
                const unsigned char itsByte = KeyByteAt(starts_[next[byte]], range.index);
                std::swap(starts_[next[byte]], starts_[next[itsByte]]);
                ++next[itsByte];
            }
            if (byte == 0)
                std::sort(at(begin), at(ends[1]));
            else if (ends[byte + 1] - begin > 1)
                unsorted.push_back({begin, ends[byte + 1], range.index + 1});
        }
    }
}

// 0 behind the key, as no text holds a NUL.
unsigned char CatalogueRecords::KeyByteAt(std::uint64_t start, std::uint64_t index) const {
    const char* bytes = content_.bytes.get() + start;
    const auto size = IntegerAt<std::int32_t>(bytes);
    const std::uint64_t first = start + sizeof size;
    const bool isInKey = size > 0 && static_cast<std::uint64_t>(size) <= content_.size - first &&
                         index < static_cast<std::uint64_t>(size);
    return isInKey ? static_cast<unsigned char>(content_.bytes[first + index]) : 0;
}

std::string_view CatalogueRecords::KeyAt(std::uint64_t start) const {
    return Fields(content_, start & ~removed).TakeText().bytes;
}

CatalogueRecords::Record CatalogueRecords::RecordAt(std::uint64_t start) const {
    Fields fields(content_, start & ~removed);
    RecordFields record;
    TakeRecord(fields, record);
    return {record.key.bytes, record.trashedTime, record.restorePath.bytes, record.restorePath.isWhole};
}

std::size_t CatalogueRecords::PlaceOf(std::string_view key) const {
    const auto isBefore = [this](std::uint64_t start, std::string_view text) { return KeyAt(start) < text; };
    const auto place = std::lower_bound(starts_.begin(), starts_.end(), key, isBefore);
    return static_cast<std::size_t>(place - starts_.begin());
}

std::optional<CatalogueRecords::Record> CatalogueRecords::Find(std::string_view key) const {
    const std::size_t place = PlaceOf(key);
    if (place == starts_.size() || IsRemoved(starts_[place]) || KeyAt(starts_[place]) != key)
        return {};
    return RecordAt(starts_[place]);
}

void CatalogueRecords::Remove(std::string_view key) {
    if (!Find(key))
        return;
    starts_[PlaceOf(key)] |= removed;
    --count_;
}

void CatalogueRecords::Write(BufferedWriter& file, std::size_t from, std::size_t to) const {
    while (from < to) {
        const std::uint64_t start = starts_[from++];
        if (IsRemoved(start))
            continue;
        if (!areAsWritten_) {
            const Record record = RecordAt(start);
            WriteRecord(file, record.key, record.trashedTime, record.restorePath);
            continue;
        }
        while (from < to && !IsRemoved(starts_[from]))
            ++from;
        const std::uint64_t end = from < starts_.size() ? starts_[from] & ~removed : end_;
        file.Write(content_.bytes.get() + start, end - start);
    }
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
