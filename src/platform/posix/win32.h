#pragma once

// The stand-in for Win32 on Linux: the types, constants and calls that the library uses, no more.
// Values and sizes are those of Win32. Wide text is UTF-16; paths are read as paths.h tells.
//
// Every call that fails sets the thread's last error (errors.h).

#include <pthread.h>

#include <cstddef>
#include <cstdint>

// NOLINTBEGIN: the names are Win32's, not ours.

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using WCHAR = char16_t;
using HANDLE = void*;
using HWND = void*;
using HMODULE = void*;
using FARPROC = std::intptr_t (*)();

static_assert(sizeof(DWORD) == 4 && sizeof(BOOL) == 4 && sizeof(WCHAR) == 2 && sizeof(HANDLE) == 8);

#define WINAPI

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr DWORD MAX_PATH = 260;

// ---- Errors ----

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_WRITE_FAULT = 29;
inline constexpr DWORD ERROR_READ_FAULT = 30;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_LOCK_VIOLATION = 33;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

extern "C" {

DWORD GetLastError();
void SetLastError(DWORD error);

// ---- Text ----

inline constexpr UINT CP_UTF8 = 65001;

// For code page 65001, flags 0, and text and a buffer with a length only.
int MultiByteToWideChar(UINT codePage, DWORD flags, const char* text, int length, WCHAR* buffer, int capacity);
int WideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR* text, int length, char* buffer, int capacity,
                        const char* defaultCharacter, BOOL* usedDefaultCharacter);

// ---- Paths ----

// The full form of the path, or null if there is none or it does not fit. The buffer is the caller's.
char* _fullpath(char* buffer, const char* path, std::size_t capacity);
WCHAR* _wfullpath(WCHAR* buffer, const WCHAR* path, std::size_t capacity);

// The length of the full form, 0 if there is none, or, with nothing written, the capacity that it needs.
DWORD GetFullPathNameA(const char* path, DWORD capacity, char* buffer, char** filePart);

// The temporary folder with a trailing backslash. Gives its length, or, with nothing written, the capacity that it
// needs.
DWORD GetTempPathA(DWORD capacity, char* buffer);
DWORD GetTempPathW(DWORD capacity, WCHAR* buffer);

// Makes a new empty file. For the unique number 0 only; the buffer holds 1040 characters here.
UINT GetTempFileNameA(const char* folder, const char* prefix, UINT unique, char* buffer);
UINT GetTempFileNameW(const WCHAR* folder, const WCHAR* prefix, UINT unique, WCHAR* buffer);

// ---- Files ----

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1)))

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;

struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;

union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};
static_assert(sizeof(LARGE_INTEGER) == 8 && sizeof(ULARGE_INTEGER) == 8);

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

// OPEN_EXISTING and CREATE_ALWAYS only; any other disposition is refused. No folder opens, and a FIFO opens for reading
// without a wait.
HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD shareMode, SECURITY_ATTRIBUTES* security, DWORD disposition,
                   DWORD flags, HANDLE templateFile);
BOOL ReadFile(HANDLE file, void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped);
BOOL WriteFile(HANDLE file, const void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped);
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method);
BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);
BOOL FlushFileBuffers(HANDLE file);
BOOL CloseHandle(HANDLE handle);
BOOL DeleteFileW(const WCHAR* path);
BOOL CopyFileW(const WCHAR* source, const WCHAR* destination, BOOL failIfExists);

// ---- Attributes and folders ----

inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;

struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};
static_assert(sizeof(WIN32_FILE_ATTRIBUTE_DATA) == 36);

enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard = 0 };

DWORD GetFileAttributesW(const WCHAR* path);
BOOL GetFileAttributesExA(const char* path, GET_FILEEX_INFO_LEVELS level, void* data);
BOOL CreateDirectoryW(const WCHAR* path, SECURITY_ATTRIBUTES* security);
BOOL GetDiskFreeSpaceExA(const char* folder, ULARGE_INTEGER* available, ULARGE_INTEGER* total, ULARGE_INTEGER* free);
BOOL SetCurrentDirectoryA(const char* path);

// ---- Search ----

// Of a match only the directory and link bits of the attributes and the name are filled in: they are what the
// system tells without a further question.
struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];
};
static_assert(sizeof(WIN32_FIND_DATAW) == 592);

HANDLE FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* match);
BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* match);
BOOL FindClose(HANDLE search);

// ---- Shell ----

inline constexpr UINT FO_COPY = 2;
inline constexpr UINT FO_DELETE = 3;
inline constexpr WORD FOF_SILENT = 0x4;
inline constexpr WORD FOF_NOCONFIRMATION = 0x10;
inline constexpr WORD FOF_ALLOWUNDO = 0x40;
inline constexpr WORD FOF_NOERRORUI = 0x400;
inline constexpr int CSIDL_APPDATA = 0x1A;
inline constexpr int CSIDL_FLAG_CREATE = 0x8000;

struct SHFILEOPSTRUCTW {
    HWND hwnd;
    UINT wFunc;
    const WCHAR* pFrom;
    const WCHAR* pTo;
    WORD fFlags;
    BOOL fAnyOperationsAborted;
    void* hNameMappings;
    const WCHAR* lpszProgressTitle;
};
static_assert(sizeof(SHFILEOPSTRUCTW) == 56);

// One path in each list. FO_COPY takes `folder\*`, the contents of a folder, into a folder that it makes if it is
// missing. FO_DELETE takes its path literally.
int SHFileOperationW(SHFILEOPSTRUCTW* operation);

// CSIDL_APPDATA only. The buffer holds 1040 bytes here, as a path can be longer than MAX_PATH.
BOOL SHGetSpecialFolderPathA(HWND owner, char* buffer, int folder, BOOL create);

// ---- Processes ----

inline constexpr DWORD DETACHED_PROCESS = 8;
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

struct STARTUPINFOA {
    DWORD cb;
    char* lpReserved;
    char* lpDesktop;
    char* lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    BYTE* lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
static_assert(sizeof(STARTUPINFOA) == 104);

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread; // always null: a program is known by its process alone
    DWORD dwProcessId;
    DWORD dwThreadId;
};
static_assert(sizeof(PROCESS_INFORMATION) == 24);

// A detached process from a command line, which is split by the quoting rules of Win32.
BOOL CreateProcessA(const char* application, char* commandLine, SECURITY_ATTRIBUTES* process,
                    SECURITY_ATTRIBUTES* thread, BOOL inheritHandles, DWORD flags, void* environment,
                    const char* currentDirectory, STARTUPINFOA* startup, PROCESS_INFORMATION* information);
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

// ---- System ----

struct CRITICAL_SECTION {
    pthread_mutex_t mutex;
};

struct OSVERSIONINFOA {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    char szCSDVersion[128];
};
static_assert(sizeof(OSVERSIONINFOA) == 148);

void InitializeCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);

void GetSystemTimeAsFileTime(FILETIME* time);
DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD capacity);

// The version of the Win32 that the stand-in answers like: platform 2, version 10.0.
BOOL GetVersionExA(OSVERSIONINFOA* version);

// "kernel32.dll" and its FlushFileBuffers, the one entry point that is looked up by name.
HMODULE GetModuleHandleA(const char* name);
FARPROC GetProcAddress(HMODULE module, const char* name);

} // extern "C"

// NOLINTEND
