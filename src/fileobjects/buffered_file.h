#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "fileobjects/file.h"

namespace QuirnFiles {

inline constexpr std::size_t fileBufferSize = std::size_t{64} * 1024;

// The first bytes of a file, counted from the position that it had, in memory.
struct FileContent {
    FileContent() = default;
    explicit FileContent(CFileBase& file);

    // Reads on until so many bytes are there, or fewer if the file ends, the system fails or there is no memory.
    void ReadOn(CFileBase& file, std::uint64_t upTo);

    std::unique_ptr<char[]> bytes;
    std::size_t size = 0; // of what stands in memory
    std::size_t room = 0; // for the whole file; for its first part only, where there is no memory for more
    std::uint64_t fileSize = 0;
    bool failed = false; // the system delivered less than it was asked for
};

// Writes a file in large pieces; what is a large piece already goes out as it stands. What is still in the buffer at
// the end goes out with Finish, and with nothing else.
class BufferedWriter {
public:
    explicit BufferedWriter(CFileBase& file);

    void Write(const void* data, std::size_t count);
    void Finish();

private:
    CFileBase& file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
};

} // namespace QuirnFiles
