#include "vellox/pathtext.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/text.h"
#include "scratch.h"
#include "system.h"

// Hand-written code is kept out of line, as the library's is.
#define OUT_OF_LINE [[gnu::noinline]]

namespace Vellox::Benchmarks {
namespace {

constexpr std::size_t bufferSize = 1040;

// ---- The hand-written code ----

std::string_view Extension(std::string_view path) {
    const char* dot = LastByte(path, '.');
    if (dot == nullptr)
        return path;
    const std::string_view extension(dot, static_cast<std::size_t>(path.data() + path.size() - dot));
    return extension.find('\\') == std::string_view::npos ? extension : path;
}

std::string_view FileNameOf(std::string_view path) {
    const char* separator = LastByte(path, '\\');
    return separator == nullptr ? path : path.substr(static_cast<std::size_t>(separator + 1 - path.data()));
}

std::string_view Parent(std::string_view path) {
    const char* backslash = LastByte(path, '\\');
    const std::string_view behind =
        path.substr(backslash == nullptr ? 0 : static_cast<std::size_t>(backslash - path.data()));
    const char* slash = LastByte(behind, '/');
    const char* end = slash != nullptr ? slash : backslash;
    return end == nullptr ? path : path.substr(0, static_cast<std::size_t>(end - path.data()));
}

// The tightest loop gives a view of the part.
template <std::string_view (*Part)(std::string_view)> OUT_OF_LINE std::string_view View(std::string_view path) {
    return Part(path);
}

OUT_OF_LINE std::string ExtensionFloor(std::string& path) {
    return std::string(Extension(path));
}

// The library's function, too, reads up to the first NUL.
OUT_OF_LINE std::string FileNameFloor(std::string path) {
    return std::string(FileNameOf(path.c_str()));
}

OUT_OF_LINE std::string ParentFloor(std::string path) {
    return std::string(Parent(path));
}

OUT_OF_LINE std::string_view ReplacedExtensionLimit(std::string_view path, std::string_view extension, char* buffer) {
    const std::string_view old = Extension(path);
    const std::size_t stem = path.size() - (old.size() == path.size() ? 0 : old.size());
    std::memcpy(buffer, path.data(), stem);
    std::memcpy(buffer + stem, extension.data(), extension.size());
    return {buffer, stem + extension.size()};
}

OUT_OF_LINE std::string ReplacedExtensionFloor(std::string path, std::string extension) {
    const std::string_view old = Extension(path);
    const std::size_t stem = path.size() - (old.size() == path.size() ? 0 : old.size());
    std::string replaced;
    replaced.reserve(stem + extension.size());
    replaced.append(path, 0, stem).append(extension);
    return replaced;
}

bool IsSeparator(char character) {
    return character == '\\' || character == '/';
}

// Resolves `.` and `..` and doubled separators behind what the buffer holds already, one byte after the other.
std::size_t AppendNormal(std::string_view path, char* buffer, std::size_t length) {
    constexpr std::size_t root = 3;
    std::size_t position = 0;
    while (position < path.size()) {
        const std::size_t start = length;
        while (position < path.size() && !IsSeparator(path[position]))
            buffer[length++] = path[position++];
        const std::size_t size = length - start;
        if (size == 1 && buffer[start] == '.') {
            length = start;
        } else if (size == 2 && buffer[start] == '.' && buffer[start + 1] == '.') {
            length = start;
            while (length > root && buffer[--length - 1] != '\\') {
            }
        } else if (size != 0 && position < path.size()) {
            buffer[length++] = '\\';
        }
        ++position;
    }
    buffer[length] = '\0';
    return length;
}

// For a path on a drive.
OUT_OF_LINE std::string_view NormalForm(std::string_view path, char* buffer) {
    std::memcpy(buffer, path.data(), 2);
    buffer[2] = '\\';
    return {buffer, AppendNormal(path.substr(3), buffer, 3)};
}

OUT_OF_LINE std::string NormalFormFloor(std::string path) {
    char buffer[bufferSize];
    return std::string(NormalForm(path, buffer));
}

// Both paths are absolute and normal.
OUT_OF_LINE std::string_view RelativePath(std::string_view otherFile, std::string_view path, char* buffer) {
    std::size_t common = 0;
    const std::size_t shorter = std::min(otherFile.size(), path.size());
    for (std::size_t position = 0; position < shorter; ++position) {
        if (FoldCase(otherFile[position]) != FoldCase(path[position]))
            break;
        if (path[position] == '\\')
            common = position + 1;
    }
    std::size_t length = 0;
    for (const char character : otherFile.substr(common)) {
        if (character == '\\') {
            length += std::string_view("..\\").copy(buffer + length, 3);
        }
    }
    std::memcpy(buffer + length, path.data() + common, path.size() - common);
    return {buffer, length + path.size() - common};
}

OUT_OF_LINE std::int32_t RelativePathFloor(std::string& result, const std::string& otherFile, const std::string& path) {
    char normalOther[bufferSize];
    char normalPath[bufferSize];
    char buffer[2 * bufferSize];
    result = RelativePath(NormalForm(otherFile, normalOther), NormalForm(path, normalPath), buffer);
    return 1;
}

// Of this form the compiler makes vector code.
OUT_OF_LINE bool EqualsLimit(std::string_view first, std::string_view second) {
    if (first.size() != second.size())
        return false;
    int difference = 0;
    for (std::size_t position = 0; position < first.size(); ++position)
        difference |= FoldCase(first[position]) ^ FoldCase(second[position]);
    return difference == 0;
}

OUT_OF_LINE bool IsBelowLimit(std::string_view path, std::string_view folder) {
    return path.size() > folder.size() && path[folder.size()] == '\\' &&
           EqualsLimit(path.substr(0, folder.size()), folder);
}

OUT_OF_LINE bool EqualsFloor(std::string first, std::string second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char one, char other) { return one == other || FoldCase(one) == FoldCase(other); });
}

