#pragma once

/// @file
/// The frame of the library: the string types, the export macro and the process-wide values.
///
/// Rules that hold in every header of vellox:
///
/// Text: a narrow string is a string of bytes that carries no mark of its encoding. Functions that reach the file
/// system say how they read it: as UTF-8, or as the bytes of the system's own narrow text (the ANSI code page on
/// Windows, plain bytes on Linux). While a path is pure ASCII the two agree. Text that reaches the system ends at its
/// first NUL.
///
/// Paths: `\` is the separator that comes out; `C:` is a drive, on Linux the root `/`. Each function says whether `/`
/// counts on the way in.
///
/// Failures: a failure of the file system is a plain value (false, an empty string, an empty list, null), never an
/// exception. Only the standard exceptions for exhausted memory and oversized strings pass through. On Windows the DLL
/// has a C++ runtime of its own: an exception can be caught as ever, but `std::uncaught_exceptions()` of the host still
/// counts it afterwards.
///
/// Null: no function looks for a null pointer unless it says so, and a std::string made of one is undefined before the
/// call begins.
///
/// Ownership: strings go in by value, so the caller's copy is untouched; what comes back is new and the caller's own.
///
/// Threads: functions share no data and may run on any thread at once, unless their header says otherwise. A relative
/// path is resolved against the current directory of the process at the moment of the call. A host may call as long as
/// the library is loaded, from its own exit handlers and static destructors too.
///
/// Locks, on Linux: record locks that the host itself has taken on a file with fcntl (F_SETLK) go when the library
/// opens and closes that file, as with any second descriptor in the process. Those of F_OFD_SETLK and of flock stay.

#include <cstdint>
#include <string>

// Strings and lists cross the border of the library, so a host has to lay them out as the library does: by the same
// standard library with the same settings. The macros VELLOX_WITH_... tell where the library was built otherwise than
// g++ does by itself. The CMake package and vellox.pc define them for a host; one that uses neither defines them
// itself. Other ways to change layouts, such as -fpack-struct, are not seen here.
#if !defined(VELLOX_BUILDING) && !defined(VELLOX_STATIC) && !defined(VELLOX_LAYOUT_UNKNOWN)
#if defined(_WIN32) && !defined(__MINGW32__)
#error "vellox.dll is made with g++ of mingw-w64, and a host of another compiler cannot link it"
#endif
#if defined(_LIBCPP_VERSION) != defined(VELLOX_WITH_LIBCXX)
#error "build vellox and its host with libc++, or neither; VELLOX_WITH_LIBCXX says vellox is"
#endif
#if defined(__GLIBCXX__) && !_GLIBCXX_USE_CXX11_ABI != defined(VELLOX_WITH_OLDABI)
#error "build vellox and its host with _GLIBCXX_USE_CXX11_ABI=0, or neither; VELLOX_WITH_OLDABI says vellox is"
#endif
#if defined(_GLIBCXX_DEBUG) != defined(VELLOX_WITH_DEBUG)
#error "build vellox and its host with _GLIBCXX_DEBUG, or neither; VELLOX_WITH_DEBUG says vellox is"
#endif
#if defined(_UCRT) != defined(VELLOX_WITH_UCRT)
#error "build vellox and its host with the UCRT, or neither; VELLOX_WITH_UCRT says vellox is"
#endif
#endif

/// Define VELLOX_STATIC to use the library's objects directly instead of the shared library.
#if defined(VELLOX_STATIC)
#define VELLOX_API
#elif defined(_WIN32)
#if defined(VELLOX_BUILDING)
#define VELLOX_API __declspec(dllexport)
#else
#define VELLOX_API __declspec(dllimport)
#endif
#else
#define VELLOX_API __attribute__((visibility("default")))
#endif

/// Everything but the global names of the host's frame.
namespace Vellox {

/// One 16-bit unit of UTF-16, in the type that the system's headers use for it.
#ifdef _WIN32
using WideChar = wchar_t;
#else
using WideChar = char16_t;
#endif

/// Wide text: UTF-16.
using WideString = std::basic_string<WideChar>;

/// What the host tells of its threads.
namespace Threading {

/// Storage for the host, by its name for the id of a thread: 0 until the host writes it, and never read or written by
/// the library.
extern VELLOX_API std::int32_t mainThreadId;

} // namespace Threading

} // namespace Vellox

/// Storage for the host, one copy for all modules of the process; the library neither reads nor writes it. Starts as
/// false.
extern VELLOX_API bool testsRunning;
/// Storage for the host as well. Starts as 0.
extern VELLOX_API std::int32_t isDoingStressTest;

/// Stores the factor as it comes: no range test, no rounding, no notification.
VELLOX_API void SetUIScaleFactor(float factor);

/// The factor last stored, 1.0 if none was.
VELLOX_API float GetUIScaleFactor();

/// Always "windows", on every system: it names the platform whose path rules hold.
VELLOX_API std::string GetPlatform();

/// Always "desktop".
VELLOX_API std::string GetPlatformType();

/// The folder for the user's own data: "Vellox Studio 10" in the user's application data folder, without a trailing
/// separator, in the system's narrow text. On Linux the application data folder is $XDG_DATA_HOME, else
/// $HOME/.local/share, else the same below the home of the user's account; a variable whose value does not begin with
/// `/` does not count.
///
///     on Windows => C:\Users\me\AppData\Roaming\Vellox Studio 10
///     on Linux => C:\home\me\.local\share\Vellox Studio 10
///
/// The application data folder is made if it is missing, the folder "Vellox Studio 10" is not: a host that wants to use
/// the trash makes it once.
///
/// Gives the empty string if the system does not tell the application data folder, or if that is missing and cannot be
/// made; the next call asks again. After a success the answer is kept as long as the library is loaded. The first
/// successful call is to end before a second thread calls.
VELLOX_API std::string GetHomeFolderBase();

/// The same as GetHomeFolderBase.
VELLOX_API std::string GetProgramFolderUserDocuments();

/// Does nothing on these platforms. The arguments are dropped.
VELLOX_API void CheckExtractAssetFile(std::string asset, std::string destination);
/// Does nothing either. The arguments are not read, so a null text is harmless.
VELLOX_API void SendCrashlyticsNonFatal(const char* text, std::int32_t code);
/// Does nothing either. The argument is not read, so a null text is harmless.
VELLOX_API void VelloxCrashlyticsLog(const char* text);
