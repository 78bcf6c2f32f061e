#pragma once

#include <climits>
#include <string>
#include <string_view>

#include "platform/posix/win32.h"

namespace Vellox::Posix {

// The place on this system that a Win32 path means. Drive C: is the root; no other drive and no share exists. Both
// separators count, and `.` and `..` are resolved in the text, as Win32 does before it looks at the disk.
class PosixPath {
public:
    explicit PosixPath(const char* path);
    explicit PosixPath(const WCHAR* path) : PosixPath(std::u16string_view(path)) {}
    explicit PosixPath(std::u16string_view path);

    // False if the path names no place here; the last error says why.
    bool IsValid() const { return length_ != 0; }
    const char* Text() const { return text_; }
    std::string_view View() const { return {text_, length_}; }

private:
    void Translate(std::string_view path);

    // Not zeroed: nearly every call makes a path, and few are longer than a hundred of these bytes.
    char text_[PATH_MAX];
    std::size_t length_ = 0;
};

// The last component of a path, and the folder it stands in, both without trailing separators. The folder of a
// single name is ".". The root, "." and ".." have no name, and the answer is false.
struct Place {
    std::string folder;
    std::string name;
};
bool SplitLastComponent(std::string_view posixPath, Place& place);

// An absolute path of this system as Win32 text on drive C:. A backslash in a name becomes U+FFFD, as it would be read
// as a separator, and the text would be the path of something else.
std::string ToWin32Text(std::string_view posixPath);

} // namespace Vellox::Posix