OUT_OF_LINE bool IsBelowFloor(std::string path, std::string folder) {
    if (path.size() <= folder.size() || path[folder.size()] != '\\')
        return false;
    path.resize(folder.size());
    return EqualsFloor(std::move(path), std::move(folder));
}

OUT_OF_LINE std::size_t RoundTripLimit(std::string_view text, WideChar* wide, char* narrow) {
    for (std::size_t position = 0; position < text.size(); ++position)
        wide[position] = static_cast<unsigned char>(text[position]);
    benchmark::DoNotOptimize(*wide);
    for (std::size_t position = 0; position < text.size(); ++position)
        narrow[position] = static_cast<char>(wide[position]); // NOLINT(clang-analyzer-core.uninitialized.Assign)
    return text.size();
}

OUT_OF_LINE std::string RoundTripFloor(std::string text) {
    const auto isAscii = [](auto unit) { return unit >= 0 && unit < 0x80; };
    if (!std::all_of(text.begin(), text.end(), isAscii))
        return Vellox::WideToUtf8(Vellox::Utf8ToWide(text).c_str());
    WideString wide(text.begin(), text.end());
    benchmark::DoNotOptimize(wide);
    return std::string(wide.begin(), wide.end());
}

// ---- The texts ----

using Texts = std::vector<std::string>;

Texts& Paths() {
    static Texts paths = SamplePaths();
    return paths;
}

const Texts& NativePaths() {
    static const Texts paths = AsNative(SamplePaths());
    return paths;
}

const std::vector<fs::path>& ReadyPaths() {
    static const std::vector<fs::path> paths(NativePaths().begin(), NativePaths().end());
    return paths;
}

// With `.` and `..` and a doubled separator in each, as they come from the joining of folders.
Texts WithDetours(Texts paths) {
    for (std::string& path : paths) {
        const std::size_t middle = path.find_first_of("\\/", path.size() / 2 - 8);
        std::string detour = "/./Bounces/../";
        std::replace(detour.begin(), detour.end(), '/', path[middle]);
        path.insert(middle, detour);
    }
    return paths;
}

Texts WithoutRoot(Texts paths) {
    for (std::string& path : paths)
        path.erase(0, path.find_first_of("\\/") + 1);
    return paths;
}

Texts InOtherCase(Texts paths) {
    for (std::string& path : paths)
        std::transform(path.begin(), path.end(), path.begin(), FoldCase);
    return paths;
}

Texts Folders(Texts paths) {
    for (std::string& path : paths)
        path.erase(path.find_last_of("\\/"));
    return paths;
}

// ---- The jobs ----

// Calls the function for each text, and lets the compiler drop no result.
template <typename Inputs, typename Function> std::function<void()> ForEach(Inputs& inputs, Function function) {
    return [&inputs, function] {
        for (auto& input : inputs)
            benchmark::DoNotOptimize(function(input));
    };
}

// The tightest loops write into a buffer of the caller's.
template <typename Function> auto IntoBuffer(Function function) {
    return [function](const auto&... texts) {
        char buffer[2 * bufferSize];
        const std::string_view result = function(std::string_view(texts)..., buffer);
        benchmark::DoNotOptimize(buffer);
        return result;
    };
}

// The same for pairs: each text and the one at its place in the second list.
template <typename Inputs, typename Function>
std::function<void()> ForPairs(const Inputs& first, const Inputs& second, Function function) {
    return [&first, &second, function] {
        for (std::size_t index = 0; index < first.size(); ++index)
            benchmark::DoNotOptimize(function(first[index], second[index]));
    };
}

