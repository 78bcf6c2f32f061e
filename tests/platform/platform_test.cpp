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

class FilesTest : public ScratchTest {};

TEST_F(FilesTest, ShareOnlyAsBothSidesAllow) {
    WriteFile("file", "old");
    for (DWORD row = 0; row < 256; ++row) {
        const DWORD held = row >> 6, heldShare = row >> 4 & both, use = row >> 2 & both, share = row & both;
        if (held == 0 || use == 0)
            continue;
        SCOPED_TRACE("held to " + std::to_string(held) + ", shares " + std::to_string(heldShare) + "; opened to " +
                     std::to_string(use) + ", shares " + std::to_string(share));
        const bool isGranted = (use & ~heldShare) == 0 && (held & ~share) == 0;
        const HANDLE holder = Open("file", held, heldShare);
        EXPECT_EQ(Opens("file", use, share), isGranted);
        EXPECT_EQ(Opens("file", use, share), isGranted) << "a second time";
        EXPECT_TRUE(isGranted || !Opens("file", use | writes, share, CREATE_ALWAYS)) << "as a new one";
        ::CloseHandle(holder);
    }
    EXPECT_EQ(ReadFile("file"), "old");
}

TEST_F(FilesTest, OpenAtOnceOrNotAtAll) {
    Make({"file", "marked", "replaced", "folder/"});
    fs::permissions("marked", fs::perms(0444));
    MakeFifo("fifo");
    MakeLink("folder", "link");
    MakeLink("loop", "loop");
    constexpr bool opens = true, fails = false;
    struct Row {
        std::string path;
        DWORD use, disposition;
        bool result;
        OnlyOn onlyOn = anywhere;
    };
    const Row rows[] = {
        {"file", both, OPEN_EXISTING, opens},
        {R"(none\..\file)", reads, OPEN_EXISTING, opens},
        {R"(file\x)", reads, OPEN_EXISTING, fails},
        {"none", writes, OPEN_EXISTING, fails},
        {"", writes, CREATE_ALWAYS, fails},
        {"folder", reads, OPEN_EXISTING, fails},
        {"link", reads, OPEN_EXISTING, fails},
        {"loop", reads, OPEN_EXISTING, fails},
        {"fifo", reads, OPEN_EXISTING, opens, OnLinux("only there is one")},
        {"fifo", writes, OPEN_EXISTING, fails},
        {"marked", reads, OPEN_EXISTING, opens},
        {"marked", writes, OPEN_EXISTING, fails, withRights},
        {"marked", writes, CREATE_ALWAYS, fails, withRights},
        {"replaced", writes, CREATE_ALWAYS, opens},
        {"new", writes, CREATE_ALWAYS, opens},
    };
    for (const Row& row : RowsHere(rows, &Row::path))
        EXPECT_EQ(Opens(row.path, row.use, both, row.disposition), row.result)
            << row.path << ", use " << row.use << ", disposition " << row.disposition;
    EXPECT_EQ(ReadFile("replaced"), "");
    EXPECT_EQ(ReadFile("marked"), "marked");
    fs::remove("loop");
}

class FullPathServiceTest : public ScratchTest {};

// Both twins answer alike at every capacity, and write nothing behind it.
TEST_F(FullPathServiceTest, ResolvesTheTextWithoutTheDisk) {
    const std::string here = Win32(fs::current_path());
    constexpr OnlyOn asLetter = OnLinux("Wine takes the drive's letter as the current directory has it");
    const TextRow rows[] = {
        {"", here},
        {"C:", here, OnLinux("Wine puts a backslash behind")},
        {"c:", "c" + here.substr(1), asLetter},
        {"C:a", here + R"(\a)"},
        {"c:a", "c" + here.substr(1) + R"(\a)", asLetter},
        {R"(.\a/b\)", here + R"(\a\b\)"},
        {"X:a", R"(X:\a)"},
        {R"(x:\a\..\..\b)", R"(x:\b)"},
        {R"(\a)", R"(C:\a)"},
        {"/a", R"(C:\a)", OnLinux("Wine takes it for a path of the system below")},
        {R"(C:\a\\b//c\/d)", R"(C:\a\b\c\d)"},
        {R"(C:\..\..\a)", R"(C:\a)"},
        {R"(C:\a\.)", R"(C:\a)"},
        {R"(C:\a\b\..)", R"(C:\a)"},
        {R"(C:\a\..)", R"(C:\)"},
        {R"(C:\nul)", R"(C:\nul)", OnLinux("Windows has a device of that name")},
        {R"(C:\a. \b .\...\c)", R"(C:\a. \b .\...\c)", withAnyName},
        {R"(\\srv\share)", R"(\\srv\share)"},
        {"//srv/share/a", R"(\\srv\share\a)"},
        {R"(\\srv\\share\\a\b\..)", R"(\\srv\share\a)", OnLinux("Wine keeps doubled separators behind a share")},
        {R"(\\srv\share\..\..\a)", R"(\\srv\share\a)"},
        {"C:" + std::string(5000, '\\') + R"(a\..\b)", R"(C:\b)", withLongFullPath},
        {"C:\\\xC3\xA9\\..\\\xF0\x9F\x98\x80", "C:\\\xF0\x9F\x98\x80"},
    };
    for (const auto& [path, full, onlyOn] : RowsHere(rows, &TextRow::given)) {
        SCOPED_TRACE("the path is '" + path + "'");
        const WideString widePath = Utf8ToWide(path), wideFull = Utf8ToWide(full);
        for (std::size_t capacity = 1; capacity <= full.size() + 2; ++capacity) {
            SCOPED_TRACE("capacity " + std::to_string(capacity));
            std::string narrow(capacity + 1, '#');
            WideString wide(capacity + 1, '#');
            ASSERT_EQ(_fullpath(narrow.data(), path.c_str(), capacity),
                      capacity > full.size() ? narrow.data() : nullptr);
            ASSERT_EQ(_wfullpath(wide.data(), widePath.c_str(), capacity),
                      capacity > wideFull.size() ? wide.data() : nullptr);
            ASSERT_EQ(capacity > full.size() ? narrow.c_str() : full, full) << "of _fullpath";
            ASSERT_EQ(capacity > wideFull.size() ? wide.c_str() : wideFull, wideFull) << "of _wfullpath";
            ASSERT_EQ(narrow.back(), '#') << "written behind it";
            ASSERT_EQ(wide.back(), '#') << "written behind it";
        }
    }
    if (!HoldsHere(OnLinux("Windows keeps the current directory from going"), "a current directory that is gone"))
        return;
    // Without a current directory, what is relative to it has no full form.
    Make({"gone/"});
    fs::current_path("gone");
    fs::remove(At("gone"));
    char narrow[1040];
    WCHAR wide[1040];
    for (const char* path : {"", "a", "C:", "C:a"}) {
        EXPECT_EQ(_fullpath(narrow, path, 1040), nullptr) << path;
        EXPECT_EQ(_wfullpath(wide, Utf8ToWide(path).c_str(), 1040), nullptr) << path;
    }
    EXPECT_NE(_fullpath(narrow, R"(\a)", 1040), nullptr);
    EXPECT_NE(_wfullpath(wide, Utf8ToWide("X:a").c_str(), 1040), nullptr);
}

} // namespace
} // namespace Vellox
