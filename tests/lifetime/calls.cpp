#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "lifetime/host.h"
#include "support/system.h"
#include "vellox/filesystem.h"
#include "vellox/trash.h"

namespace fs = std::filesystem;
using namespace Vellox::FileNames;

namespace {

constexpr const char* take = "a take with a long name.wav";

bool Says(bool isRight, const char* what) {
    if (!isRight)
        static_cast<void>(std::fprintf(stderr, "no longer at the end: %s\n", what));
    return isRight;
}

bool HoldsTake(const fs::path& path) {
    return std::string(std::istreambuf_iterator<char>(std::ifstream(path).rdbuf()), {}) == "sound";
}

bool CallsWorkIn(const fs::path& folder) {
    const fs::path path = folder / take;
    const fs::path trashed = folder / "Vellox Studio 10" / "Trash" / take;
    std::ofstream(path) << "sound";
    DeleteFileToRecycleBin(path.string(), true);
    return Says(HoldsTake(trashed) && !fs::exists(path), "the trash") &&
           Says(PutBack(GetTrashFolderPath() + '\\' + take) && HoldsTake(path), "the way back") &&
           Says(CopyFileA(path.string(), trashed.string(), true, nullptr) && HoldsTake(trashed), "the copy") &&
           Says(fs::remove(trashed), "the name of the copy");
}

} // namespace

extern "C" bool UseLibrary() {
    const fs::path folder =
        fs::temp_directory_path() / ("vellox-end-" + std::to_string(Vellox::Testing::ProcessNumber()));
    fs::create_directories(folder / "Vellox Studio 10");
    Vellox::Testing::SetDataFolder(folder);
    const bool isRight = CallsWorkIn(folder);
    fs::remove_all(folder);
    return isRight;
}