constexpr const char* fromString = "std::filesystem, from a string";
constexpr const char* fromPath = "std::filesystem, from its path";
constexpr const char* byHand = "by hand";

void AddParts(Variants& variants) {
    using namespace Vellox::FileNames;
    const Job extension(variants, "extension", SamplePaths().size());
    extension.Add(Role::Limit, "view", ForEach(Paths(), View<Extension>));
    extension.Add(Role::Floor, byHand, ForEach(Paths(), ExtensionFloor));
    extension.Add(Role::Library, "GetExtension",
                  ForEach(Paths(), [](std::string& path) { return GetExtension(path); }));
    extension.Add(Role::Peer, fromString,
                  ForEach(NativePaths(), [](const std::string& path) { return fs::path(path).extension().string(); }));
    extension.Add(Role::Peer, fromPath, ForEach(ReadyPaths(), [](const fs::path& path) { return path.extension(); }));

    const Job name(variants, "file name", SamplePaths().size());
    name.Add(Role::Limit, "view", ForEach(Paths(), View<FileNameOf>));
    name.Add(Role::Floor, byHand, ForEach(Paths(), FileNameFloor));
    name.Add(Role::Library, "GetFilenameWithoutPath",
             ForEach(Paths(), [](const std::string& path) { return GetFilenameWithoutPath(path); }));
    name.Add(Role::Peer, fromString,
             ForEach(NativePaths(), [](const std::string& path) { return fs::path(path).filename().string(); }));
    name.Add(Role::Peer, fromPath, ForEach(ReadyPaths(), [](const fs::path& path) { return path.filename(); }));

    const Job parent(variants, "parent", SamplePaths().size());
    parent.Add(Role::Limit, "view", ForEach(Paths(), View<Parent>));
    parent.Add(Role::Floor, byHand, ForEach(Paths(), ParentFloor));
    parent.Add(Role::Library, "GetFolderPathFromFilename", ForEach(Paths(), GetFolderPathFromFilename));
    parent.Add(Role::Peer, fromString,
               ForEach(NativePaths(), [](const std::string& path) { return fs::path(path).parent_path().string(); }));
    parent.Add(Role::Peer, fromPath, ForEach(ReadyPaths(), [](const fs::path& path) { return path.parent_path(); }));

    static const std::string peaks = ".peaks";
    const Job replaced(variants, "replaced extension", SamplePaths().size());
    replaced.Add(Role::Limit, "view and buffer", ForEach(Paths(), IntoBuffer([](std::string_view path, char* buffer) {
                                                             return ReplacedExtensionLimit(path, peaks, buffer);
                                                         })));
    replaced.Add(Role::Floor, byHand,
                 ForEach(Paths(), [](const std::string& path) { return ReplacedExtensionFloor(path, peaks); }));
    replaced.Add(Role::Library, "ExtensionChange",
                 ForEach(Paths(), [](const std::string& path) { return ExtensionChange(path, peaks); }));
    replaced.Add(Role::Peer, fromString, ForEach(NativePaths(), [](const std::string& path) {
                     return fs::path(path).replace_extension(peaks).string();
                 }));
    replaced.Add(Role::Peer, fromPath,
                 ForEach(ReadyPaths(), [](fs::path path) { return path.replace_extension(peaks); }));
}

void AddNormalForms(Variants& variants) {
    static const Texts detours = WithDetours(SamplePaths());
    static const Texts nativeDetours = WithDetours(NativePaths());
    static const std::vector<fs::path> readyDetours(nativeDetours.begin(), nativeDetours.end());
    const Job absolute(variants, "normal form, absolute", SamplePaths().size());
    absolute.Add(Role::Limit, "one pass", ForEach(detours, IntoBuffer(NormalForm)));
    absolute.Add(Role::Floor, byHand, ForEach(detours, NormalFormFloor));
    absolute.Add(Role::Library, "NormalizePath", ForEach(detours, FileNames::NormalizePath));
    absolute.Add(Role::Peer, fromString, ForEach(nativeDetours, [](const std::string& path) {
                     return fs::path(path).lexically_normal().string();
                 }));
    absolute.Add(Role::Peer, fromPath,
                 ForEach(readyDetours, [](const fs::path& path) { return path.lexically_normal(); }));

    static const Texts relativePaths = WithoutRoot(detours);
    static const Texts nativeRelativePaths = WithoutRoot(nativeDetours);
    const auto withCurrentFolder = [](std::string_view path, char* buffer) {
        const std::string current = fs::current_path().string();
        std::size_t length = std::string_view("C:\\").copy(buffer, 3);
        length = AppendNormal(std::string_view(current).substr(1), buffer, length);
        buffer[length++] = '\\';
        return std::string_view(buffer, AppendNormal(path, buffer, length));
    };
    const Job relative(variants, "normal form, relative", SamplePaths().size());
    relative.Add(Role::Floor, byHand, ForEach(relativePaths, [withCurrentFolder](std::string path) {
                     char buffer[2 * bufferSize];
                     return std::string(withCurrentFolder(path, buffer));
                 }));
    relative.Add(Role::Library, "NormalizePath", ForEach(relativePaths, FileNames::NormalizePath));
    relative.Add(Role::Peer, fromString, ForEach(nativeRelativePaths, [](const std::string& path) {
                     return fs::absolute(path).lexically_normal().string();
                 }));
}

