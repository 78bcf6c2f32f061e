#include "support/scratch.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <numeric>
#include <set>
#include <sstream>

namespace Vellox::Testing {
namespace {

fs::path MakeFolder(const fs::path& parent) {
    static int count = 0;
    fs::path folder;
    do
        folder = parent / ("vellox-test-" + std::to_string(ProcessNumber()) + "-" + std::to_string(++count));
    while (!fs::create_directory(folder));
    fs::permissions(folder, fs::perms::all);
    return fs::canonical(folder);
}

std::string DescribeEntry(const fs::path& folder, const fs::path& path) {
    const fs::file_status status = fs::symlink_status(path);
    std::ostringstream line;
    line << Win32(path.lexically_relative(folder)) << ' ' << static_cast<int>(status.type());
    if (fs::is_symlink(status))
        line << " -> " << Win32(fs::read_symlink(path));
    else
        line << ' ' << std::oct << static_cast<unsigned>(status.permissions());
    if (fs::is_regular_file(status))
        line << ": " << ReadFile(path);
    return line.str() + "\n";
}

} // namespace

bool HoldsHere(const OnlyOn& onlyOn, std::string_view row) {
    if (!HoldsHere(onlyOn))
        std::cout << "[ left out ] " << row.substr(0, 80) << ": " << onlyOn.reason << '\n';
    return HoldsHere(onlyOn);
}

void RemoveFolder(const fs::path& folder) {
    for (const auto& entry : fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied))
        if (!entry.is_symlink())
            fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add);
    fs::remove_all(folder);
}

fs::path Utf8Path(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

std::string Win32(const fs::path& path) {
    const std::u8string utf8 = path.u8string();
    std::string text(utf8.begin(), utf8.end());
    std::replace(text.begin(), text.end(), '/', '\\');
    return path.is_absolute() && text[0] == '\\' ? "C:" + text : text;
}

void WriteFile(const fs::path& path, std::string_view content) {
    fs::create_directories(fs::absolute(path).parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    ASSERT_TRUE(file.flush()) << path;
}

void Make(std::initializer_list<std::string> names) {
    for (const std::string& name : names)
        name.back() != '/' ? WriteFile(Utf8Path(name), name)
                           : void(fs::create_directories(Utf8Path(name.substr(0, name.size() - 1))));
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf(); // in pieces, as the tests read much
    return content.str();
}

std::string Describe(const fs::path& folder) {
    std::set<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        lines.insert(DescribeEntry(folder, entry.path()));
    return std::accumulate(lines.begin(), lines.end(), std::string());
}

fs::path MakeTrash() {
    static const fs::path data = MakeFolder(fs::temp_directory_path());
    const fs::path trash = (data / "Vellox Studio 10/Trash").make_preferred();
    fs::create_directories(trash);
    SetDataFolder(data);
    return trash;
}

ScratchTest::ScratchTest()
    : folder_(MakeFolder(fs::temp_directory_path())), previousFolder_(fs::current_path()),
      descriptorsBefore_(OpenDescriptors()) {
    fs::current_path(folder_);
    LetOthersIn();
}

ScratchTest::~ScratchTest() {
    EXPECT_EQ(OpenDescriptors(), descriptorsBefore_);
    fs::current_path(previousFolder_);
    RemoveFolder(folder_);
    if (!otherFolder_.empty())
        RemoveFolder(otherFolder_);
}

void ScratchTest::EndProcess() {
    fs::current_path(previousFolder_);
    RemoveFolder(folder_);
    std::_Exit(HasFailure() ? 1 : 0);
}

fs::path ScratchTest::OtherVolume() {
    otherFolder_ = MakeFolder(FolderOnOtherVolume());
    return otherFolder_;
}

} // namespace Vellox::Testing
