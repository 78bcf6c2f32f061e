#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Vellox::Benchmarks {

namespace fs = std::filesystem;

// The ways in which one job is done, each of which is measured:
//
//   limit    the bare system calls, or the tightest loop over views and buffers of the caller's
//   floor    what a careful programmer would write at the place of the call, with the library's signature: strings in
//            by value, a new string out, and the same conversions around a system call
//   library  the call of the library
//   peer     the nearest that any reader has
enum class Role { Limit, Floor, Library, Peer };

struct Variant {
    std::string job;
    Role role;
    std::string how;
    std::size_t items;           // operations in one run
    std::function<void()> run;   // what is measured
    std::function<void()> setUp; // once before the runs of a measurement, if there is anything to do
    std::function<void()> renew; // before every run, outside of the measurement; such a run is measured by itself
};

using Variants = std::vector<Variant>;

struct Sizes {
    std::size_t listed;       // names in the folder that is listed
    std::size_t treeFiles;    // files in the tree that is copied and deleted
    std::size_t trashed;      // files that go into the trash in one batch
    std::size_t taken;        // names that are not free any more
    std::size_t largeFile;    // bytes
    std::size_t largeProcess; // bytes
    std::vector<std::size_t> catalogues;
    std::vector<std::size_t> growth;
};

void AddPathText(Variants& variants);
void AddFiles(Variants& variants, const Sizes& sizes);
void AddTrees(Variants& variants, const Sizes& sizes);
void AddTrash(Variants& variants, const Sizes& sizes);

fs::path CatalogueFile();

// The library's part of the jobs whose cost grows with a size.
Variant ListByLibrary(std::string job, std::size_t files);
Variant CopyTreeByLibrary(std::string job, std::size_t files);
Variant DeleteTreeByLibrary(std::string job, std::size_t files);
Variant TrashByLibrary(std::string job, std::size_t files);
Variant AskCatalogueByLibrary(std::string job, std::size_t records);

} // namespace Vellox::Benchmarks
