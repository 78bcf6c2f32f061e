#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;

class FullPathServiceTest : public ScratchTest {};

// Both twins answer alike at every capacity, and write nothing behind it.
TEST_F(FullPathServiceTest, ResolvesTheTextWithoutTheDisk) {
    const std::string here = Win32(fs::current_path());
    constexpr const char* noDevices = "linux: Windows has devices of that name";
    constexpr const char* asLetter = "linux: Wine takes the drive's letter as the current directory has it";
    const std::string rows[][3] = {
        // clang-format off
        {"", here, "linux: Windows has no full form of the empty text"}, {".", here}, {R"(a\..)", here}, {"a", here + R"(\a)"},
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
        {"C:\\\xC3\xA9\\..\\\xF0\x9F\x98\x80", "C:\\\xF0\x9F\x98\x80", withoutCodePage},
        // clang-format on
    };
    for (const auto& [path, full, onlyOn] : rows) {
        VELLOX_TRACE_ROW(path);
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
    fs::create_directory("gone");
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
