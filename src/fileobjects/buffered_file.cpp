#include "fileobjects/buffered_file.h"

#include <algorithm>
#include <cstring>

namespace QuirnFiles {
namespace {

constexpr std::size_t firstCapacity = std::size_t{1} << 20;

std::uint64_t SizeOrNone(std::int64_t size) {
    return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

} // namespace

// A file of which the system does not tell the size looks like an empty one.
KeepingReader::KeepingReader(CFileBase& file)
    : file_(file), unread_(SizeOrNone(file.GetRemainingSize())),
      failed_(unread_ == 0 && file.Seek(0, CFileBase::FromEnd) != 0) {}

bool KeepingReader::ReadOn(std::size_t count) {
    while (unread_ > 0 && bytes_.size() - position_ < count)
        ReadPiece();
    return bytes_.size() - position_ >= count;
}

void KeepingReader::ReadPiece() {
    const std::size_t wanted = std::min<std::uint64_t>(unread_, fileBufferSize);
    const std::size_t size = bytes_.size();
    // Doubled, but never beyond the file.
    if (bytes_.capacity() < size + wanted)
        bytes_.reserve(size + std::min<std::uint64_t>(unread_, std::max(size, firstCapacity)));
    bytes_.resize(size + wanted);
    const std::size_t read = file_.Read(bytes_.data() + size, wanted);
    bytes_.resize(size + read);
    failed_ = read < wanted;
    unread_ = failed_ ? 0 : unread_ - wanted;
}

void KeepingReader::SkipToEnd() {
    position_ = bytes_.size();
    unread_ = 0;
}

BufferedWriter::BufferedWriter(CFileBase& file)
    : file_(file), buffer_(new char[fileBufferSize]) {} // make_unique would fill it first

std::size_t BufferedWriter::Write(const void* data, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        if (used_ == fileBufferSize)
            Finish();
        const std::size_t piece = std::min(count - done, fileBufferSize - used_);
        std::memcpy(buffer_.get() + used_, static_cast<const char*>(data) + done, piece);
        used_ += piece;
        done += piece;
    }
    return done;
}

void BufferedWriter::Finish() {
    if (used_ > 0)
        file_.Write(buffer_.get(), used_);
    used_ = 0;
}

} // namespace QuirnFiles
