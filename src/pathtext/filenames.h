#pragma once

#include <string>
#include <string_view>

namespace Vellox::FileNames {

// As path_rimuovifilename, for a path that stays with the caller.
std::string FolderOfPath(const std::string& path);

// The same for a path that is in its full form already.
std::string_view FolderOfFullPath(std::string_view path);

} // namespace Vellox::FileNames
