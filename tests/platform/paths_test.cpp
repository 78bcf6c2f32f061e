#include "platform/posix/paths.h"

#include "frame/text.h"
#include "support/scratch.h"

namespace Vellox::Posix {
namespace {

using namespace Vellox::Testing;

constexpr std::size_t roomy = 1040;

class FullPathTest : public ScratchTest {
protected:
    // Both twins have to agree at every capacity, and neither writes behind it. `@` stands for the current directory.
    static void ExpectFullPath(const std::string& path, std::string full) {
        if (full.find('@') != std::string::npos)
            full.replace(full.find('@'), 1, Win32(fs::current_path()).substr(2));
        for (std::size_t capacity = 1; capacity <= full.size() + 2; ++capacity) {
            std::string narrow(capacity + 1, '#');
            WideString wide(capacity + 1, u'#');
            const bool fits = capacity > full.size();
            ASSERT_EQ(_fullpath(narrow.data(), path.c_str(), capacity), fits ? narrow.data() : nullptr) << capacity;
            ASSERT_EQ(_wfullpath(wide.data(), Utf8ToWide(path).c_str(), capacity), fits ? wide.data() : nullptr);
            ASSERT_EQ(narrow.back(), '#') << "behind a capacity of " << capacity;
            ASSERT_EQ(wide.back(), u'#') << "behind a capacity of " << capacity;
            ASSERT_EQ(fits ? narrow.c_str() : full, full);
            ASSERT_EQ(fits ? WideToUtf8(wide.c_str()) : full, full);
        }
    }
};

TEST_F(FullPathTest, ResolvesTheTextWithoutTheDisk) {
    const char* const rows[][2] = {
        {"", "C:@"},
        {".", "C:@"},
        {"a", R"(C:@\a)"},
        {R"(.\a/b\)", R"(C:@\a\b\)"},
        {"C:", "C:@"},
        {"c:", "c:@"},
        {"C:a", R"(C:@\a)"},
        {"c:a", R"(c:@\a)"},
        {R"(a\..)", "C:@"},
        {"X:a", R"(X:\a)"},
        {R"(x:\a\..\..\b)", R"(x:\b)"},
        {R"(\a)", R"(C:\a)"},
        {"/a", R"(C:\a)"},
        {R"(C:\)", R"(C:\)"},
        {R"(C:\a\\b//c\/d)", R"(C:\a\b\c\d)"},
        {R"(C:\a\.)", R"(C:\a)"},
        {R"(C:\a\.\)", R"(C:\a\)"},
        {R"(C:\a\b\..)", R"(C:\a)"},
        {R"(C:\a\..)", R"(C:\)"},
        {R"(C:\..\..\a)", R"(C:\a)"},
        {R"(C:\a\\)", R"(C:\a\)"},
        {R"(\\srv\share)", R"(\\srv\share)"},
        {R"(\\srv\share\)", R"(\\srv\share\)"},
        {"//srv/share/a", R"(\\srv\share\a)"},
        {R"(\\srv\\share\\a\b\..)", R"(\\srv\share\a)"},
        {R"(\\srv\share\..\..\a)", R"(\\srv\share\a)"},
        {R"(C:\a. \b .\...\c)", R"(C:\a. \b .\...\c)"},
        {R"(C:\nul)", R"(C:\nul)"},
        {R"(COM1)", R"(C:@\COM1)"},
        {"C:\\\xC3\xA9\\..\\\xF0\x9F\x98\x80", "C:\\\xF0\x9F\x98\x80"},
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row[0]);
        ExpectFullPath(row[0], row[1]);
    }
}

TEST_F(FullPathTest, MeasuresTheResultAndNotTheInput) {
    std::string path = "C:";
    for (int level = 0; level < 3000; ++level)
        path += R"(\a\..)";
    ExpectFullPath(path + R"(\b)", R"(C:\b)");
    char buffer[roomy];
    EXPECT_EQ(_fullpath(buffer, std::string(5000, 'a').c_str(), roomy), nullptr);
}

TEST_F(FullPathTest, NeedsTheCurrentDirectoryOnlyForWhatIsRelativeToIt) {
    fs::create_directory(At("gone"));
    fs::current_path(At("gone"));
    fs::remove(At("gone"));
    char narrow[roomy];
    WCHAR wide[roomy];
    for (const char* path : {"", "a", "C:", "C:a"}) {
        VELLOX_TRACE_ROW(path);
        EXPECT_EQ(_fullpath(narrow, path, roomy), nullptr);
        EXPECT_EQ(_wfullpath(wide, Utf8ToWide(path).c_str(), roomy), nullptr);
    }
    EXPECT_STREQ(_fullpath(narrow, R"(\a)", roomy), R"(C:\a)");
    EXPECT_STREQ(_fullpath(narrow, "X:a", roomy), R"(X:\a)");
}

TEST(PosixPath, PlacesDriveCAtTheRootAndKnowsNoOtherVolume) {
    const std::string longest = "/" + std::string(PATH_MAX - 2, 'a');
    const struct {
        std::string path;
        std::string place;
        DWORD error = 0;
    } rows[] = {
        {R"(C:\a\b)", "/a/b"},
        {"c:/a", "/a"},
        {R"(\a/b\)", "/a/b/"},
        {R"(C:\\a\\\b)", "/a/b"},
        {R"(C:\)", "/"},
        {R"(C:\a\..\..\b\.)", "/b"},
        {"C:", "."},
        {"C:a", "a"},
        {R"(a\.\b)", "a/b"},
        {R"(a\..)", "."},
        {R"(..\a\..\..\b)", "../../b"},
        {"a. \xC3\xA9", "a. \xC3\xA9"},
        {longest, longest},
        {longest + "a", "", ERROR_FILENAME_EXCED_RANGE},
        {"", "", ERROR_PATH_NOT_FOUND},
        {R"(D:\a)", "", ERROR_PATH_NOT_FOUND},
        {"D:a", "", ERROR_PATH_NOT_FOUND},
        {R"(\\srv\share\a)", "", ERROR_PATH_NOT_FOUND},
        {"//srv/share/a", "", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.path);
        for (const PosixPath& place : {PosixPath(row.path.c_str()), PosixPath(Utf8ToWide(row.path).c_str())}) {
            EXPECT_EQ(place.IsValid(), row.error == 0);
            EXPECT_EQ(place.View(), row.place);
        }
        EXPECT_TRUE(row.error == 0 || GetLastError() == row.error) << GetLastError();
    }
}

} // namespace
} // namespace Vellox::Posix
