#include "support/scratch.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

namespace Vellox::Testing {
namespace {

constexpr uid_t ordinaryUser = 65534;

fs::path MakeFolder(const std::string& parent) {
    std::string pattern = parent + "/vellox-test-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no scratch folder in " + parent);
    ::chmod(pattern.c_str(), 0777);
    return fs::canonical(pattern);
}

void RemoveFolder(const fs::path& folder) {
    for (const auto& entry : fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied))
        if (entry.is_directory() && !entry.is_symlink())
            fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add);
    fs::remove_all(folder);
}

std::string DescribeEntry(const fs::path& folder, const fs::path& path) {
    const fs::file_status status = fs::symlink_status(path);
    std::ostringstream line;
    line << path.lexically_relative(folder).string() << ' ' << static_cast<int>(status.type());
    if (!fs::is_symlink(status))
        line << ' ' << std::oct << static_cast<unsigned>(status.permissions());
    if (fs::is_symlink(status))
        line << " -> " << fs::read_symlink(path).string();
    if (fs::is_regular_file(status))
        line << ": " << ReadFile(path);
    return line.str();
}

} // namespace

std::string Win32(const fs::path& path) {
    std::string text = path.string();
    std::replace(text.begin(), text.end(), '/', '\\');
    return path.is_absolute() ? "C:" + text : text;
}

void WriteFile(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    ASSERT_TRUE(file.flush()) << path;
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Describe(const fs::path& folder) {
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        lines.push_back(DescribeEntry(folder, entry.path()));
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

std::size_t OpenDescriptors() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

AsOrdinaryUser::AsOrdinaryUser() {
    if (::geteuid() == 0 && ::seteuid(ordinaryUser) != 0)
        ADD_FAILURE() << "cannot act as another user";
}

AsOrdinaryUser::~AsOrdinaryUser() {
    if (::getuid() == 0 && ::seteuid(0) != 0)
        ADD_FAILURE() << "cannot act as root again";
}

ScratchTest::ScratchTest()
    : folder_(MakeFolder(fs::temp_directory_path().string())), previousFolder_(fs::current_path()),
      descriptorsBefore_(OpenDescriptors()) {
    fs::current_path(folder_);
}

ScratchTest::~ScratchTest() {
    EXPECT_EQ(OpenDescriptors(), descriptorsBefore_);
    fs::current_path(previousFolder_);
    RemoveFolder(folder_);
    if (!otherFolder_.empty())
        RemoveFolder(otherFolder_);
}

fs::path ScratchTest::OtherVolume() {
    otherFolder_ = MakeFolder("/dev/shm");
    struct stat here {};
    struct stat there {};
    if (::stat(folder_.c_str(), &here) != 0 || ::stat(otherFolder_.c_str(), &there) != 0 || here.st_dev == there.st_dev)
        throw std::runtime_error("/dev/shm is not another volume");
    return otherFolder_;
}

} // namespace Vellox::Testing
