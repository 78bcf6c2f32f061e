#include "platform/posix/base/paths.h"

#include <algorithm>
#include <cstring>

#include "platform/posix/base/components.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/utf.h"

namespace Vellox::Posix {

PosixPath::PosixPath(const char* path) {
    const std::size_t length = std::strlen(path);
    if (length >= sizeof text_) {
        Fail(ERROR_FILENAME_EXCED_RANGE);
        return;
    }
    std::memcpy(text_, path, length);
    Translate({text_, length});
}

PosixPath::PosixPath(std::u16string_view path) {
    const std::size_t length = EncodeUtf8(path.data(), path.size(), text_, sizeof text_ - 1);
    if (length == doesNotFit) {
        Fail(ERROR_FILENAME_EXCED_RANGE);
        return;
    }
    Translate({text_, length});
}

// The place is written over the text that it is read from, as it is never longer: `C:` goes, and no separator comes in.
void PosixPath::Translate(std::string_view path) {
    const bool hasDrive = HasDrive(path);
    if (path.empty() || IsOnShare(path) || (hasDrive && !IsRootDrive(path[0]))) {
        Fail(ERROR_PATH_NOT_FOUND);
        return;
    }
    const bool endsInSeparator = IsSeparator(path.back());
    if (hasDrive)
        path.remove_prefix(2);
    ComponentWriter<char> writer(text_, '/');
    if (!path.empty() && IsSeparator(path[0])) {
        path.remove_prefix(1);
        writer.PutRoot("/");
    }
    writer.PutComponents(path);
    if (writer.IsEmpty())
        writer.PutRoot(".");
    if (endsInSeparator)
        writer.PutSeparator();
    length_ = writer.Finish();
}

bool SplitLastComponent(std::string_view posixPath, Place& place) {
    while (posixPath.size() > 1 && posixPath.back() == '/')
        posixPath.remove_suffix(1);
    const std::size_t separator = posixPath.rfind('/');
    const std::string_view name = posixPath.substr(separator == std::string_view::npos ? 0 : separator + 1);
    if (name.empty() || name == "." || name == "..")
        return false;
    place.name = name;
    place.folder = separator == std::string_view::npos ? "." : posixPath.substr(0, std::max<std::size_t>(separator, 1));
    return true;
}

std::string ToWin32Text(std::string_view posixPath) {
    std::string text = "C:";
    for (const char character : posixPath) {
        if (character == '\\')
            text += "\uFFFD";
        else
            text += character == '/' ? '\\' : character;
    }
    return text;
}

} // namespace Vellox::Posix
