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

#include "platform/windows/narrow_path.h"

#else

#include "platform/posix/narrow_path.h"
#include "platform/posix/win32.h"

#endif
