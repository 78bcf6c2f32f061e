#include <benchmark/benchmark.h>

#include <algorithm>

#include "scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::Benchmarks {
namespace {

template <typename Names> void Want(const Names& names, std::size_t count) {
    if (names.size() != count)
        throw std::runtime_error("a listing of " + std::to_string(names.size()) + " names");
}

template <typename IsWanted>
Variant ListByPeer(std::string job, std::size_t files, std::size_t expected, IsWanted isWanted) {
    const auto list = [=] {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(FlatFolder(files)))
            if (!entry.is_directory() && isWanted(entry.path()))
                names.push_back(entry.path().filename().string());
        Want(names, expected);
    };
    return {
        std::move(job), Role::Peer, "std::filesystem::directory_iterator", files, list, [=] { FlatFolder(files); }, {}};
}

Variant ListByPattern(std::string job, std::size_t files, const char* pattern, std::size_t expected) {
    const auto list = [=] { Want(FileNames::GetFolderFiles(Win32(FlatFolder(files)) + pattern), expected); };
    return {std::move(job), Role::Library, "GetFolderFiles", files, list, [=] { FlatFolder(files); }, {}};
}

void AddListing(Variants& variants, std::size_t files) {
    variants.push_back(ListByLibrary("list", files));
    variants.push_back(ListByPeer("list", files, files, [](const fs::path& /*name*/) { return true; }));
    variants.push_back(ListByPattern("list by a pattern", files, "\\*.wav", files / 2));
    variants.push_back(ListByPeer("list by a pattern", files, files / 2,
                                  [](const fs::path& name) { return name.extension() == ".wav"; }));
}

void AddQuestions(Variants& variants, const Sizes& sizes) {
    static const std::string path = Win32(FlatFolder(1) / FileName(0));
    static const std::string native = (FlatFolder(1) / FileName(0)).string();
    variants.push_back({"existence",
                        Role::Library,
                        "CheckFileExistsEvenIfNotAccessible",
                        1,
                        [] { benchmark::DoNotOptimize(FileNames::CheckFileExistsEvenIfNotAccessible(path)); },
                        {},
                        {}});
    variants.push_back({"existence",
                        Role::Peer,
                        "std::filesystem::exists",
                        1,
                        [] { benchmark::DoNotOptimize(fs::exists(native)); },
                        {},
                        {}});

    const std::size_t taken = sizes.taken;
    const auto setUp = [taken] { TakenFolder(taken); };
    variants.push_back({"free name",
                        Role::Library,
                        "ComposeNewFilenameAndCheckExists",
                        taken,
                        [taken] {
                            benchmark::DoNotOptimize(
                                FileNames::ComposeNewFilenameAndCheckExists(Win32(TakenFolder(taken)), "take", ".wav"));
                        },
                        setUp,
                        {}});
    variants.push_back({"free name",
                        Role::Peer,
                        "std::filesystem::exists",
                        taken,
                        [taken] {
                            std::string name = "take.wav";
                            for (int number = 1; fs::exists(TakenFolder(taken) / name); ++number)
                                name = "take" + std::to_string(number) + ".wav";
                            benchmark::DoNotOptimize(name);
                        },
                        setUp,
                        {}});
}

void AddCopying(Variants& variants, const Sizes& sizes) {
    static const fs::path copy = Scratch() / "copy.wav";
    const std::size_t size = sizes.largeFile;
    const auto setUp = [size] { LargeFile(size); };
    const auto renew = [] { fs::remove(copy); };
    variants.push_back({"copy a large file", Role::Library, "CopyFileA", 1,
                        [size] {
                            if (!FileNames::CopyFileA(Win32(LargeFile(size)), Win32(copy), true, nullptr))
                                throw std::runtime_error("no copy");
                        },
                        setUp, renew});
    variants.push_back({"copy a large file", Role::Peer, "std::filesystem::copy_file", 1,
                        [size] { fs::copy_file(LargeFile(size), copy); }, setUp, renew});
}

} // namespace

Variant ListByLibrary(std::string job, std::size_t files) {
    return ListByPattern(std::move(job), files, "\\*", files);
}

void AddFiles(Variants& variants, const Sizes& sizes) {
    AddListing(variants, sizes.listed);
    AddQuestions(variants, sizes);
    AddCopying(variants, sizes);
}

} // namespace Vellox::Benchmarks
