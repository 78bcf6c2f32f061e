#include "vellox/songs.h"

#include <algorithm>
#include <string_view>

#include "filesystem/queries.h"
#include "pathtext/extensions.h"
#include "pathtext/join.h"

namespace Vellox::FileNames {
namespace {

constexpr std::string_view SongFileExtensions[] = {"sng", "sgw", "sngw", "txt", "edl", "aaf", "omf"};
constexpr std::string_view songFolderMarker = "Vellox.db";

} // namespace

bool IsSongFile(std::string path) {
    return std::any_of(std::begin(SongFileExtensions), std::end(SongFileExtensions),
                       [&](std::string_view extension) { return EndsInExtension(path, extension); });
}

bool IsSongFolder(std::string folder) {
    return !folder.empty() && CheckFileExists(JoinFolder(std::move(folder), songFolderMarker));
}

} // namespace Vellox::FileNames
