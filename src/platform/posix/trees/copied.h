#pragma once

#include <sys/stat.h>

#include <ctime>
#include <unordered_map>

#include "platform/posix/trees/attributes.h"
#include "platform/posix/trees/nesting.h"

// What a move by copy knows of the files that it has copied.

namespace Vellox::Posix {

// What a file was like at one moment.
struct FileState {
    Identity identity;
    off_t size;
    struct timespec modified;
    struct timespec changed; // also by whoever sets the other time back
};

FileState StateOf(const struct stat& status);

// True if the file is still the same one and neither its size nor a time has changed.
bool IsInState(const struct stat& status, const FileState& state);

// The same without the time of the last change, which a rename and a further link set on most file systems.
bool HasStateOfContents(const struct stat& status, const FileState& state);

// What both were like when the copy was found to hold the same. Also for a link or a FIFO, but not for a folder.
struct CopiedFile {
    FileState source;
    FileState copy;
    bool showsWrites; // whatever is written to the source after that moment shows in its times
};

// By the identity of the source. Names that are links to one file have one entry.
class CopiedFiles {
public:
    void Add(const CopiedFile& file) { files_[file.source.identity] = file; }

    // Null if that file was not copied.
    const CopiedFile* Find(const struct stat& source) const;

    // The states of all copies, by their identity.
    std::unordered_map<Identity, FileState, HashOfIdentity> Copies() const;

private:
    std::unordered_map<Identity, CopiedFile, HashOfIdentity> files_;
};

// Copies an open file with all that a move keeps into an open empty one, which can be read too, and looks whether the
// copy holds what the source holds then. False, with the last error set, if it does not or if that cannot be told, as
// when someone writes to the source.
bool CopyForMove(const OpenEntry& source, int copy, CopiedFile& copied);

// Compares so many bytes from the beginning of two open files, whatever was read before.
bool HoldSameBytes(int first, int second, off_t size);

// True if two links name the same target.
bool HoldSameTarget(Entry first, Entry second);

} // namespace Vellox::Posix
