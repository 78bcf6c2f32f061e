#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/posix/base/entry.h"

namespace Vellox::Posix {

// Which entry of all one is, for as long as it exists.
struct Identity {
    dev_t device;
    ino_t number;

    bool operator==(const Identity&) const = default;
};

struct HashOfIdentity {
    std::size_t operator()(const Identity& identity) const {
        return std::hash<ino_t>()(identity.number) ^ std::hash<dev_t>()(identity.device);
    }
};

inline Identity IdentityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

// The folder that the path leads to, or the nearest one above it that exists, and all those above that one.
std::vector<Identity> FoldersAround(const std::string& path);

// An open folder, and all those above it.
std::vector<Identity> FoldersUpFrom(int folder);

// True if the path is that open folder, lies or would lie below it, whatever links and mounts lead there, or leads
// through it.
bool LiesInFolder(const std::string& path, int folder);

} // namespace Vellox::Posix
