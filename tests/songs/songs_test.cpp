#include "vellox/songs.h"

#include "support/scratch.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

TEST(IsSongFile, JudgesTheTailOfTheText) {
    for (const char* path : {".sng", "take1.sng", "take1.SnG", "take1.sgw", "take1.sngw", "notes.TXT", "cut.edl",
                             "mix.aaf", "mix.omf", "take1.bak.sng", R"(C:\Songs\.sng)"})
        EXPECT_TRUE(IsSongFile(path)) << path;
    EXPECT_TRUE(IsSongFile(std::string("a.sng\0.bak", 10)));
    for (const char* path : {"", "sng", "takeXsng", "take1.sng.bak", "take1.sng ", R"(C:\Songs.sng\a)", R"(C:\x.sng\)"})
        EXPECT_FALSE(IsSongFile(path)) << path;
}

class IsSongFolderTest : public ScratchTest {};

TEST_F(IsSongFolderTest, AsksWhetherTheMarkerOpens) {
    Make({"song/Vellox.db", "folder/Vellox.db/"});
    for (const std::string& folder : {std::string("song"), In("song"), In("song\\")})
        EXPECT_TRUE(IsSongFolder(folder)) << folder;
    for (const std::string& folder : {std::string(), In("folder"), In("song/Vellox.db"), In("none")})
        EXPECT_FALSE(IsSongFolder(folder)) << folder;
    fs::current_path("song");
    EXPECT_FALSE(IsSongFolder("")) << "which is not the current folder";
    fs::permissions("Vellox.db", fs::perms::none);
    const AsOrdinaryUser user;
    EXPECT_NE(IsSongFolder("."), HoldsHere(withRights));
}

} // namespace
} // namespace Vellox::FileNames
