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
