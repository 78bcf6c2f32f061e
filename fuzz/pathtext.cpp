#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "check.h"
#include "frame/text.h"
#include "vellox/pathtext.h"

using namespace Vellox::FileNames;

namespace {

constexpr std::size_t longestFullPath = 1039;

void CheckExtensions(std::string path, const std::string& text) {
    CHECK(path.ends_with(GetExtension(path)));
    CHECK(HasExtension(path) || GetExtensionWithoutDot(path).empty());
    CHECK(ExtensionChange(path, text).ends_with(text));
    CHECK(ForceExtension(path, text).size() <= path.size() + text.size());
    CHECK(CheckAppendExtension(path, text).starts_with(path));
    CHECK(AppendStringBeforeExtension(path, text).size() == path.size() + text.size());

    const std::string before(Vellox::UpToNul(path));
    const std::string extension(Vellox::UpToNul(text));
    const auto buffer = std::make_unique<char[]>(before.size() + extension.size() + 2); // as large as promised
    before.copy(buffer.get(), before.size());
    CHECK(extension_change(buffer.get(), extension.c_str()) == 1);
    CHECK(std::string_view(buffer.get()).ends_with("." + extension));
}

// In place: either the result of the other form or the empty text, and no character beyond the capacity.
template <typename Char> void CheckInPlace(const std::basic_string<Char>& path, std::size_t capacity) {
    const std::basic_string<Char> text = path.substr(0, path.find(Char{0}));
    const std::size_t characters = std::max(text.size() + 1, capacity / sizeof(Char));
    const auto buffer = std::make_unique<Char[]>(characters);
    std::fill_n(buffer.get(), characters, Char{'#'});
    text.copy(buffer.get(), text.size());
    buffer[text.size()] = 0;
    const std::basic_string<Char> before(buffer.get(), characters);
    path_rimuovifilename(buffer.get(), static_cast<std::int32_t>(capacity));
    const std::size_t untouched = std::min(capacity / sizeof(Char), characters);
    CHECK(std::equal(before.begin() + static_cast<std::ptrdiff_t>(untouched), before.end(), buffer.get() + untouched));
    if (capacity >= sizeof(Char)) {
        const std::basic_string<Char> result(buffer.get());
        CHECK(result.empty() || result == path_rimuovifilename(text));
        CHECK(result.size() < capacity / sizeof(Char));
    }
}

void CheckFileNames(std::string path, const std::string& text) {
    const std::string beforeNul(Vellox::UpToNul(path));
    CHECK(beforeNul.ends_with(GetFilenameWithoutPath(path)));
    CHECK(path.starts_with(GetFilenameWithoutExtension(path)));
    CHECK(path.starts_with(GetFolderPathFromFilename(path)));
    CHECK(FormatDirectory(path) == path + "\\*");
    CHECK(GetPathRoot(path).empty() || (GetPathRoot(path).size() == 2 && path.starts_with(GetPathRoot(path))));
    const std::string folder = path_rimuovifilename(path);
    CHECK(folder.size() <= longestFullPath && (folder.empty() || folder.back() == '\\'));
    CHECK(GetPathWithoutFilename(path) == path_rimuovifilename(beforeNul));
    CHECK(AppendStringBeforeFilename(path, text) == folder + text + GetFilenameWithoutPath(path));
    CheckInPlace(path, text.size());
    CheckInPlace(path, text.size() + longestFullPath);
    Vellox::WideString wide(path.begin(), path.end());
    CHECK(wide.ends_with(GetExtension(wide)) && GetFilenameWithoutPath(wide).size() <= wide.size());
    CheckInPlace(wide, text.size());
    CheckInPlace(wide, 2 * (text.size() + longestFullPath));
}

void CheckNormalForms(std::string path, const std::string& folder) {
    const std::string normal = NormalizePath(path);
    CHECK(normal.size() <= longestFullPath || normal == path);
    CHECK(normal.empty() || NormalizePath(normal) == normal);
    const std::string folded = NormalizePathCase(path);
    CHECK(CompareNormalizedPaths(path, folded) && folded.size() == path.size());
    CHECK(IsPathBelow(folder + "\\" + path, folder));
    const std::string local = ConvertPathToLocalSystem(path);
    CHECK(local.size() <= path.size() + 2 && local.find('/') == std::string::npos);
}

void CheckRelative(const std::string& path, const std::string& otherFile) {
    std::string relative = "as it was";
    const std::string absolute = GetAbsolutePath(path, otherFile.c_str());
    CHECK(absolute.size() <= longestFullPath || absolute == path);
    CHECK(GetAbsolutePath(path, nullptr).size() <= std::max(longestFullPath, path.size()));
    if (GetPathRelativeToOtherFile(relative, otherFile, path) == 0) {
        CHECK(relative == "as it was");
        return;
    }
    // A name with a colon behind its first character is taken for a drive. No way leads from one share to another, and
    // nothing is relative to nothing.
    const bool endsEarly = (path + otherFile).find('\0') != std::string::npos;
    const bool hasNoWay =
        absolute.empty() || absolute.starts_with("\\\\") || (relative.size() > 1 && relative[1] == ':');
    const std::string back = GetAbsolutePath(relative, path_rimuovifilename(otherFile).c_str());
    CHECK(hasNoWay || endsEarly || back.empty() || CompareNormalizedPaths(back, absolute));
}

} // namespace

// The input is a path and, in the next line, another text.
extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    const std::string_view input(data, size);
    const std::size_t middle = std::min(input.find('\n'), size);
    const std::string path(input.substr(0, middle));
    const std::string text(input.substr(std::min(middle + 1, size)));
    CheckExtensions(path, text);
    CheckFileNames(path, text);
    CheckNormalForms(path, text);
    CheckRelative(path, text);
    return 0;
}
