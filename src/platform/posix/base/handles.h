#pragma once

#include <climits>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"

namespace Vellox::Posix {

inline constexpr int lowestHandle = 3;

// A handle never has the value of a standard stream, so that null is none.
HANDLE ToHandle(Descriptor file);

// The descriptor that a handle stands for; false, with the last error set, if it can be none.
inline bool ToDescriptor(HANDLE handle, int& descriptor) {
    const auto value = reinterpret_cast<std::intptr_t>(handle);
    if (value < lowestHandle || value > INT_MAX)
        return Fail(ERROR_INVALID_HANDLE);
    descriptor = static_cast<int>(value);
    return true;
}

} // namespace Vellox::Posix