void AddRelations(Variants& variants) {
    static const Texts& paths = Paths();
    static const Texts others = [] {
        Texts shifted = SamplePaths();
        std::rotate(shifted.begin(), shifted.begin() + 1, shifted.end());
        return shifted;
    }();
    static const Texts nativeOthers = AsNative(others);
    const Job relative(variants, "relative path", SamplePaths().size());
    relative.Add(Role::Limit, "one pass", ForPairs(others, paths, IntoBuffer(RelativePath)));
    relative.Add(Role::Floor, byHand, ForPairs(others, paths, [](const std::string& other, const std::string& path) {
                     std::string result;
                     RelativePathFloor(result, other, path);
                     return result;
                 }));
    relative.Add(Role::Library, "GetPathRelativeToOtherFile",
                 ForPairs(others, paths, [](const std::string& other, const std::string& path) {
                     std::string result;
                     FileNames::GetPathRelativeToOtherFile(result, other, path);
                     return result;
                 }));
    relative.Add(Role::Peer, fromString,
                 ForPairs(nativeOthers, NativePaths(), [](const std::string& other, const std::string& path) {
                     return fs::path(path).lexically_relative(fs::path(other).parent_path()).string();
                 }));

    static const Texts lowerCase = InOtherCase(paths);
    const Job compare(variants, "compare", SamplePaths().size());
    compare.Add(Role::Limit, "view", ForPairs(paths, lowerCase, EqualsLimit));
    compare.Add(Role::Floor, byHand, ForPairs(paths, lowerCase, EqualsFloor));
    compare.Add(Role::Library, "CompareNormalizedPaths", ForPairs(paths, lowerCase, FileNames::CompareNormalizedPaths));
    compare.Add(Role::Peer, "std::filesystem, with case, from strings",
                ForPairs(NativePaths(), NativePaths(), [](const std::string& first, const std::string& second) {
                    return fs::path(first) == fs::path(second);
                }));

    static const Texts folders = Folders(lowerCase);
    static const Texts nativeFolders = Folders(NativePaths());
    const Job below(variants, "below", SamplePaths().size());
    below.Add(Role::Limit, "view", ForPairs(paths, folders, IsBelowLimit));
    below.Add(Role::Floor, byHand, ForPairs(paths, folders, IsBelowFloor));
    below.Add(Role::Library, "IsPathBelow", ForPairs(paths, folders, FileNames::IsPathBelow));
    below.Add(Role::Peer, "std::filesystem, with case, from strings",
              ForPairs(NativePaths(), nativeFolders, [](const std::string& first, const std::string& second) {
                  const fs::path path(first);
                  const fs::path folder(second);
                  return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
              }));
}

void AddConversions(Variants& variants) {
    const Job conversion(variants, "UTF-8 to UTF-16 and back", SamplePaths().size());
    conversion.Add(Role::Limit, "bytes, unchecked", ForEach(Paths(), [](std::string_view text) {
                       WideChar wide[bufferSize];
                       char narrow[bufferSize];
                       const std::size_t length = RoundTripLimit(text, wide, narrow);
                       benchmark::DoNotOptimize(narrow);
                       return length;
                   }));
    conversion.Add(Role::Floor, byHand, ForEach(Paths(), RoundTripFloor));
    conversion.Add(Role::Library, "Utf8ToWide, WideToUtf8", ForEach(Paths(), [](const std::string& text) {
                       return Vellox::WideToUtf8(Vellox::Utf8ToWide(text).c_str());
                   }));
    conversion.Add(Role::Peer, "std::filesystem, from a string", ForEach(Paths(), [](const std::string& text) {
                       return fs::path(fs::u8path(text).u16string()).string();
                   }));
}

} // namespace

void AddPathText(Variants& variants) {
    AddParts(variants);
    AddNormalForms(variants);
    AddRelations(variants);
    AddConversions(variants);
}

} // namespace Vellox::Benchmarks
