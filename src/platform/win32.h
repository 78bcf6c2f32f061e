#pragma once

// The only door to the system. What it offers has the names and values of Win32, whatever lies below.

#ifdef _WIN32

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <cstdlib>

#else

#include "platform/posix/win32.h"

#endif

// What Win32 has no single call for, or what the C library already has under the same name in another
// meaning. Each system has its own.
namespace Vellox::Platform {

// The narrow route's rename: gives 0 after a move under the new name, which was free. A taken new name
// is refused in the same step, never replaced.
int RenameWithoutReplacing(const char* oldPath, const char* newPath);

// SHFileOperationW, kept from paths that it cannot take safely. Gives 0 if the whole operation succeeded.
int RunShellOperation(SHFILEOPSTRUCTW& operation);

// Makes a link to the same target under a name that is free. False if that is not possible.
bool CopyLink(const WCHAR* link, const WCHAR* newLink);

// True if the path is the folder, lies below it or leads through it, judged by what stands on the disk and not by text.
// The path itself need not exist; its folder does.
bool LiesInFolder(const WCHAR* path, const WCHAR* folder);

// True if both paths hold the same: entries of the same names and kinds, files of the same sizes, links to
// the same targets. An entry that cannot be inspected makes it false.
bool HoldSameTree(const WCHAR* first, const WCHAR* second);

// Gives the second folder the permissions and the modification time of the first, as far as the system lets.
void CopyFolderAttributes(const WCHAR* from, const WCHAR* to);

} // namespace Vellox::Platform
