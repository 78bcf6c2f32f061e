#include "fileobjects/flush.h"

#include "platform/win32.h"
#include "vellox/fileobjects.h"

namespace QuirnFiles {
namespace {

constexpr std::uint32_t platformNt = 2;

std::int32_t ClassifyWithoutNt(std::uint32_t major, std::uint32_t minor) {
    if (major != 4 || minor >= 90)
        return 3;
    return minor < 10 ? 0 : 2;
}

std::int32_t ClassifyNt(std::uint32_t major, std::uint32_t minor) {
    if (major < 5)
        return 1;
    if (major == 5)
        return minor == 0 ? 4 : 5;
    if (major > 6)
        return 10;
    return minor < 3 ? 6 + static_cast<std::int32_t>(minor) : 9;
}

constexpr std::int32_t notClassified = 999999;
std::int32_t OsVersionClass = notClassified;

bool SystemFlushes() {
    if (OsVersionClass == notClassified) {
        OSVERSIONINFOA version = {};
        version.dwOSVersionInfoSize = sizeof version;
        ::GetVersionExA(&version);
        OsVersionClass = ClassifyOsVersion(version.dwPlatformId, version.dwMajorVersion, version.dwMinorVersion);
    }
    return OsVersionClass >= firstFlushingClass;
}

using FlushFunction = BOOL(WINAPI*)(HANDLE);

FlushFunction FindFlushFunction() {
    const auto address = ::GetProcAddress(::GetModuleHandleA("kernel32.dll"), "FlushFileBuffers");
    return reinterpret_cast<FlushFunction>(reinterpret_cast<void (*)()>(address));
}

} // namespace

std::int32_t ClassifyOsVersion(std::uint32_t platformId, std::uint32_t major, std::uint32_t minor) {
    return platformId == platformNt ? ClassifyNt(major, minor) : ClassifyWithoutNt(major, minor);
}

} // namespace QuirnFiles

std::int32_t VelloxFlushFileBuffers(void* handle) {
    if (!QuirnFiles::SystemFlushes())
        return 0;
    static const QuirnFiles::FlushFunction flush = QuirnFiles::FindFlushFunction();
    return flush(handle) != FALSE ? 1 : 0;
}
