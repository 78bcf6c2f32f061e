#include "vellox/frame.h"

#include <cmath>

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

class FrameTest : public ScratchTest {};

// The home folder stays for the life of a process, so the test asks for it in one of its own.
TEST_F(FrameTest, KnowsItsProcess) {
    const auto body = [&] {
        EXPECT_TRUE(GetUIScaleFactor() == 1.0F && GetPlatform() == "windows" && GetPlatformType() == "desktop");
        SetUIScaleFactor(NAN);
        EXPECT_TRUE(std::isnan(GetUIScaleFactor()));
        WriteFile(At("file"), "");
        SetDataFolder(At("file") / "none");
        EXPECT_EQ(GetProgramFolderUserDocuments(), "");
        fs::create_directory(At("data"));
        for (const char* data : {"data", "moved"}) {
            SetDataFolder(At(data));
            EXPECT_EQ(GetProgramFolderUserDocuments(), In(R"(data\Vellox Studio 10)"));
        }
        EndProcess();
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace Vellox
