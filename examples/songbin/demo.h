#pragma once

#include "commands.h"

namespace songbin {

// Shows the library at work on a copy of the song folder given, or of the sample.
bool Demo(const Request& request);

} // namespace songbin
