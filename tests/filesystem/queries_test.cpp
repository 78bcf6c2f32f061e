#include "filesystem/queries.h"

#include <limits>

#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class QueriesTest : public ScratchTest {};

TEST_F(QueriesTest, TellWhatStandsAtAPath) {
    WriteFile(At("file"), "");
    WriteFile(At("denied"), "");
    fs::permissions(At("denied"), fs::perms::none);
    WriteFile(At("folder/.hidden"), "");
    fs::create_directories(At("parent/empty"));
    fs::create_symlink("folder", At("link"));
    fs::create_symlink("none", At("dangling"));
    const struct {
        std::string path;
        bool opens, exists, isFolder, isEmpty;
    } rows[] = {
        // clang-format off
        {"file", true, true, false, false},         {"denied", false, true, false, false},
        {"folder", false, true, true, false},       {R"(folder\)", false, true, true, false},
        {R"(folder\*)", false, false, false, false}, {R"(parent\*)", false, false, false, false},
        {R"(parent\empty)", false, true, true, true}, {R"(parent\empty\)", false, true, true, true},
        {R"(parent\empty\*)", false, false, false, true}, {"link", false, true, true, false},
        {"dangling", false, true, false, false},    {std::string("file\0x", 6), true, true, false, false},
        {"none", false, false, false, true},        {R"(none\*)", false, false, false, true},
        {"", false, false, false, true},            {R"(Q:\)", false, false, false, true},
        // clang-format on
    };
    const AsOrdinaryUser user;
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.path);
        EXPECT_EQ(CheckFileExists(row.path), row.opens);
        EXPECT_EQ(CheckFolderExists(row.path), row.exists);
        EXPECT_EQ(CheckFileExistsEvenIfNotAccessible(row.path), row.exists);
        for (const bool preset : {false, true}) {
            bool isFolder = preset;
            EXPECT_EQ(CheckPathIsDirectory(row.path, isFolder), row.exists);
            EXPECT_EQ(isFolder, row.exists ? row.isFolder : preset);
        }
        EXPECT_EQ(IsFolderEmpty(row.path), row.isEmpty);
        EXPECT_EQ(GetAvailableSpace(row.path) == std::numeric_limits<std::int64_t>::max(), !row.isFolder);
        bool flag = false;
        EXPECT_TRUE(!IsSymlink(row.path) && !IsSpecialFile(row.path, flag) && flag);
    }
}

TEST_F(QueriesTest, ReachTheProcess) {
    EXPECT_EQ(GetModuleFilename(), Win32(fs::read_symlink("/proc/self/exe")));
    fs::create_directory(At("folder"));
    VelloxSetCurrentDirectory(In("folder").c_str());
    VelloxSetCurrentDirectory("none");
    EXPECT_EQ(fs::current_path(), At("folder"));
}

} // namespace
} // namespace Vellox::FileNames
