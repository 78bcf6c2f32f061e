#pragma once

#include <string>

namespace Vellox::FileNames {

// The two existence tests. A file that may not be read, and a folder, fail the first one and pass the second.

// True if the path can be opened to be read, which a folder cannot.
bool CheckFileExists(const std::string& path);

// True if the attributes of the path can be read: a file or a folder stands there, or a link, also one to nowhere.
bool CheckFolderExists(const std::string& path);

} // namespace Vellox::FileNames
