#pragma once

#include <string>
#include <vector>

namespace songbin {

// Every command takes the words behind its name and says whether all of it was done. What was not is told on
// standard error.
using Operands = std::vector<std::string>;

bool Put(const Operands& paths);
bool List(const Operands& none);
bool Restore(const Operands& names);
bool Info(const Operands& paths);
bool Relative(const Operands& fromAndTo);
bool Absolute(const Operands& pathAndBase);
bool Open(const Operands& paths);

} // namespace songbin
