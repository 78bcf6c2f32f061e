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

using Action = std::function<void()>;

struct Variant {
    std::string job;
    Role role;
    std::string how;
    std::size_t items; // operations in one run
    Action run;        // what is measured
    Action setUp;      // once before the runs of a measurement, if there is anything to do
    Action renew;      // before every run, outside of the measurement; such a run is measured by itself
};

using Variants = std::vector<Variant>;

// What the ways of one job share.
class Job {
public:
    Job(Variants& variants, std::string name, std::size_t items, Action setUp = {}, Action renew = {})
        : variants_(variants), name_(std::move(name)), items_(items), setUp_(std::move(setUp)),
          renew_(std::move(renew)) {}
    void Add(Role role, const char* how, Action run) const {
        variants_.push_back({name_, role, how, items_, std::move(run), setUp_, renew_});
    }

private:
    Variants& variants_;
    std::string name_;
    std::size_t items_;
    Action setUp_;
    Action renew_;
};

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
void AddTrash(Variants& variants, const Sizes& sizes);

// The library's part of the jobs whose cost grows with a size.
void AddFilesOfSize(Variants& variants, std::size_t size);
void AddTrashOfSize(Variants& variants, std::size_t size);
inline std::string GrowthOf(const char* job, std::size_t size) {
    return std::string("growth, ") + job + ", " + std::to_string(size);
}

fs::path CatalogueFile();
void MakeCatalogue(std::size_t records);
void AskCatalogue(std::size_t records);

} // namespace Vellox::Benchmarks
