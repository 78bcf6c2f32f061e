#pragma once

#include <string>
#include <vector>

namespace Vellox::FileNames {

// The runs of characters between backslashes; a forward slash is an ordinary character.
std::vector<std::string> SplitFolderComponents(const std::string& path);

} // namespace Vellox::FileNames
