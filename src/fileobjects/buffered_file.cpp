#include "fileobjects/buffered_file.h"

#include <algorithm>
#include <cstring>

namespace QuirnFiles {
namespace {

std::uint64_t SizeOrNone(std::int64_t size) {
    return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

} // namespace

BufferedReader::BufferedReader(CFileBase& file) : file_(file), unread_(SizeOrNone(file.GetRemainingSize())) {
    buffer_ = std::make_unique_for_overwrite<char[]>(std::min<std::uint64_t>(unread_, fileBufferSize));
}

bool BufferedReader::Refill() {
    const std::size_t wanted = std::min<std::uint64_t>(unread_, fileBufferSize);
    position_ = 0;
    end_ = wanted == 0 ? 0 : file_.Read(buffer_.get(), wanted);
    failed_ = failed_ || end_ < wanted;
    unread_ = failed_ ? 0 : unread_ - wanted;
    return end_ > 0;
}

std::size_t BufferedReader::Read(void* data, std::size_t count) {
    std::size_t done = 0;
    while (done < count && (position_ < end_ || Refill())) {
        const std::size_t piece = std::min(count - done, end_ - position_);
        std::memcpy(static_cast<char*>(data) + done, buffer_.get() + position_, piece);
        position_ += piece;
        done += piece;
    }
    return done;
}

void BufferedReader::SkipToEnd() {
    position_ = end_;
    unread_ = 0;
}

BufferedWriter::BufferedWriter(CFileBase& file)
    : file_(file), buffer_(std::make_unique_for_overwrite<char[]>(fileBufferSize)) {}

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
