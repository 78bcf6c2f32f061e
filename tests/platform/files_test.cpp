#include <cstdlib>

#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace Vellox::Platform {
namespace {

using namespace Vellox::Testing;

// What a user does with the file is told by the bits of the share mode that it asks of the others.
constexpr DWORD reads = FILE_SHARE_READ, writes = FILE_SHARE_WRITE, both = reads | writes;
constexpr DWORD accesses[] = {0, GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE};

HANDLE Open(const std::string& path, DWORD use, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return ::CreateFileW(Utf8ToWide(path).c_str(), accesses[use], share, nullptr, disposition, 0, nullptr);
}

bool Opens(const std::string& path, DWORD use, DWORD share, DWORD disposition = OPEN_EXISTING) {
    const HANDLE file = Open(path, use, share, disposition);
    return file != INVALID_HANDLE_VALUE && ::CloseHandle(file) != FALSE;
}

// Twelve files, for each way to have one open; in the folder of the process that started this one, if one did.
class FilesTest : public ScratchTest {
protected:
    FilesTest() {
        if (isStarted)
            fs::current_path(std::getenv(variable));
        SetEnvironment(variable, fs::current_path().string());
        for (DWORD row = 4; row < 16 && !isStarted; ++row)
            WriteFile(At(std::to_string(row)), "old");
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
    ~FilesTest() override {
        SetEnvironment(variable, "");
        for (const HANDLE file : files)
            ::CloseHandle(file);
    }

    void HoldFiles() {
        for (DWORD row = 4; row < 16; ++row)
            files.push_back(Open(std::to_string(row), row >> 2, row & both));
    }

    static constexpr const char* variable = "VELLOX_TEST_FOLDER";
    const bool isStarted = std::getenv(variable) != nullptr && *std::getenv(variable) != 0;
    std::vector<HANDLE> files;
};

void ExpectSharing(bool areHeld) {
    for (DWORD row = 0; row < 256; ++row) {
        const DWORD held = row >> 6, heldShare = row >> 4 & both, use = row >> 2 & both, share = row & both;
        if (held == 0 || use == 0)
            continue;
        const bool isGranted = !areHeld || ((use & ~heldShare) == 0 && (held & ~share) == 0);
        const std::string file = std::to_string(row >> 4);
        ASSERT_TRUE(Opens(file, use, share) == isGranted && Opens(file, use, share) == isGranted) << row;
        ASSERT_FALSE(!isGranted && Opens(file, use | writes, share, CREATE_ALWAYS)) << row;
    }
}

TEST_F(FilesTest, ShareOnlyAsBothSidesAllow) {
    if (!isStarted)
        HoldFiles();
    ExpectSharing(true);
    EXPECT_EXIT(EndProcess(), ::testing::ExitedWithCode(0), "") << "in another process";
}

TEST_F(FilesTest, AreFreeAgainWithoutTheirHolder) {
    EXPECT_EXIT((HoldFiles(), EndProcess()), ::testing::ExitedWithCode(0), "");
    ExpectSharing(false);
}

TEST_F(FilesTest, OpenAtOnceOrNotAtAll) {
    for (const char* name : {"file", "marked", "replaced"})
        WriteFile(At(name), "old");
    fs::permissions("marked", fs::perms(0444));
    fs::create_directory("folder");
    MakeFifo("fifo");
    MakeLink("folder", "link");
    MakeLink("loop", "loop");
    struct Row {
        const char* path;
        DWORD use;
        bool replaces, opens;
        const char* onlyOn = everywhere;
    };
    const Row rows[] = {
        // clang-format off
        {"file", both, false, true}, {R"(none\..\file)", reads, false, true}, {R"(file\x)", reads, false, false},
        {"none", writes, false, false}, {"", writes, true, false}, {"folder", reads, false, false},
        {"link", reads, false, false}, {"loop", reads, false, false}, {"fifo", reads, false, true, withLinks},
        {"fifo", writes, false, false}, {"marked", reads, false, true}, {"marked", writes, false, false, withRights},
        {"marked", writes, true, false, withRights}, {"replaced", writes, true, true}, {"new", writes, true, true},
        // clang-format on
    };
    for (const auto& [path, use, replaces, opens, onlyOn] : rows)
        EXPECT_TRUE(!HoldsHere(onlyOn) || Opens(path, use, both, replaces ? CREATE_ALWAYS : OPEN_EXISTING) == opens)
            << path << " " << use;
    EXPECT_TRUE(ReadFile("replaced").empty() && (!HoldsHere(withRights) || ReadFile("marked") == "old"));
    fs::remove("loop");
}

} // namespace
} // namespace Vellox::Platform
