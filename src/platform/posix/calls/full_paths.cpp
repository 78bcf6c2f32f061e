#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "platform/posix/base/components.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/utf.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

// The components of the current directory, without the root in front of them.
template <typename Char> class CurrentFolder {
public:
    bool Read() {
        char path[PATH_MAX];
        if (::getcwd(path, sizeof path) == nullptr)
            return FailFromErrno();
        // getcwd of Linux tells a folder outside of the process's root as "(unreachable)/...". And a name with a
        // backslash in it would become another path.
        if (path[0] != '/' || std::strchr(path, '\\') != nullptr)
            return Fail(ERROR_PATH_NOT_FOUND);
        Take({path + 1, std::strlen(path + 1)});
        return true;
    }
    std::basic_string_view<Char> Components() const { return {text_, length_}; }

private:
    void Take(std::string_view path) {
        if constexpr (sizeof(Char) == 1)
            length_ = path.copy(text_, path.size());
        else
            length_ = DecodeUtf8(path.data(), path.size(), text_, PATH_MAX);
    }

    Char text_[PATH_MAX];
    std::size_t length_ = 0;
};

// How much of the path is the root of its share: `\\server\share\` of `\\server\share\folder\file`.
template <typename Char> std::size_t ShareRootLength(std::basic_string_view<Char> path) {
    std::size_t position = 2;
    for (int part = 0; part < 2; ++part) {
        while (position < path.size() && !IsSeparator(path[position]))
            ++position;
        while (position < path.size() && IsSeparator(path[position]))
            ++position;
    }
    return position;
}

template <typename Char> void PutShareRoot(ComponentWriter<Char>& writer, std::basic_string_view<Char> root) {
    const Char separator[] = {'\\'};
    writer.PutRoot({separator, 1});
    writer.PutRoot({separator, 1});
    for (std::size_t position = 2; position < root.size();) {
        std::size_t end = position;
        while (end < root.size() && !IsSeparator(root[end]))
            ++end;
        writer.PutRoot(root.substr(position, end - position));
        if (end < root.size())
            writer.PutRoot({separator, 1});
        while (end < root.size() && IsSeparator(root[end]))
            ++end;
        position = end;
    }
}

template <typename Char> struct FullPathParts {
    std::basic_string_view<Char> shareRoot; // empty for a path on a drive
    Char drive = 'C';
    std::basic_string_view<Char> currentFolder; // empty for a path that starts at its root
    std::basic_string_view<Char> path;

    std::size_t LongestResult() const { return shareRoot.size() + 4 + currentFolder.size() + path.size() + 1; }
};

template <typename Char>
bool TakeParts(FullPathParts<Char>& parts, std::basic_string_view<Char> path, CurrentFolder<Char>& current) {
    if (IsOnShare(path)) {
        const std::size_t rootLength = ShareRootLength(path);
        parts.shareRoot = path.substr(0, rootLength);
        parts.path = path.substr(rootLength);
        return true;
    }
    const bool hasDrive = HasDrive(path);
    if (hasDrive)
        parts.drive = path[0];
    parts.path = path.substr(hasDrive ? 2 : 0);
    const bool startsAtRoot = !parts.path.empty() && IsSeparator(parts.path[0]);
    if (startsAtRoot || !IsRootDrive(parts.drive))
        return true;
    if (!current.Read())
        return false;
    parts.currentFolder = current.Components();
    return true;
}

template <typename Char> std::size_t WriteFullPath(const FullPathParts<Char>& parts, Char* output) {
    ComponentWriter<Char> writer(output, '\\');
    if (parts.shareRoot.empty()) {
        const Char root[] = {parts.drive, ':', '\\'};
        writer.PutRoot({root, 3});
    } else {
        PutShareRoot(writer, parts.shareRoot);
    }
    writer.PutComponents(parts.currentFolder);
    writer.PutComponents(parts.path);
    if (!parts.path.empty() && IsSeparator(parts.path.back()))
        writer.PutSeparator();
    return writer.Finish();
}

// The length of the full path, which is in the buffer if it is smaller than the capacity; 0 if there is none.
template <typename Char>
std::size_t MakeFullPath(Char* buffer, std::basic_string_view<Char> path, std::size_t capacity) {
    FullPathParts<Char> parts;
    CurrentFolder<Char> current;
    if (!TakeParts(parts, path, current))
        return 0;
    if (parts.LongestResult() <= capacity)
        return WriteFullPath(parts, buffer);
    // The buffer has no room for the text as it stands. It may still have room for the result, as `..` takes components
    // away, so that is made in memory of its own first.
    const std::unique_ptr<Char[]> full(new (std::nothrow) Char[parts.LongestResult()]);
    if (full == nullptr)
        return static_cast<std::size_t>(Fail(ERROR_NOT_ENOUGH_MEMORY));
    const std::size_t length = WriteFullPath(parts, full.get());
    if (length < capacity)
        std::copy_n(full.get(), length + 1, buffer);
    return length;
}

template <typename Char> Char* FullPath(Char* buffer, std::basic_string_view<Char> path, std::size_t capacity) {
    const std::size_t length = MakeFullPath(buffer, path, capacity);
    if (length >= capacity)
        Fail(ERROR_FILENAME_EXCED_RANGE);
    return length != 0 && length < capacity ? buffer : nullptr;
}

} // namespace

char* _fullpath(char* buffer, const char* path, std::size_t capacity) {
    return FullPath(buffer, std::string_view(path), capacity);
}

WCHAR* _wfullpath(WCHAR* buffer, const WCHAR* path, std::size_t capacity) {
    return FullPath(buffer, std::u16string_view(path), capacity);
}

DWORD GetFullPathNameA(const char* path, DWORD capacity, char* buffer, char** /*filePart*/) {
    if (*path == '\0')
        return static_cast<DWORD>(Fail(ERROR_PATH_NOT_FOUND));
    const std::size_t length = MakeFullPath(buffer, std::string_view(path), capacity);
    return static_cast<DWORD>(length < capacity ? length : length + 1);
}
