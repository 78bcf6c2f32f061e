#include "vellox/frame.h"

#include <cmath>

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

TEST(ProcessValues, AreTheHostsOwn) {
    EXPECT_EQ(GetUIScaleFactor(), 1.0F);
    SetUIScaleFactor(NAN);
    EXPECT_TRUE(std::isnan(GetUIScaleFactor()));
    for (const float factor : {-2.5F, 0.0F, 1.0F}) {
        SetUIScaleFactor(factor);
        EXPECT_EQ(GetUIScaleFactor(), factor);
    }
    CheckExtractAssetFile("", "");
    SendCrashlyticsNonFatal(nullptr, -1);
    VelloxCrashlyticsLog(nullptr);
    EXPECT_TRUE(Threading::mainThreadId == 0 && !testsRunning && isDoingStressTest == 0);
    EXPECT_EQ(GetPlatform() + " " + GetPlatformType(), "windows desktop");
}

class HomeFolderTest : public ScratchTest {};

// The answer stays for the life of a process, so the test asks in one of its own.
TEST_F(HomeFolderTest, IsAskedForUntilItIsKnown) {
    const auto ask = [](const std::string& data, const std::string& home) {
        ::setenv("XDG_DATA_HOME", data.c_str(), 1);
        ::setenv("HOME", home.c_str(), 1);
        EXPECT_EQ(GetProgramFolderUserDocuments(), GetHomeFolderBase());
        return GetHomeFolderBase();
    };
    const auto body = [&] {
        EXPECT_EQ(ask("/proc/none", At("home").string()), "");
        EXPECT_EQ(ask("data", "/proc/none"), "");
        EXPECT_EQ(ask("data", At("home").string()), In(R"(home\.local\share\Vellox Studio 10)"));
        EXPECT_EQ(ask(At("moved").string(), ""), In(R"(home\.local\share\Vellox Studio 10)"));
        EXPECT_EQ(Describe(fs::current_path()), "home 2 700\nhome/.local 2 700\nhome/.local/share 2 700\n");
        fs::remove_all(fs::current_path());
        std::_Exit(HasFailure() ? 1 : 0);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace Vellox
