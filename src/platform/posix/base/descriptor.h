#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <utility>

#include "platform/posix/base/errors.h"

namespace Vellox::Posix {

// Owns a file descriptor; -1 is none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }

    explicit operator bool() const { return number_ >= 0; }
    int Get() const { return number_; }
    int Release() { return std::exchange(number_, -1); }

private:
    int number_ = -1;
};

// No signal keeps a file from being opened.
inline Descriptor Open(const char* path, int flags, mode_t mode = 0) {
    return Descriptor(Retried([&] { return ::open(path, flags, mode); }));
}
inline Descriptor OpenAt(int folder, const char* name, int flags, mode_t mode = 0) {
    return Descriptor(Retried([&] { return ::openat(folder, name, flags, mode); }));
}

// A folder as a place to name entries in. It need not be readable, and nothing can be read from it.
enum class Links { Follow, Refuse };
inline Descriptor OpenPlaceAt(int folder, const char* name, Links links) {
    return OpenAt(folder, name, O_PATH | O_DIRECTORY | O_CLOEXEC | (links == Links::Refuse ? O_NOFOLLOW : 0));
}
inline Descriptor OpenPlace(const char* path) {
    return OpenPlaceAt(AT_FDCWD, path, Links::Follow);
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

} // namespace Vellox::Posix
