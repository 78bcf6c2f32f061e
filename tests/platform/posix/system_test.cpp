#include <fcntl.h>
#include <unistd.h>

#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/frame.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

class SystemTest : public ScratchTest {};

// What is not absolute does not count, and what is missing is made for its owner alone.
TEST_F(SystemTest, KeepsDataWhereTheEnvironmentTells) {
    const auto ask = [](const std::string& data, const std::string& home) {
        SetEnvironment("XDG_DATA_HOME", data);
        SetEnvironment("HOME", home);
        return GetHomeFolderBase();
    };
    const auto body = [&] {
        EXPECT_EQ(ask("/proc/none", At("home").string()) + ask("data", "/proc/none"), "");
        EXPECT_EQ(ask("data", At("home").string()), In(R"(home\.local\share\Vellox Studio 10)"));
        EXPECT_EQ(Describe("."), "home 2 700\nhome\\.local 2 700\nhome\\.local\\share 2 700\n");
        EndProcess();
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
}

// A handle is never mistaken for a standard stream, and never inherited.
TEST_F(SystemTest, KeepsHandlesApartFromStreams) {
    WriteFile(At("file"), "");
    const auto body = [&] {
        for (int stream = 0; stream < 3; ++stream)
            ::close(stream);
        const auto file = static_cast<int>(reinterpret_cast<std::intptr_t>(
            ::CreateFileW(u"file", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
        std::_Exit(file >= 3 && (::fcntl(file, F_GETFD) & FD_CLOEXEC) != 0 ? 0 : 1);
    };
    EXPECT_EXIT(body(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace Vellox
