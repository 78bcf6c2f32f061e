#pragma once

#include <string>

namespace Vellox::FileNames {

// As path_rimuovifilename, for a path that stays with the caller.
std::string FolderOfPath(const std::string& path);

} // namespace Vellox::FileNames
