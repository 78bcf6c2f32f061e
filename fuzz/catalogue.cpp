#include "trash/catalogue.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "check.h"

namespace {

namespace fs = std::filesystem;

const fs::path& Folder() {
    static const fs::path folder = [] {
        std::string name = (fs::temp_directory_path() / "vellox-fuzz-XXXXXX").string();
        CHECK(::mkdtemp(name.data()) != nullptr);
        static_cast<void>(std::atexit([] { fs::remove_all(folder); }));
        return fs::path(name);
    }();
    return folder;
}

std::string Content() {
    std::ifstream file(Folder() / ".trash.db", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// What is in the file after a load and a save.
std::string Repaired() {
    Vellox::TrashCatalogue catalogue;
    catalogue.Load("C:" + Folder().string());
    catalogue.Save();
    return Content();
}

} // namespace

// Whatever stands in the file: it loads in memory that the file's size bounds, and what is saved loads again as it is.
extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    std::ofstream(Folder() / ".trash.db", std::ios::binary) << std::string_view(data, size);
    const std::string repaired = Repaired();
    CHECK(repaired.size() >= 8 && repaired.starts_with(std::string_view("\2\0\0\0", 4)));
    // Each string and each record ends in bytes of its own, so no record can come from nothing.
    CHECK(repaired.size() <= 8 + 3 * size);
    CHECK(Repaired() == repaired);

    Vellox::TrashCatalogue catalogue;
    catalogue.Load("C:" + Folder().string());
    catalogue.Add("fuzzed key", "fuzzed place");
    catalogue.Save();
    catalogue.Load("C:" + Folder().string());
    std::string place;
    CHECK(catalogue.FindRestorePath("fuzzed key", place) && place == "fuzzed place");
    return 0;
}
