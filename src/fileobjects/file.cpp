#include "fileobjects/file.h"

#include <utility>

#include "fileobjects/exception.h"
#include "frame/text.h"
#include "platform/win32.h"
#include "vellox/fileobjects.h"

namespace QuirnFiles {

std::int64_t CFileBase::GetRemainingSize() {
    const std::int64_t position = Seek(0, FromCurrent);
    const std::int64_t end = Seek(0, FromEnd);
    Seek(position, FromStart);
    return end - position;
}

void CFile::Open(const char* path, std::uint32_t desiredAccess, std::uint32_t shareMode,
                 std::uint32_t creationDisposition) {
    handle = ::CreateFileW(Vellox::WideArgument(path).c_str(), desiredAccess, shareMode, nullptr, creationDisposition,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE || handle == nullptr)
        throw VelloxException("Error opening file");
}

std::uint64_t CFile::Write(const void* data, std::uint64_t count) {
    DWORD written = 0;
    if (::WriteFile(handle, data, static_cast<DWORD>(count), &written, nullptr) == FALSE || written != count)
        throw VelloxException("Error writing to file");
    return written;
}

std::uint64_t CFile::Read(void* data, std::uint64_t count) {
    DWORD read = 0;
    ::ReadFile(handle, data, static_cast<DWORD>(count), &read, nullptr);
    return read;
}

std::int64_t CFile::Seek(std::int64_t offset, std::uint32_t origin) {
    LARGE_INTEGER distance;
    LARGE_INTEGER position;
    distance.QuadPart = offset;
    return ::SetFilePointerEx(handle, distance, &position, origin) != FALSE ? position.QuadPart : -1;
}

CFileBase* CFile::Clone() {
    return new CFile(*this);
}

std::int64_t CFile::GetRemainingSize() {
    LARGE_INTEGER size;
    return ::GetFileSizeEx(handle, &size) != FALSE ? size.QuadPart - Tell() : 0;
}

bool CFile::Close() {
    return ::CloseHandle(std::exchange(handle, nullptr)) != FALSE;
}

bool CFile::Flush() {
    return VelloxFlushFileBuffers(handle) != 0;
}

} // namespace QuirnFiles
