#pragma once

#include <string>

namespace Vellox::FileNames {

// As NormalizePath, in place; says whether the path is in its full form now.
bool MakeNormal(std::string& path);

} // namespace Vellox::FileNames
