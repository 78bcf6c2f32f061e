#pragma once

#include <climits>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"

namespace Vellox::Posix {

inline constexpr int lowestHandle = 3;

// The handle of an open file is its descriptor as a pointer. It is never 0, 1 or 2, which a host may have closed: 0
// would be the null pointer, which is no handle, and a program that the host starts takes 1 and 2 for its output.
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
