#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "fileobjects/file.h"

namespace QuirnFiles {

inline constexpr std::size_t fileBufferSize = std::size_t{64} * 1024;

// Reads a file from its current position on, in large pieces.
class BufferedReader {
public:
    explicit BufferedReader(CFileBase& file);

    // Gives less than count at the end of the file and after a failure.
    std::size_t Read(void* data, std::size_t count);

    // What is left of the file, and so what can still be read at the most.
    std::uint64_t Remaining() const { return unread_ + (end_ - position_); }

    void SkipToEnd();

    // True if the system delivered less than the file holds.
    bool Failed() const { return failed_; }

private:
    bool Refill();

    CFileBase& file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t position_ = 0;
    std::size_t end_ = 0;
    std::uint64_t unread_; // not yet in the buffer
    bool failed_ = false;
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
