#include "vellox/songs.h"

#include "support/scratch.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

TEST(IsSongFile, JudgesTheTailOfTheText) {
    const std::pair<const char*, bool> rows[] = {
        // clang-format off
        {"", false}, {"sng", false}, {".sng", true}, {"take1.sng", true}, {"take1.SnG", true}, {"take1.sgw", true},
        {"take1.sngw", true}, {"notes.TXT", true}, {"cut.edl", true}, {"mix.aaf", true}, {"mix.omf", true},
        {"take1.sng.bak", false}, {"take1.bak.sng", true}, {"take1.sng ", false}, {R"(C:\Songs.sng\a)", false},
        {R"(C:\x.sng\)", false}, {R"(C:\Songs\.sng)", true}, {"takeXsng", false},
        // clang-format on
    };
    for (const auto& [path, isSong] : rows)
        EXPECT_EQ(IsSongFile(path), isSong) << path;
    EXPECT_TRUE(IsSongFile(std::string("a.sng\0.bak", 10)));
}

class IsSongFolderTest : public ScratchTest {};

TEST_F(IsSongFolderTest, AsksWhetherTheMarkerOpens) {
    EXPECT_FALSE(IsSongFolder(""));
    WriteFile(At("song/Vellox.db"), "");
    fs::create_directories(At("folder/Vellox.db"));
    EXPECT_TRUE(IsSongFolder(In("song")));
    EXPECT_TRUE(IsSongFolder(In("song") + "\\"));
    EXPECT_TRUE(IsSongFolder("song"));
    EXPECT_FALSE(IsSongFolder(In("folder")));
    EXPECT_FALSE(IsSongFolder(In("song/Vellox.db")));
    EXPECT_FALSE(IsSongFolder(In("none")));
    fs::permissions(At("song/Vellox.db"), fs::perms::none);
    const AsOrdinaryUser user;
    EXPECT_EQ(IsSongFolder(In("song")), !user.IsBound());
}

} // namespace
} // namespace Vellox::FileNames
