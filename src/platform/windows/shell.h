#pragma once

#include "platform/win32.h"

namespace Vellox::Windows {

// What Platform::RunShellOperation promises.
int RunShellOperation(SHFILEOPSTRUCTW& operation);

} // namespace Vellox::Windows
