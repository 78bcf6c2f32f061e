#include <benchmark/benchmark.h>

#include <algorithm>

#include "scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::Benchmarks {
namespace {

// ---- Listing ----

template <typename Names> void Want(const Names& names, std::size_t count) {
    if (names.size() != count)
        throw std::runtime_error("a listing of " + std::to_string(names.size()) + " names");
}

Action ListByLibrary(std::size_t files, const char* pattern, std::size_t expected) {
    return [=] { Want(FileNames::GetFolderFiles(Win32(FlatFolder(files)) + pattern), expected); };
}

template <typename IsWanted> Action ListByPeer(std::size_t files, std::size_t expected, IsWanted isWanted) {
    return [=] {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(FlatFolder(files)))
            if (!entry.is_directory() && isWanted(entry.path()))
                names.push_back(entry.path().filename().string());
        Want(names, expected);
    };
}

void AddListing(Variants& variants, std::size_t files) {
    const auto setUp = [=] { FlatFolder(files); };
    const char* const peer = "std::filesystem::directory_iterator";
    const Job list(variants, "list", files, setUp);
    list.Add(Role::Library, "GetFolderFiles", ListByLibrary(files, "\\*", files));
    list.Add(Role::Peer, peer, ListByPeer(files, files, [](const fs::path& /*name*/) { return true; }));

    const Job match(variants, "list by a pattern", files, setUp);
    match.Add(Role::Library, "GetFolderFiles", ListByLibrary(files, "\\*.wav", files / 2));
    match.Add(Role::Peer, peer,
              ListByPeer(files, files / 2, [](const fs::path& name) { return name.extension() == ".wav"; }));
}

// ---- Questions ----

void AddQuestions(Variants& variants, std::size_t taken) {
    static const std::string path = Win32(FlatFolder(1) / FileName(0));
    static const std::string native = (FlatFolder(1) / FileName(0)).string();
    const Job existence(variants, "existence", 1);
    existence.Add(Role::Library, "CheckFileExistsEvenIfNotAccessible",
                  [] { benchmark::DoNotOptimize(FileNames::CheckFileExistsEvenIfNotAccessible(path)); });
    existence.Add(Role::Peer, "std::filesystem::exists", [] { benchmark::DoNotOptimize(fs::exists(native)); });

    const Job freeName(variants, "free name", taken, [=] { TakenFolder(taken); });
    freeName.Add(Role::Library, "ComposeNewFilenameAndCheckExists", [=] {
        benchmark::DoNotOptimize(
            FileNames::ComposeNewFilenameAndCheckExists(Win32(TakenFolder(taken)), "take", ".wav"));
    });
    freeName.Add(Role::Peer, "std::filesystem::exists", [=] {
        std::string name = "take.wav";
        for (int number = 1; fs::exists(TakenFolder(taken) / name); ++number)
            name = "take" + std::to_string(number) + ".wav";
        benchmark::DoNotOptimize(name);
    });
}

// ---- Copying and deleting ----

void AddCopying(Variants& variants, std::size_t size) {
    static const fs::path copy = Scratch() / "copy.wav";
    const Job copying(variants, "copy a large file", 1, [=] { LargeFile(size); }, [] { fs::remove(copy); });
    copying.Add(Role::Library, "CopyFileA", [=] {
        if (!FileNames::CopyFileA(Win32(LargeFile(size)), Win32(copy), true, nullptr))
            throw std::runtime_error("no copy");
    });
    copying.Add(Role::Peer, "std::filesystem::copy_file", [=] { fs::copy_file(LargeFile(size), copy); });
}

void RemoveCopiedTree() {
    fs::remove_all(CopiedTree());
}

Job CopyingOfTree(Variants& variants, std::string name, std::size_t files) {
    Job job(variants, std::move(name), files, [=] { Tree(files); }, RemoveCopiedTree);
    job.Add(Role::Library, "CopyFolder", [=] { FileNames::CopyFolder(Win32(Tree(files)), Win32(CopiedTree())); });
    return job;
}

Job DeletionOfTree(Variants& variants, std::string name, std::size_t files) {
    Job job(variants, std::move(name), files, [=] { Tree(files); }, [=] { CopyTreeAnew(files); });
    job.Add(Role::Library, "DeleteFolderWithContents",
            [] { FileNames::DeleteFolderWithContents(Win32(CopiedTree()).c_str(), false, true); });
    return job;
}

} // namespace

void AddFilesOfSize(Variants& variants, std::size_t size) {
    Job(variants, GrowthOf("list", size), size, [=] {
        FlatFolder(size);
    }).Add(Role::Library, "GetFolderFiles", ListByLibrary(size, "\\*", size));
    CopyingOfTree(variants, GrowthOf("copy a tree", size), size);
    DeletionOfTree(variants, GrowthOf("delete a tree", size), size);
}

void AddFiles(Variants& variants, const Sizes& sizes) {
    const std::size_t files = sizes.treeFiles;
    AddListing(variants, sizes.listed);
    AddQuestions(variants, sizes.taken);
    AddCopying(variants, sizes.largeFile);
    CopyingOfTree(variants, "copy a tree", files).Add(Role::Peer, "std::filesystem::copy, without times", [=] {
        fs::copy(Tree(files), CopiedTree(), fs::copy_options::recursive);
    });
    DeletionOfTree(variants, "delete a tree", files).Add(Role::Peer, "std::filesystem::remove_all", RemoveCopiedTree);
}

} // namespace Vellox::Benchmarks
