#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class CreatingTest : public ScratchTest {};

TEST_F(CreatingTest, MakesTheMissingLevelsBelowTheFirst) {
    const std::string here = Win32(fs::current_path());
    WriteFile(At("file"), "");
    const struct {
        std::string path;
        bool isThere;
        int made;
    } rows[] = {
        // clang-format off
        {here + R"(\a\b\c)", true, 3}, {here + R"(\a\b\c)", true, 0}, {here.substr(2) + R"(\\d\\e\)", true, 2},
        {here + R"(\a/b\x)", true, 1}, {here + R"(\m/n\x)", false, 0}, {here + R"(\f\\file)", true, 2},
        {here + R"(\file)", true, 0}, {here + R"(\file\x\y)", false, 0}, {"C:/x/y", true, 0}, {"Songs", true, 0},
        {R"(p\q)", false, 0}, {R"(a\q)", true, 1}, {"", true, 0}, {R"(\\\)", true, 0}, {"C:", true, 0},
        {R"(Q:\)", true, 0}, {R"(Q:\a)", false, 0}, {R"(\\srv\share)", true, 0}, {R"(\\srv\share\a)", false, 0},
        // clang-format on
    };
    const auto entries = [&] { return std::distance(fs::recursive_directory_iterator(At("")), {}); };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.path);
        const std::ptrdiff_t before = entries();
        EXPECT_EQ(CreateDirectories(row.path), row.isThere);
        EXPECT_EQ(entries() - before, row.made);
        EXPECT_FALSE(CreateDirectoryA(row.path));
    }
    EXPECT_TRUE(fs::is_directory(At("a/b/c")) && fs::is_directory(At("d/e")) && fs::is_directory(At("a/b/x")));
    EXPECT_TRUE(CreateDirectoryA("caf\xC3\xA9") && fs::is_directory(At("caf\xC3\xA9")));
}

TEST_F(CreatingTest, ProposesTheFirstFreeName) {
    for (const char* name : {"a.wav", "a2.wav", "a 1.wav", "b1.wav", "TrackBackup", "Take 2.wav", "w/a.wav", "denied"})
        WriteFile(At(name), "");
    fs::permissions(At("denied"), fs::perms::none);
    fs::create_directory(At("d.wav"));
    fs::create_symlink("none", At("dangling"));
    // Folder, stem and tail; the free name of a file, and of a folder.
    const std::string rows[][5] = {
        // clang-format off
        {"", "a", ".wav", "a1.wav", "a 2.wav"}, {"", "b", ".wav", "b.wav", "b.wav"}, {"", "new", "", "new", "new"},
        {"", "d", ".wav", "d.wav", "d 1.wav"}, {"", "d", "", "d", "d"}, {"", "", "", "", ""}, {"", "w", "", "w", "w 1"},
        {"", "Track", "Backup", "Track1Backup", "Track 1Backup"}, {"", "denied", "", "denied", "denied 1"},
        {"", "Take 2", ".wav", "Take 21.wav", "Take 2 1.wav"}, {"", "dangling", "", "dangling", "dangling 1"},
        {"", R"(none\a)", ".wav", R"(none\a.wav)", R"(none\a.wav)"}, {"w", "a", ".wav", R"(w\a1.wav)", R"(w\a 1.wav)"},
        {R"(w\)", "a", ".wav", R"(w\a1.wav)", R"(w\a 1.wav)"}, {"w/", "a", ".wav", R"(w/\a1.wav)", R"(w/\a 1.wav)"},
        {"", std::string("a.wav\0", 6), "", "", ""}, // no number makes a difference behind a NUL
        // clang-format on
    };
    const AsOrdinaryUser user;
    for (const auto& [folder, stem, tail, file, freeFolder] : rows) {
        VELLOX_TRACE_ROW(folder + " " + stem + " " + tail);
        EXPECT_EQ(ComposeNewFilenameAndCheckExists(folder, stem, tail), file);
        EXPECT_EQ(ComposeNewFolderAndCheckExists(folder, stem, tail), freeFolder);
        EXPECT_TRUE(!folder.empty() || ComposeNewFilenameAndCheckExists(stem, tail) == file);
        EXPECT_TRUE(!folder.empty() || ComposeNewFolderAndCheckExists(stem, tail) == freeFolder);
    }
}

} // namespace
} // namespace Vellox::FileNames
