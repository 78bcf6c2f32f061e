#include "scratch.h"

#include <algorithm>
#include <fstream>
#include <map>

#include "system.h"

namespace Vellox::Benchmarks {
namespace {

constexpr std::size_t filesInFolder = 100;

class ScratchFolder {
public:
    ScratchFolder() : path_(fs::temp_directory_path() / ("vellox-bench-" + std::to_string(ProcessNumber()))) {
        fs::create_directory(path_);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

// Gives what was made for that size, or makes it.
template <typename Make>
const fs::path& MadeOnce(std::map<std::size_t, fs::path>& made, std::size_t size, const char* name, Make make) {
    const auto [place, isNew] = made.try_emplace(size);
    if (isNew) {
        place->second = Scratch() / (name + std::to_string(size));
        make(place->second);
    }
    return place->second;
}

std::string TreeFolder(std::size_t number) {
    return "Session " + std::to_string(number);
}

} // namespace

const fs::path& Scratch() {
    static const ScratchFolder folder;
    return folder.Path();
}

std::string Win32(const fs::path& path) {
    std::string text = path.string();
    std::replace(text.begin(), text.end(), '/', '\\');
    return text[0] == '\\' ? "C:" + text : text;
}

const std::vector<std::string>& SamplePaths() {
    static const std::vector<std::string> paths = [] {
        const char* const words[] = {"Samples", "Drums and Percussion", "Morning Light", "Takes", "2024", "Mixdown",
                                     "Strings", "Live at the old mill"};
        std::vector<std::string> made;
        std::size_t state = 1;
        for (std::size_t number = 0; number < 64; ++number) {
            const std::size_t wanted = 40 + number * 120 / 63;
            const std::string name =
                "\\Take " + std::to_string(1000 + number * 37) + (number % 2 == 0 ? ".wav" : ".sng");
            std::string path = "C:\\Users\\Musician";
            while (path.size() + name.size() < wanted) {
                state = state * 1103515245 + 12345;
                path.append("\\").append(words[state / 65536 % std::size(words)]);
            }
            path.resize(wanted - name.size(), 'x');
            // A separator that the cut left at the end would be a doubled one.
            std::replace(path.end() - 1, path.end(), '\\', 'x');
            made.push_back(path + name);
        }
        return made;
    }();
    return paths;
}

std::vector<std::string> AsNative(const std::vector<std::string>& paths) {
    std::vector<std::string> native = paths;
    for (std::string& path : native) {
        if (fs::path::preferred_separator == '\\')
            continue;
        path.erase(0, 2);
        std::replace(path.begin(), path.end(), '\\', '/');
    }
    return native;
}

std::string FileName(std::size_t number) {
    const std::string count = std::to_string(1'000'000 + number);
    return number % 2 == 0 ? "Take " + count.substr(1) + ".wav" : "Vocals, take " + count.substr(1) + ".peaks";
}

void WriteFile(const fs::path& path, std::string_view content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush())
        throw std::runtime_error("cannot write " + path.string());
}

void MakeFlatFolder(const fs::path& folder, std::size_t files) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (std::size_t number = 0; number < files; ++number)
        WriteFile(folder / FileName(number), {});
}

const fs::path& FlatFolder(std::size_t files) {
    static std::map<std::size_t, fs::path> made;
    return MadeOnce(made, files, "flat ", [&](const fs::path& folder) { MakeFlatFolder(folder, files); });
}

std::vector<std::string> TreeFolders(std::size_t files) {
    std::vector<std::string> folders;
    for (std::size_t number = 0; number * filesInFolder < files; ++number)
        folders.push_back(TreeFolder(number));
    return folders;
}

std::vector<std::string> TreeFiles(std::size_t files) {
    std::vector<std::string> names;
    for (std::size_t number = 0; number < files; ++number)
        names.push_back(TreeFolder(number / filesInFolder) + "/" + FileName(number));
    return names;
}

const fs::path& Tree(std::size_t files) {
    static std::map<std::size_t, fs::path> made;
    return MadeOnce(made, files, "tree ", [&](const fs::path& folder) {
        for (const std::string& name : TreeFolders(files))
            fs::create_directories(folder / name);
        for (const std::string& name : TreeFiles(files))
            WriteFile(folder / name, std::string(smallFileSize, 'x'));
    });
}

const fs::path& CopiedTree() {
    static const fs::path copy = Scratch() / "copied tree";
    return copy;
}

void CopyTreeAnew(std::size_t files) {
    fs::remove_all(CopiedTree());
    fs::copy(Tree(files), CopiedTree(), fs::copy_options::recursive);
}

const fs::path& LargeFile(std::size_t size) {
    static std::map<std::size_t, fs::path> made;
    return MadeOnce(made, size, "large ", [&](const fs::path& path) { WriteFile(path, std::string(size, 'x')); });
}

const fs::path& TakenFolder(std::size_t taken) {
    static std::map<std::size_t, fs::path> made;
    return MadeOnce(made, taken, "taken ", [&](const fs::path& folder) {
        fs::create_directory(folder);
        WriteFile(folder / "take.wav", {});
        for (std::size_t number = 1; number < taken; ++number)
            WriteFile(folder / ("take" + std::to_string(number) + ".wav"), {});
    });
}

} // namespace Vellox::Benchmarks
