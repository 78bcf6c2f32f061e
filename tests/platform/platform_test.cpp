#include <cstdlib>

#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace Vellox {
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
    Make({"file", "marked", "replaced", "folder/"});
    fs::permissions("marked", fs::perms(0444));
    MakeFifo("fifo");
    MakeLink("folder", "link");
    MakeLink("loop", "loop");
    // To read, to write, as new; a point behind it where that opens the file.
    const std::string rows[][3] = {
        // clang-format off
        {"file", "rw."}, {R"(none\..\file)", "r."}, {R"(file\x)", "r"}, {"none", "w"}, {"", "wn"}, {"folder", "r"},
        {"link", "r"}, {"loop", "r"}, {"fifo", "r.", "linux: only there is one"}, {"fifo", "w"}, {"marked", "r."},
        {"marked", "w", withRights}, {"marked", "wn", withRights}, {"replaced", "wn."}, {"new", "wn."},
        // clang-format on
    };
    for (const auto& [path, way, onlyOn] : rows) {
        const auto has = [&way = way](char letter) { return way.find(letter) != std::string::npos; };
        const DWORD use = (has('r') ? reads : 0) | (has('w') ? writes : 0);
        EXPECT_TRUE(!HoldsHere(onlyOn) || Opens(path, use, both, has('n') ? CREATE_ALWAYS : OPEN_EXISTING) == has('.'))
            << path << " " << way;
    }
    EXPECT_TRUE(ReadFile("replaced").empty() && (!HoldsHere(withRights) || ReadFile("marked") == "marked"));
    fs::remove("loop");
}

class FullPathServiceTest : public ScratchTest {};

// Both twins answer alike at every capacity, and write nothing behind it.
TEST_F(FullPathServiceTest, ResolvesTheTextWithoutTheDisk) {
    const std::string here = Win32(fs::current_path());
    constexpr const char* noDevices = "linux: Windows has devices of that name";
    constexpr const char* asLetter = "linux: Wine takes the drive's letter as the current directory has it";
    const std::string rows[][3] = {
        // clang-format off
        {"", here}, {".", here}, {R"(a\..)", here}, {"a", here + R"(\a)"},
        {"C:", here, "linux: Wine puts a backslash behind"}, {"c:", "c" + here.substr(1), asLetter},
        {"C:a", here + R"(\a)"}, {"c:a", "c" + here.substr(1) + R"(\a)", asLetter}, {R"(.\a/b\)", here + R"(\a\b\)"},
        {"X:a", R"(X:\a)"}, {R"(x:\a\..\..\b)", R"(x:\b)"}, {R"(\a)", R"(C:\a)"},
        {"/a", R"(C:\a)", "linux: Wine takes it for a path of the system below"}, {R"(C:\)", R"(C:\)"},
        {R"(C:\a\\b//c\/d)", R"(C:\a\b\c\d)"}, {R"(C:\..\..\a)", R"(C:\a)"}, {R"(C:\a\.)", R"(C:\a)"},
        {R"(C:\a\.\)", R"(C:\a\)"}, {R"(C:\a\b\..)", R"(C:\a)"}, {R"(C:\a\..)", R"(C:\)"},
        {R"(C:\a\\)", R"(C:\a\)"}, {"COM1", here + R"(\COM1)", noDevices}, {R"(C:\nul)", R"(C:\nul)", noDevices},
        {R"(C:\a. \b .\...\c)", R"(C:\a. \b .\...\c)", withAnyName}, {R"(\\srv\share)", R"(\\srv\share)"},
        {R"(\\srv\share\)", R"(\\srv\share\)"}, {"//srv/share/a", R"(\\srv\share\a)"},
        {R"(\\srv\\share\\a\b\..)", R"(\\srv\share\a)", "linux: Wine keeps doubled separators behind a share"},
        {R"(\\srv\share\..\..\a)", R"(\\srv\share\a)"},
        {"C:" + std::string(5000, '\\') + R"(a\..\b)", R"(C:\b)", withLongFullPath},
        {"C:\\\xC3\xA9\\..\\\xF0\x9F\x98\x80", "C:\\\xF0\x9F\x98\x80"},
        // clang-format on
    };
    for (const auto& [path, full, onlyOn] : rows) {
        SCOPED_TRACE(path);
        if (!HoldsHere(onlyOn))
            continue;
        const WideString widePath = Utf8ToWide(path), wideFull = Utf8ToWide(full);
        for (std::size_t capacity = 1; capacity <= full.size() + 2; ++capacity) {
            std::string narrow(capacity + 1, '#');
            WideString wide(capacity + 1, '#');
            const bool fits = _fullpath(narrow.data(), path.c_str(), capacity) == narrow.data();
            const bool wideFits = _wfullpath(wide.data(), widePath.c_str(), capacity) == wide.data();
            ASSERT_TRUE(fits == (capacity > full.size()) && wideFits == (capacity > wideFull.size())) << capacity;
            ASSERT_TRUE(!fits || narrow.starts_with(full + '\0')) << narrow;
            ASSERT_TRUE(!wideFits || wide.starts_with(wideFull + WideChar())) << WideToUtf8(wide.c_str());
            ASSERT_TRUE(narrow.back() == '#' && wide.back() == '#') << "written behind a capacity of " << capacity;
        }
    }
    if (!HoldsHere("linux: Windows keeps the current directory from going"))
        return;
    // Without a current directory, what is relative to it has no full form.
    Make({"gone/"});
    fs::current_path("gone");
    fs::remove(At("gone"));
    char narrow[1040];
    WCHAR wide[1040];
    for (const char* path : {"", "a", "C:", "C:a"})
        EXPECT_TRUE(!_fullpath(narrow, path, 1040) && !_wfullpath(wide, Utf8ToWide(path).c_str(), 1040)) << path;
    EXPECT_TRUE(_fullpath(narrow, R"(\a)", 1040) && _wfullpath(wide, Utf8ToWide("X:a").c_str(), 1040));
}

} // namespace
} // namespace Vellox
