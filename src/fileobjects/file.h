#pragma once

#include <cstdint>

namespace QuirnFiles {

// An abstract file.
class CFileBase {
public:
    enum Origin : std::uint32_t { FromStart = 0, FromCurrent = 1, FromEnd = 2 };

    virtual std::uint64_t Write(const void* data, std::uint64_t count) = 0;
    virtual std::uint64_t Read(void* data, std::uint64_t count) = 0;
    // The new position from the start, or -1.
    virtual std::int64_t Seek(std::int64_t offset, std::uint32_t origin) = 0;
    virtual ~CFileBase() = default;
    virtual std::int64_t Tell() { return Seek(0, FromCurrent); }
    virtual CFileBase* Clone() = 0;
    virtual std::int64_t GetRemainingSize();
    virtual bool Close() { return true; }
    virtual bool Flush() { return true; }
};

// A file behind a handle of the system. Whoever opens it closes it: the destructor does not, and a clone has the same
// handle and so the same position. Open and Write raise VelloxException.
class CFile : public CFileBase {
public:
    // The three values go to the system as they are. A handle that the object held before is not closed.
    void Open(const char* path, std::uint32_t desiredAccess, std::uint32_t shareMode,
              std::uint32_t creationDisposition);

    std::uint64_t Write(const void* data, std::uint64_t count) override;
    // The end of the file and a failure both give less than count.
    std::uint64_t Read(void* data, std::uint64_t count) override;
    std::int64_t Seek(std::int64_t offset, std::uint32_t origin) override;
    CFileBase* Clone() override;
    std::int64_t GetRemainingSize() override;
    bool Close() override;
    bool Flush() override;

private:
    void* handle = nullptr;
};

} // namespace QuirnFiles
