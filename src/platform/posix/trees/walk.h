#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <string>
#include <vector>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/entry.h"

// What goes through whole trees does so without a call of its own for each level and without an open folder for each,
// so that neither the stack nor the limit of descriptors says how deep a tree may be.

namespace Vellox::Posix {

// The names in a folder, all read before the work on them begins: a file system may pass over entries while others in
// that folder come or go.
class Names {
public:
    struct Name {
        const char* text;   // until the names are read again or moved
        unsigned char kind; // DT_DIR, DT_REG and so on; not every file system tells it, and it may no longer be true
    };

    // Reads the names of an open folder from where it stands, at first its beginning. False, with errno set, if that
    // ended early; what was read till then is there.
    bool Read(int folder);

    // False behind the last one.
    bool Next(Name& name);
    std::size_t Count() const { return count_; }

private:
    std::string bytes_; // for each name a byte with its kind, the name and a NUL
    std::size_t next_ = 0;
    std::size_t count_ = 0;
};

// The way from one folder down to the one where the work is. Only the lowest few are open. A higher one is opened again
// through the `..` of the one below it when the work comes back up, and has to be the same folder then: whoever moves a
// folder away while work goes on in it does not lead that work to another place.
class WayDown {
public:
    // The flags are those with which a folder is opened again. The place, above all, stays open with its owner.
    WayDown(int place, int flags) : place_(place), flags_(flags) {}

    int Folder() const { return levels_.empty() ? place_ : levels_.back().folder.Get(); }

    // Goes down into an open folder. False, with errno set, if the way back could not be noted; it then stays here.
    bool GoDown(Descriptor folder);

    // Goes up again and gives the folder that it comes from. False, with errno set, if the one above cannot be opened
    // or is another one now; then there is no way on from here.
    bool GoUp(Descriptor& left);

private:
    struct Level {
        Descriptor folder; // closed where it is too far up
        dev_t device = 0;  // what it was then
        ino_t number = 0;
    };

    bool CloseFarthest();
    bool OpenAgain(Level& level, int below) const;

    int place_;
    int flags_;
    std::vector<Level> levels_;
};

} // namespace Vellox::Posix
