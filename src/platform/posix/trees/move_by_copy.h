#pragma once

#include <string>

#include "platform/operations.h"

namespace Vellox::Posix {

// Platform::MoveByCopy with paths of this system.
Platform::MoveByCopyResult MoveByCopy(const std::string& source, const std::string& destination,
                                      Platform::CopyOfWhatStays copyOfWhatStays);

} // namespace Vellox::Posix
