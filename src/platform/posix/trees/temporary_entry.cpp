#include "platform/posix/trees/temporary_entry.h"

#include <fcntl.h>

#include <cstdio>

#include "platform/posix/base/errors.h"
#include "platform/posix/base/rename.h"
#include "platform/posix/trees/delete.h"

namespace Vellox::Posix {

TemporaryEntry::~TemporaryEntry() {
    if (name_.empty())
        return;
    const KeptErrors errors;
    DeleteTreeEntry({folder_, name_.c_str()});
}

bool TemporaryEntry::Publish(const char* name, Existing existing) {
    const bool published = existing == Existing::Replace ? ::renameat(folder_, name_.c_str(), folder_, name) == 0
                                                         : RenameIntoFreeName(folder_, name_.c_str(), folder_, name);
    if (!published)
        return errno == EEXIST ? Fail(ERROR_FILE_EXISTS) : FailWritingFromErrno();
    name_.clear();
    return true;
}

} // namespace Vellox::Posix
