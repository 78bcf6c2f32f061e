#include <iterator>

#include "scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::Benchmarks {
namespace {

const fs::path& Copy() {
    static const fs::path copy = Scratch() / "copied tree";
    return copy;
}

void RemoveCopy() {
    fs::remove_all(Copy());
}

void CopyByPeer(std::size_t files) {
    fs::copy(Tree(files), Copy(), fs::copy_options::recursive);
}

void MakeCopyAnew(std::size_t files) {
    RemoveCopy();
    CopyByPeer(files);
}

} // namespace

Variant CopyTreeByLibrary(std::string job, std::size_t files) {
    const auto copy = [=] { FileNames::CopyFolder(Win32(Tree(files)), Win32(Copy())); };
    return {std::move(job), Role::Library, "CopyFolder", files, copy, [=] { Tree(files); }, RemoveCopy};
}

Variant DeleteTreeByLibrary(std::string job, std::size_t files) {
    const auto remove = [] { FileNames::DeleteFolderWithContents(Win32(Copy()).c_str(), false, true); };
    const auto setUp = [=] { Tree(files); };
    return {std::move(job), Role::Library, "DeleteFolderWithContents",  files,
            remove,         setUp,         [=] { MakeCopyAnew(files); }};
}

void AddTrees(Variants& variants, const Sizes& sizes) {
    const std::size_t files = sizes.treeFiles;
    const auto setUp = [=] { Tree(files); };
    variants.push_back(CopyTreeByLibrary("copy a tree", files));
    variants.push_back({"copy a tree", Role::Peer, "std::filesystem::copy, without times", files,
                        [=] { CopyByPeer(files); }, setUp, RemoveCopy});
    variants.push_back(DeleteTreeByLibrary("delete a tree", files));
    variants.push_back({"delete a tree", Role::Peer, "std::filesystem::remove_all", files, RemoveCopy, setUp,
                        [=] { MakeCopyAnew(files); }});
}

} // namespace Vellox::Benchmarks
