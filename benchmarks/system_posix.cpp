#include <fcntl.h>
#include <glob.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "scratch.h"
#include "system.h"
#include "vellox/processes.h"

namespace Vellox::Benchmarks {
namespace {

int Checked(long result) {
    if (result < 0)
        throw std::runtime_error(std::strerror(errno));
    return static_cast<int>(result);
}

// ---- Text around a call ----

// To UTF-16 and back to UTF-8, as a wide call takes it, and the place on this system.
std::string PosixPath(const std::string& path) {
    const WideString wide(path.begin(), path.end());
    benchmark::DoNotOptimize(wide);
    std::string posix(wide.begin() + 2, wide.end());
    std::replace(posix.begin(), posix.end(), '\\', '/');
    return posix;
}

// ---- Listing ----

struct DirectoryEntry {
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short length;
    unsigned char type;
    char name[1];
};

std::size_t CountEntries(const char* folder) {
    constexpr std::size_t bufferSize = 32768;
    alignas(DirectoryEntry) char buffer[bufferSize];
    const int descriptor = Checked(::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::size_t count = 0;
    while (const int filled = Checked(::syscall(SYS_getdents64, descriptor, buffer, bufferSize))) {
        for (int position = 0; position < filled; ++count)
            position += reinterpret_cast<const DirectoryEntry*>(buffer + position)->length;
    }
    ::close(descriptor);
    return count;
}

void CountInFlatFolder(std::size_t files) {
    benchmark::DoNotOptimize(CountEntries(FlatFolder(files).c_str()));
}

void AddListing(Variants& variants, const Sizes& sizes) {
    const std::size_t files = sizes.listed;
    const auto setUp = [=] { FlatFolder(files); };
    Job(variants, "list", files, setUp).Add(Role::Limit, "getdents64", [=] { CountInFlatFolder(files); });
    const Job match(variants, "list by a pattern", files, setUp);
    match.Add(Role::Limit, "getdents64", [=] { CountInFlatFolder(files); });
    match.Add(Role::Peer, "glob", [=] {
        glob_t found{};
        Checked(-::glob((FlatFolder(files) / "*.wav").c_str(), GLOB_NOSORT, nullptr, &found));
        const std::vector<std::string> names(found.gl_pathv, found.gl_pathv + found.gl_pathc);
        benchmark::DoNotOptimize(names.data());
        ::globfree(&found);
    });
    // The system itself takes more for each name the more there are.
    for (const std::size_t size : sizes.growth)
        Job(variants, GrowthOf("list (limit)", size), size, [=] {
            FlatFolder(size);
        }).Add(Role::Limit, "getdents64", [=] { CountInFlatFolder(size); });
}

// ---- Questions ----

void AddCurrentFolder(Variants& variants) {
    const auto ask = [] {
        for (std::size_t index = 0; index < SamplePaths().size(); ++index) {
            char buffer[PATH_MAX];
            benchmark::DoNotOptimize(::getcwd(buffer, sizeof buffer));
        }
    };
    Job(variants, "normal form, relative", SamplePaths().size()).Add(Role::Limit, "getcwd alone", ask);
}

void AddExistence(Variants& variants) {
    static const fs::path path = FlatFolder(1) / FileName(0);
    static const std::string name = Win32(path);
    const Job existence(variants, "existence", 1);
    existence.Add(Role::Limit, "access", [] { benchmark::DoNotOptimize(::access(path.c_str(), F_OK)); });
    existence.Add(Role::Floor, "by hand",
                  [] { benchmark::DoNotOptimize(::access(PosixPath(std::string(name)).c_str(), F_OK)); });
}

bool OpensForReading(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return false;
    struct stat status;
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_start = (off_t{1} << 62) + 2;
    lock.l_len = 1;
    const bool isFile = ::fstat(file, &status) == 0 && !S_ISDIR(status.st_mode);
    ::fcntl(file, F_OFD_GETLK, &lock);
    ::close(file);
    return isFile && lock.l_type == F_UNLCK;
}

std::string FreeName(std::string stem, std::string extension) {
    std::string name = stem + extension;
    for (int number = 1; OpensForReading(PosixPath(name)); ++number) {
        name.resize(stem.size());
        name.append(std::to_string(number)).append(extension);
    }
    return name;
}

void AddFreeNames(Variants& variants, std::size_t taken) {
    std::vector<std::string> names;
    for (std::size_t number = 1; number < taken; ++number)
        names.push_back(Scratch() / ("taken " + std::to_string(taken)) / ("take" + std::to_string(number) + ".wav"));
    const Job freeName(variants, "free name", taken, [=] { TakenFolder(taken); });
    freeName.Add(Role::Limit, "open, close", [=] {
        for (const std::string& name : names)
            ::close(Checked(::open(name.c_str(), O_RDONLY | O_CLOEXEC)));
    });
    freeName.Add(Role::Floor, "by hand, the same lock",
                 [=] { benchmark::DoNotOptimize(FreeName(Win32(TakenFolder(taken)) + "\\take", ".wav")); });
}

// ---- Copying and deleting ----

void CopyLargeFile(const fs::path& from, const fs::path& to) {
    const int source = Checked(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    const int copy = Checked(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    constexpr std::size_t most = std::size_t{1} << 30;
    while (Checked(::copy_file_range(source, nullptr, copy, nullptr, most, 0)) > 0) {
    }
    ::close(source);
    ::close(copy);
}

void AddCopying(Variants& variants, std::size_t size) {
    static const fs::path copy = Scratch() / "copy.wav";
    Job(
        variants, "copy a large file", 1, [=] { LargeFile(size); }, [] { fs::remove(copy); })
        .Add(Role::Limit, "copy_file_range", [=] { CopyLargeFile(LargeFile(size), copy); });
}

struct TreeNames {
    explicit TreeNames(std::size_t size) : folders(TreeFolders(size)), files(TreeFiles(size)) {}
    std::vector<std::string> folders;
    std::vector<std::string> files;
};

int OpenFolder(const fs::path& folder) {
    return Checked(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

void CopyTree(const fs::path& tree, const TreeNames& names) {
    const int from = OpenFolder(tree);
    fs::create_directory(CopiedTree());
    const int to = OpenFolder(CopiedTree());
    for (const std::string& name : names.folders)
        Checked(::mkdirat(to, name.c_str(), 0777));
    char buffer[smallFileSize];
    for (const std::string& name : names.files) {
        const int source = Checked(::openat(from, name.c_str(), O_RDONLY | O_CLOEXEC));
        const int copy = Checked(::openat(to, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        Checked(::write(copy, buffer, static_cast<std::size_t>(Checked(::read(source, buffer, sizeof buffer)))));
        ::close(source);
        ::close(copy);
    }
    ::close(from);
    ::close(to);
}

void DeleteTree(const TreeNames& names) {
    const int folder = OpenFolder(CopiedTree());
    for (const std::string& name : names.files)
        Checked(::unlinkat(folder, name.c_str(), 0));
    for (const std::string& name : names.folders)
        Checked(::unlinkat(folder, name.c_str(), AT_REMOVEDIR));
    ::close(folder);
    Checked(::rmdir(CopiedTree().c_str()));
}

void AddTrees(Variants& variants, std::size_t files) {
    const TreeNames names(files);
    const auto setUp = [=] { Tree(files); };
    const Job copying(variants, "copy a tree", files, setUp, [] { fs::remove_all(CopiedTree()); });
    copying.Add(Role::Limit, "openat, read, write", [=] { CopyTree(Tree(files), names); });
    copying.Add(Role::Peer, "cp -r -p", [=] {
        const std::string command = "cp -r -p '" + Tree(files).string() + "' '" + CopiedTree().string() + "'";
        Checked(-std::system(command.c_str())); // NOLINT(cert-env33-c): the paths are our own
    });
    Job(variants, "delete a tree", files, setUp, [=] { CopyTreeAnew(files); }).Add(Role::Limit, "unlinkat", [=] {
        DeleteTree(names);
    });
}

// ---- The trash ----

// A new name that is taken is refused, as with the library.
void MoveByHand(std::string path, std::string folder) {
    const std::string name = path.substr(path.rfind('\\') + 1);
    const std::string from = PosixPath(path);
    const std::string to = PosixPath(folder + "\\" + name);
    struct stat status;
    if (::lstat(to.c_str(), &status) == 0)
        throw std::runtime_error("the name is taken");
    Checked(::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE));
}

void AddTrash(Variants& variants, std::size_t files) {
    static const fs::path songs = Scratch() / "songs";
    static const fs::path trash = Scratch() / "bare trash";
    const auto renew = [=] {
        fs::remove_all(trash);
        fs::create_directory(trash);
        MakeFlatFolder(songs, files);
    };
    const Job batch(variants, "trash", files, {}, renew);
    batch.Add(Role::Limit, "renameat", [=] {
        const int from = OpenFolder(songs);
        const int to = OpenFolder(trash);
        for (std::size_t number = 0; number < files; ++number) {
            const std::string name = FileName(number);
            Checked(::renameat(from, name.c_str(), to, name.c_str()));
        }
        ::close(from);
        ::close(to);
    });
    batch.Add(Role::Floor, "by hand", [=] {
        for (std::size_t number = 0; number < files; ++number)
            MoveByHand(Win32(songs) + "\\" + FileName(number), Win32(trash));
    });
}

void ReadAndWrite(const fs::path& path) {
    const int source = Checked(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string bytes(fs::file_size(path), '\0');
    Checked(::read(source, bytes.data(), bytes.size()));
    ::close(source);
    const int file = Checked(::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    Checked(::write(file, bytes.data(), bytes.size()));
    ::close(file);
}

void AddCatalogues(Variants& variants, const std::vector<std::size_t>& sizes) {
    for (const std::size_t records : sizes)
        Job(variants, "catalogue, " + std::to_string(records), records, [=] {
            MakeCatalogue(records);
        }).Add(Role::Limit, "read, write", [] { ReadAndWrite(CatalogueFile()); });
}

// ---- Launching ----

char program[] = "/bin/true";
char* const words[] = {program, nullptr};

void Await(pid_t process) {
    Checked(::waitpid(process, nullptr, 0));
}

void Spawn() {
    pid_t process = 0;
    Checked(-::posix_spawn(&process, program, nullptr, nullptr, words, ::environ));
    Await(process);
}

void Fork() {
    const pid_t process = Checked(::fork());
    if (process == 0) {
        ::execv(program, words);
        ::_exit(127);
    }
    Await(process);
}

void Launch() {
    std::vector<std::string> line = {"C:\\bin\\true"};
    void* process = FileNames::LaunchProcess(line[0], line);
    if (FileNames::WaitForProcess(process, -1) != 1)
        throw std::runtime_error("no launch");
    ::close(static_cast<int>(reinterpret_cast<std::intptr_t>(process)));
}

// Memory that the process has written to.
void HoldMemory(std::size_t size) {
    static std::size_t held = 0;
    static void* place = nullptr;
    if (size == held)
        return;
    if (held != 0)
        ::munmap(place, held);
    constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE;
    place = size != 0 ? ::mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, -1, 0) : nullptr;
    if (place == MAP_FAILED)
        throw std::runtime_error("no memory for a large process");
    held = size;
}

void AddLaunches(Variants& variants, const std::string& job, std::size_t size) {
    const Job launch(variants, job, 1, [=] { HoldMemory(size); });
    launch.Add(Role::Limit, "posix_spawn, waitpid", Spawn);
    launch.Add(Role::Library, "LaunchProcess", Launch);
    launch.Add(Role::Peer, "fork, exec", Fork);
}

} // namespace

unsigned ProcessNumber() {
    return static_cast<unsigned>(::getpid());
}

bool TakeHomeFolder(const fs::path& folder) {
    return ::setenv("XDG_DATA_HOME", folder.c_str(), 1) == 0;
}

void AddSystemCalls(Variants& variants, const Sizes& sizes) {
    AddCurrentFolder(variants);
    AddListing(variants, sizes);
    AddExistence(variants);
    AddFreeNames(variants, sizes.taken);
    AddCopying(variants, sizes.largeFile);
    AddTrees(variants, sizes.treeFiles);
    AddTrash(variants, sizes.trashed);
    AddCatalogues(variants, sizes.catalogues);
}

void AddProcesses(Variants& variants, const Sizes& sizes) {
    AddLaunches(variants, "launch", 0);
    AddLaunches(variants, "launch from a large process", sizes.largeProcess);
}

const char* LastByte(std::string_view text, char byte) {
    return static_cast<const char*>(::memrchr(text.data(), byte, text.size()));
}

// Callgrind takes a process that shares its parent's memory for one that has its own.
bool CanBeCounted(const Variant& variant) {
    return RUNNING_ON_VALGRIND == 0 || variant.job.find("launch") == std::string::npos;
}

// A call that fails and does nothing, but that a trace shows.
void BeginCount(const std::string& name) {
    const std::string mark = "begin: " + name;
    benchmark::DoNotOptimize(::write(-1, mark.data(), mark.size()));
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
}

void EndCount(const std::string& name) {
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
    const std::string mark = "end: " + name;
    benchmark::DoNotOptimize(::write(-1, mark.data(), mark.size()));
}

} // namespace Vellox::Benchmarks
