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
