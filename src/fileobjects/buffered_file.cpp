#include "fileobjects/buffered_file.h"

#include <algorithm>
#include <new>

namespace QuirnFiles {
namespace {

// A file takes 32 bits of a count at a time.
constexpr std::size_t mostAtOnce = std::size_t{1} << 30;

std::uint64_t SizeOrNone(std::int64_t size) {
    return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

} // namespace

// A file of which the system does not tell the size looks like an empty one, but has no end to go to either.
FileContent::FileContent(CFileBase& file)
    : fileSize(SizeOrNone(file.GetRemainingSize())), failed(fileSize == 0 && file.Seek(0, CFileBase::FromEnd) != 0) {
    for (room = static_cast<std::size_t>(fileSize); room > 0; room /= 2) {
        bytes.reset(new (std::nothrow) char[room]);
        if (bytes != nullptr)
            break;
    }
}

void FileContent::ReadOn(CFileBase& file, std::uint64_t upTo) {
    const std::uint64_t end = std::min<std::uint64_t>(upTo, room);
    while (size < end && !failed) {
        const std::size_t wanted = std::min(end - size, std::uint64_t{mostAtOnce});
        const std::size_t read = file.Read(bytes.get() + size, wanted);
        failed = read < wanted;
        size += read;
    }
}

BufferedWriter::BufferedWriter(CFileBase& file)
    : file_(file), buffer_(new char[fileBufferSize]) {} // make_unique would fill it first

void BufferedWriter::Write(const void* data, std::size_t count) {
    if (count > fileBufferSize - used_)
        Finish();
    const char* position = static_cast<const char*>(data);
    while (count > fileBufferSize) {
        const std::size_t piece = std::min(count, mostAtOnce);
        file_.Write(position, piece);
        position += piece;
        count -= piece;
    }
    std::copy_n(position, count, buffer_.get() + used_);
    used_ += count;
}

void BufferedWriter::Finish() {
    if (used_ > 0)
        file_.Write(buffer_.get(), used_);
    used_ = 0;
}

} // namespace QuirnFiles
