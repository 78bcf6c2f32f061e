#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <ctime>
#include <string_view>

#include "platform/limits.h"
#include "platform/posix/base/data_folder.h"
#include "platform/posix/base/entry.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/times.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

constexpr const char* programLink = "/proc/self/exe";

// What stands at the path is the file that the process runs.
bool IsRunningProgram(const char* path) {
    struct stat atPath;
    struct stat running;
    return ::stat(path, &atPath) == 0 && ::stat(programLink, &running) == 0 && IsSameEntry(atPath, running);
}

// Linux puts " (deleted)" behind the path in /proc/self/exe when the program's file was removed or replaced, as an
// update does it. A program can also really have such a name.
std::string_view WithoutDeletedMark(const char* path, std::size_t length) {
    constexpr std::string_view mark = " (deleted)";
    std::string_view text(path, length);
    if (text.ends_with(mark) && !IsRunningProgram(path))
        text.remove_suffix(mark.size());
    return text;
}

} // namespace

BOOL SHGetSpecialFolderPathA(HWND /*owner*/, char* buffer, int folder, BOOL create) {
    if ((folder & ~CSIDL_FLAG_CREATE) != CSIDL_APPDATA)
        return static_cast<BOOL>(Fail(ERROR_INVALID_PARAMETER));
    std::string data = DataFolder();
    if (data.empty())
        return static_cast<BOOL>(Fail(ERROR_PATH_NOT_FOUND));
    while (data.size() > 1 && data.back() == '/')
        data.pop_back();
    if (data.size() + std::string_view("C:").size() >= Vellox::pathBufferSize)
        return static_cast<BOOL>(Fail(ERROR_FILENAME_EXCED_RANGE));
    if (create != FALSE && !CreatePrivateFolders(data))
        return static_cast<BOOL>(FailFromErrno());
    const std::string text = ToWin32Text(data);
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return TRUE;
}

DWORD GetModuleFileNameA(HMODULE /*module*/, char* buffer, DWORD capacity) {
    char path[PATH_MAX];
    const ssize_t length = ::readlink(programLink, path, sizeof path - 1);
    if (length < 0)
        return static_cast<DWORD>(FailFromErrno());
    path[length] = '\0';
    const std::string text = ToWin32Text(WithoutDeletedMark(path, static_cast<std::size_t>(length)));
    if (text.size() >= capacity)
        return static_cast<DWORD>(Fail(ERROR_INSUFFICIENT_BUFFER));
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

void GetSystemTimeAsFileTime(FILETIME* time) {
    struct timespec now = {};
    static_cast<void>(::clock_gettime(CLOCK_REALTIME, &now));
    *time = ToFileTime(now);
}

BOOL GetVersionExA(OSVERSIONINFOA* version) {
    if (version->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA))
        return static_cast<BOOL>(Fail(ERROR_INSUFFICIENT_BUFFER));
    *version = {sizeof(OSVERSIONINFOA), 10, 0, 0, 2, {}};
    return TRUE;
}

HMODULE GetModuleHandleA(const char* name) {
    static char kernelModule;
    return std::string_view(name) == "kernel32.dll" ? &kernelModule : nullptr;
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
    if (module == nullptr || std::string_view(name) != "FlushFileBuffers") {
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&::FlushFileBuffers));
}

// As on Win32, the thread that holds a section may enter it again.
void InitializeCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutex_init(&section->mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
    ::pthread_mutex_lock(&section->mutex);
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    ::pthread_mutex_unlock(&section->mutex);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    ::pthread_mutex_destroy(&section->mutex);
}
