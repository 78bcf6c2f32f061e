#pragma once

#include <string>

namespace Vellox::FileNames {

// The two existence tests. They differ in meaning and are to go on differing.

// The path opens for reading and so is no folder.
bool CheckFileExists(const std::string& path);

// The attributes of the path can be read, so any file or folder stands there, a link that points nowhere included.
bool CheckFolderExists(const std::string& path);

} // namespace Vellox::FileNames
