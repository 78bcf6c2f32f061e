#pragma once

#include "platform/operations.h"
#include "platform/windows/entries.h"

namespace Vellox::Windows {

// What Platform::MoveByCopy promises, for full paths.
Platform::MoveByCopyResult MoveByCopy(const Text& source, const Text& destination,
                                      Platform::CopyOfWhatStays copyOfWhatStays);

} // namespace Vellox::Windows
