#pragma once

#include <string>

namespace Vellox::FileNames {

// As the exported operations, but they say whether the whole of it was done.
bool CopyFolderContents(const std::string& source, const std::string& destination);
bool DeleteFolderForGood(const std::string& path);

} // namespace Vellox::FileNames
