#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class FreeNamesTest : public ScratchTest {};

TEST_F(FreeNamesTest, AreTheFirstThatTheirTestFindsFree) {
    for (const char* name : {"a.wav", "a2.wav", "a 1.wav", "b1.wav", "TrackBackup", "Take 2.wav", "w/a.wav", "denied"})
        WriteFile(At(name), "");
    fs::permissions(At("denied"), fs::perms::none);
    fs::create_directory(At("d.wav"));
    fs::create_symlink("none", At("dangling"));
    const struct {
        std::string folder, stem, tail, file, folderName;
    } rows[] = {
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
    const std::string before = Describe(At(""));
    const AsOrdinaryUser user;
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.folder + " " + row.stem + " " + row.tail);
        EXPECT_EQ(ComposeNewFilenameAndCheckExists(row.folder, row.stem, row.tail), row.file);
        EXPECT_EQ(ComposeNewFolderAndCheckExists(row.folder, row.stem, row.tail), row.folderName);
        if (row.folder.empty()) {
            EXPECT_EQ(ComposeNewFilenameAndCheckExists(row.stem, row.tail), row.file);
            EXPECT_EQ(ComposeNewFolderAndCheckExists(row.stem, row.tail), row.folderName);
        }
    }
    EXPECT_EQ(Describe(At("")), before);
}

} // namespace
} // namespace Vellox::FileNames
