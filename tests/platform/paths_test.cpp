#include "platform/posix/paths.h"

#include "frame/text.h"
#include "support/scratch.h"

namespace Vellox::Posix {
namespace {

using namespace Vellox::Testing;

class FullPathServiceTest : public ScratchTest {};

// Both twins answer alike at every capacity, and write nothing behind it.
TEST_F(FullPathServiceTest, ResolvesTheTextWithoutTheDisk) {
    const std::string here = Win32(fs::current_path());
    const std::string lowerHere = "c" + here.substr(1);
    std::string longText = "C:";
    for (int level = 0; level < 3000; ++level)
        longText += R"(\a\..)";
    const std::string rows[][2] = {
        // clang-format off
        {"", here}, {".", here}, {"C:", here}, {"c:", lowerHere}, {R"(a\..)", here}, {"a", here + R"(\a)"},
        {"C:a", here + R"(\a)"}, {"c:a", lowerHere + R"(\a)"}, {R"(.\a/b\)", here + R"(\a\b\)"},
        {"COM1", here + R"(\COM1)"}, {"X:a", R"(X:\a)"}, {R"(x:\a\..\..\b)", R"(x:\b)"}, {R"(\a)", R"(C:\a)"},
        {"/a", R"(C:\a)"}, {R"(C:\)", R"(C:\)"}, {R"(C:\a\\b//c\/d)", R"(C:\a\b\c\d)"}, {R"(C:\..\..\a)", R"(C:\a)"},
        {R"(C:\a\.)", R"(C:\a)"}, {R"(C:\a\.\)", R"(C:\a\)"}, {R"(C:\a\b\..)", R"(C:\a)"}, {R"(C:\a\..)", R"(C:\)"},
        {R"(C:\a\\)", R"(C:\a\)"}, {R"(C:\nul)", R"(C:\nul)"}, {R"(C:\a. \b .\...\c)", R"(C:\a. \b .\...\c)"},
        {R"(\\srv\share)", R"(\\srv\share)"}, {R"(\\srv\share\)", R"(\\srv\share\)"},
        {"//srv/share/a", R"(\\srv\share\a)"}, {R"(\\srv\\share\\a\b\..)", R"(\\srv\share\a)"},
        {R"(\\srv\share\..\..\a)", R"(\\srv\share\a)"}, {longText + R"(\b)", R"(C:\b)"},
        {"C:\\\xC3\xA9\\..\\\xF0\x9F\x98\x80", "C:\\\xF0\x9F\x98\x80"},
        // clang-format on
    };
    for (const auto& [path, full] : rows) {
        VELLOX_TRACE_ROW(path);
        const WideString wideFull = Utf8ToWide(full);
        for (std::size_t capacity = 1; capacity <= full.size() + 2; ++capacity) {
            std::string narrow(capacity + 1, '#');
            WideString wide(capacity + 1, u'#');
            const bool fits = _fullpath(narrow.data(), path.c_str(), capacity) == narrow.data();
            const bool wideFits = _wfullpath(wide.data(), Utf8ToWide(path).c_str(), capacity) == wide.data();
            ASSERT_TRUE(fits == (capacity > full.size()) && wideFits == (capacity > wideFull.size())) << capacity;
            ASSERT_TRUE(!fits || narrow.c_str() == full) << narrow;
            ASSERT_TRUE(!wideFits || wide.c_str() == wideFull) << WideToUtf8(wide.c_str());
            ASSERT_TRUE(narrow.back() == '#' && wide.back() == u'#') << "written behind a capacity of " << capacity;
        }
    }
}

TEST_F(FullPathServiceTest, FailsWithoutTheCurrentDirectoryOnlyForWhatIsRelativeToIt) {
    fs::create_directory("gone");
    fs::current_path("gone");
    fs::remove(At("gone"));
    char narrow[1040];
    WCHAR wide[1040];
    for (const char* path : {"", "a", "C:", "C:a"})
        EXPECT_TRUE(!_fullpath(narrow, path, 1040) && !_wfullpath(wide, Utf8ToWide(path).c_str(), 1040)) << path;
    EXPECT_TRUE(_fullpath(narrow, R"(\a)", 1040) && _wfullpath(wide, u"X:a", 1040));
}

TEST(PosixPath, PlacesDriveCAtTheRootAndKnowsNoOtherVolume) {
    const std::string longest = "/" + std::string(PATH_MAX - 2, 'a');
    const std::string rows[][2] = {
        // clang-format off
        {R"(C:\a\b)", "/a/b"}, {"c:/a", "/a"}, {R"(\a/b\)", "/a/b/"}, {R"(C:\\a\\\b)", "/a/b"}, {R"(C:\)", "/"},
        {R"(C:\a\..\..\b\.)", "/b"}, {"C:", "."}, {"C:a", "a"}, {R"(a\.\b)", "a/b"}, {R"(a\..)", "."},
        {R"(..\a\..\..\b)", "../../b"}, {"a. \xC3\xA9", "a. \xC3\xA9"}, {longest, longest}, {longest + "a", ""},
        {"", ""}, {R"(D:\a)", ""}, {"D:a", ""}, {R"(\\srv\share\a)", ""}, {"//srv/share/a", ""},
        // clang-format on
    };
    for (const auto& [path, place] : rows) {
        EXPECT_EQ(PosixPath(path.c_str()).View(), place) << path;
        EXPECT_EQ(PosixPath(Utf8ToWide(path).c_str()).View(), place) << path;
    }
}

} // namespace
} // namespace Vellox::Posix
