#pragma once

#include "platform/posix/trees/copied.h"

namespace Vellox::Posix {

// True if an open folder still holds what was copied from it into the other one, and nothing else. A file counts as the
// same while it is in the state in which it was copied; else its bytes decide.
bool HoldSameTree(int source, int copy, const CopiedFiles& copied);

} // namespace Vellox::Posix
