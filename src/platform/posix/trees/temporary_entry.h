#pragma once

#include <cerrno>
#include <string>

#include "platform/posix/base/entry.h"

namespace Vellox::Posix {

// What becomes of an entry that already has the name. There can be none in a folder of our own that nobody else knows.
enum class Existing { Refuse, Replace, Impossible };

// A name in a folder under which an entry is prepared before it takes its own name in one step. An entry that never
// got there is removed.
class TemporaryEntry {
public:
    explicit TemporaryEntry(int folder) : folder_(folder) {}
    TemporaryEntry(const TemporaryEntry&) = delete;
    TemporaryEntry& operator=(const TemporaryEntry&) = delete;
    ~TemporaryEntry();

    // Calls make(folder, name), which creates the entry exclusively and gives -1 with errno set on failure, until a
    // name was free. Gives the result of make.
    template <typename Make> int Create(Make make);

    // Gives the entry its own name. False, with the last error set, on failure.
    bool Publish(const char* name, Existing existing);

    int Folder() const { return folder_; }
    const char* Name() const { return name_.c_str(); }

private:
    int folder_;
    std::string name_; // empty when there is nothing to remove
};

template <typename Make> int TemporaryEntry::Create(Make make) {
    int result = -1;
    do {
        name_ = NextTemporaryName();
        result = make(folder_, name_.c_str());
    } while (result == -1 && errno == EEXIST);
    if (result == -1)
        name_.clear();
    return result;
}

} // namespace Vellox::Posix
