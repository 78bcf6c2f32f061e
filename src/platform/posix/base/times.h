#pragma once

#include <ctime>

#include "platform/posix/win32.h"

namespace Vellox::Posix {

inline FILETIME ToFileTime(const struct timespec& time) {
    constexpr ULONGLONG ticksPerSecond = 10'000'000;
    constexpr ULONGLONG secondsFrom1601To1970 = 11'644'473'600;
    const ULONGLONG ticks = (static_cast<ULONGLONG>(time.tv_sec) + secondsFrom1601To1970) * ticksPerSecond +
                            static_cast<ULONGLONG>(time.tv_nsec) / 100;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

} // namespace Vellox::Posix
