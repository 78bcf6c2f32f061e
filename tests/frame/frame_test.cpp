#include "vellox/frame.h"

#include <cmath>

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

class FrameTest : public ScratchTest {};

// The home folder stays for the life of a process, so the test asks for it in one of its own.
TEST_F(FrameTest, KnowsItsProcess) {
    const auto ask = [](const std::string& data, const std::string& home) {
        SetEnvironment("XDG_DATA_HOME", data);
        SetEnvironment("HOME", home);
        return GetProgramFolderUserDocuments();
    };
    const auto body = [&] {
        EXPECT_TRUE(GetUIScaleFactor() == 1.0F && GetPlatform() == "windows" && GetPlatformType() == "desktop");
        SetUIScaleFactor(NAN);
        EXPECT_TRUE(std::isnan(GetUIScaleFactor()));
        EXPECT_EQ(ask("/proc/none", At("home").string()) + ask("data", "/proc/none"), "");
        for (const std::string& data : {std::string("data"), At("moved").string()})
            EXPECT_EQ(ask(data, At("home").string()), In(R"(home\.local\share\Vellox Studio 10)"));
        EXPECT_EQ(Describe("."), "home 2 700\nhome/.local 2 700\nhome/.local/share 2 700\n");
        fs::remove_all(fs::current_path());
        std::_Exit(HasFailure() ? 1 : 0);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace Vellox
