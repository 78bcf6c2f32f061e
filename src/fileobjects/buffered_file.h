#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "fileobjects/file.h"

namespace QuirnFiles {

inline constexpr std::size_t fileBufferSize = std::size_t{64} * 1024;

// Reads a file from its current position on, in large pieces, and keeps what it has read. Places in the file count from
// where the reading began.
class KeepingReader {
public:
    explicit KeepingReader(CFileBase& file);

    // Reads on until so many bytes from the position on are there. False at the end of the file and after a failure.
    bool Have(std::size_t count) { return bytes_.size() - position_ >= count || ReadOn(count); }

    std::size_t Position() const { return position_; }
    const char* At(std::size_t position) const { return bytes_.data() + position; }
    void Skip(std::size_t count) { position_ += count; }
    void SkipToEnd();

    // What is left of the file, and so what can still be read at the most.
    std::uint64_t Remaining() const { return unread_ + (bytes_.size() - position_); }

    // True if the system delivered less than the file holds.
    bool Failed() const { return failed_; }

    // All that was read. The reader is of no use after that.
    std::string TakeBytes() { return std::move(bytes_); }

private:
    bool ReadOn(std::size_t count);
    void ReadPiece();

    CFileBase& file_;
    std::string bytes_;
    std::size_t position_ = 0;
    std::uint64_t unread_;
    bool failed_;
};

// Writes a file in large pieces. What is still in the buffer at the end goes out with Finish, and with nothing else.
class BufferedWriter {
public:
    explicit BufferedWriter(CFileBase& file);

    std::size_t Write(const void* data, std::size_t count);
    void Finish();

private:
    CFileBase& file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
};

} // namespace QuirnFiles
