#include "vellox/frame.h"

#include <cmath>
#include <cstdlib>

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

TEST(ProcessValues, AreTheHostsOwn) {
    EXPECT_EQ(GetUIScaleFactor(), 1.0F);
    for (const float factor : {0.0F, -2.5F, INFINITY, 1.25F}) {
        SetUIScaleFactor(factor);
        EXPECT_EQ(GetUIScaleFactor(), factor);
    }
    SetUIScaleFactor(NAN);
    EXPECT_TRUE(std::isnan(GetUIScaleFactor()));
    SetUIScaleFactor(1.0F);
    EXPECT_EQ(GetPlatform() + " " + GetPlatformType(), "windows desktop");
    CheckExtractAssetFile("", "");
    SendCrashlyticsNonFatal(nullptr, -1);
    VelloxCrashlyticsLog(nullptr);
    EXPECT_TRUE(Threading::mainThreadId == 0 && !testsRunning && isDoingStressTest == 0);
}

// The answer stays for the life of a process, so each test asks in one of its own.
class HomeFolderTest : public ScratchTest {
protected:
    template <typename Body> void InOwnProcess(Body body) {
        const auto run = [&] {
            body();
            fs::remove_all(At("."));
            std::_Exit(HasFailure() ? 1 : 0);
        };
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
    }

    static std::string Ask(const std::string& data, const std::string& home) {
        ::setenv("XDG_DATA_HOME", data.c_str(), 1);
        ::setenv("HOME", home.c_str(), 1);
        EXPECT_EQ(GetProgramFolderUserDocuments(), GetHomeFolderBase());
        return GetHomeFolderBase();
    }
};

TEST_F(HomeFolderTest, IsAskedForUntilItIsKnown) {
    InOwnProcess([this] {
        const std::string data = At("new/data").string();
        EXPECT_EQ(Ask("/proc/none", At("home").string()), "");
        EXPECT_EQ(Ask(data + std::string(1040, 'a'), At("home").string()), "");
        EXPECT_EQ(Ask(data, At("home").string()), In("new/data/Vellox Studio 10"));
        EXPECT_EQ(Ask(At("moved").string(), ""), In("new/data/Vellox Studio 10"));
        EXPECT_EQ(Describe(At(".")), "new 2 700\nnew/data 2 700\n");
    });
}

TEST_F(HomeFolderTest, IsBelowTheHomeWithoutAnAbsoluteDataFolder) {
    InOwnProcess([this] { EXPECT_EQ(Ask("data", At("home").string()), In(R"(home\.local\share\Vellox Studio 10)")); });
    EXPECT_FALSE(fs::exists(At("data")));
}

} // namespace
} // namespace Vellox
