#include "filesystem/free_names.h"

#include <cstdint>
#include <limits>

#include "filesystem/queries.h"
#include "pathtext/join.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {

std::string ComposeFreeName(std::string stem, const std::string& tail, const char* beforeNumber,
                            bool (*isTaken)(const std::string& path)) {
    const std::size_t stemLength = stem.size();
    // The system reads a path up to its first NUL. With one in the stem, all numbers would make the same path, and the
    // loop would run to its end.
    const bool canBeNumbered = stem.find('\0') == std::string::npos;
    std::string candidate = std::move(stem);
    candidate += tail;
    std::int32_t number = 0;
    while (isTaken(candidate)) {
        if (!canBeNumbered || number == std::numeric_limits<std::int32_t>::max())
            return {};
        candidate.resize(stemLength);
        candidate += beforeNumber;
        candidate += std::to_string(++number);
        candidate += tail;
    }
    return candidate;
}

std::string ComposeNewFilenameAndCheckExists(std::string stem, std::string extension) {
    return ComposeFreeName(std::move(stem), extension, "", CheckFileExists);
}

std::string ComposeNewFilenameAndCheckExists(std::string folder, std::string stem, std::string extension) {
    return ComposeFreeName(JoinFolder(std::move(folder), stem), extension, "", CheckFileExists);
}

std::string ComposeNewFolderAndCheckExists(std::string stem, std::string tail) {
    return ComposeFreeName(std::move(stem), tail, " ", CheckFolderExists);
}

std::string ComposeNewFolderAndCheckExists(std::string folder, std::string stem, std::string tail) {
    return ComposeFreeName(JoinFolder(std::move(folder), stem), tail, " ", CheckFolderExists);
}

} // namespace Vellox::FileNames
