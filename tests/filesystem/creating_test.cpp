#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class CreatingTest : public ScratchTest {
protected:
    std::ptrdiff_t Entries() const { return std::distance(fs::recursive_directory_iterator(At("")), {}); }
};

TEST_F(CreatingTest, MakesTheMissingLevelsBelowTheFirst) {
    WriteFile(At("file"), "");
    const std::string here = In("old").substr(0, In("old").size() - 4);
    const struct {
        std::string path;
        bool isThere;
        int made;
    } rows[] = {
        // clang-format off
        {here + R"(\a\b\c)", true, 3}, {here + R"(\a\b\c)", true, 0}, {here.substr(2) + R"(\\d\\e\)", true, 2},
        {here + R"(\a/b\x)", true, 1}, {here + R"(\m/n\x)", false, 0}, {R"(C:\a/b)", true, 0}, {"C:/x/y", true, 0},
        {here + R"(\file)", true, 0}, {here + R"(\file\x\y)", false, 0}, {here + R"(\f\\file)", true, 2},
        {"Songs", true, 0}, {R"(p\q)", false, 0}, {R"(a\q)", true, 1}, {"", true, 0}, {R"(\\\)", true, 0},
        {"C:", true, 0}, {R"(Q:\)", true, 0}, {R"(Q:\a)", false, 0}, {R"(\\srv\share)", true, 0},
        {R"(\\srv\share\a)", false, 0},
        // clang-format on
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.path);
        const std::ptrdiff_t before = Entries();
        EXPECT_EQ(CreateDirectories(row.path), row.isThere);
        EXPECT_EQ(Entries() - before, row.made);
    }
    EXPECT_TRUE(fs::is_directory(At("a/b/c")) && fs::is_directory(At("d/e")) && fs::is_directory(At("a/b/x")));
}

TEST_F(CreatingTest, MakesOneFolderUnderAFreeName) {
    WriteFile(At("file"), "");
    EXPECT_TRUE(CreateDirectoryA("caf\xC3\xA9"));
    EXPECT_TRUE(fs::is_directory(At("caf\xC3\xA9")));
    for (const char* path : {"caf\xC3\xA9", "file", R"(none\a)", R"(file\a)", "", R"(Q:\a)"})
        EXPECT_FALSE(CreateDirectoryA(path)) << path;
}

} // namespace
} // namespace Vellox::FileNames
