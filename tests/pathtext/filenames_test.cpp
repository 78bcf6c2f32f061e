#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

template <typename Char> std::basic_string<Char> As(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST(Filenames, AreCutFromTheText) {
    const std::string rows[][4] = {
        // clang-format off
        {R"(C:\a\b.wav)", "b.wav", R"(C:\a\b)", R"(C:\a)"}, {R"(C:\a.d\b)", "b", R"(C:\a)", R"(C:\a.d)"},
        {R"(C:\a\)", "", R"(C:\a\)", R"(C:\a)"}, {R"(C:\)", "", R"(C:\)", "C:"}, {"b.wav", "b.wav", "b", "b.wav"},
        {"b", "b", "b", "b"}, {"", "", "", ""}, {".wav", ".wav", "", ".wav"}, {R"(\b)", "b", R"(\b)", ""},
        {"b.tar.gz", "b.tar.gz", "b.tar", "b.tar.gz"}, {"C:/a/b.wav", "C:/a/b.wav", "C:/a/b", "C:/a"},
        {"a\\b\0\\c.d"s, "b", "a\\b\0\\c"s, "a\\b\0"s}, {R"(a\b/c)", "b/c", R"(a\b/c)", R"(a\b)"},
        // clang-format on
    };
    for (const auto& [path, name, withoutExtension, folder] : rows) {
        VELLOX_TRACE_ROW(path);
        EXPECT_EQ(GetFilenameWithoutPath(path), name);
        EXPECT_EQ(GetFilenameWithoutPath(As<WideChar>(path)), As<WideChar>(name));
        EXPECT_EQ(GetFilenameWithoutExtension(path), withoutExtension);
        EXPECT_EQ(GetFolderPathFromFilename(path), folder);
    }
    const std::string patterns[][2] = {{R"(C:\a)", R"(C:\a\*)"}, {"C:", R"(C:\*)"}, {R"(C:\a\)", R"(C:\a\\*)"}};
    for (const auto& [path, pattern] : patterns)
        EXPECT_EQ(FormatDirectory(path), pattern);
    EXPECT_EQ(FormatDirectory(""), R"(\*)");
}

class FolderOfPathTest : public ScratchTest {
protected:
    template <typename Char> static void ExpectFolder(const std::string& path, const std::string& folder) {
        EXPECT_EQ(path_rimuovifilename(As<Char>(path)), As<Char>(folder));
        std::basic_string<Char> buffer = As<Char>(path);
        buffer.resize(4000);
        path_rimuovifilename(buffer.data(), static_cast<std::int32_t>(buffer.size() * sizeof(Char)));
        EXPECT_EQ(buffer.c_str(), As<Char>(folder));
    }

    // The result needs six characters; the text behind the capacity is the guard.
    template <typename Char> static void WalkCapacities() {
        const std::basic_string<Char> before = As<Char>(R"(C:\a\b.wav)");
        for (std::int32_t size = -3; size <= static_cast<std::int32_t>(8 * sizeof(Char)); ++size) {
            VELLOX_TRACE_ROW(std::to_string(size));
            const std::size_t capacity = size < 0 ? 0 : static_cast<std::size_t>(size) / sizeof(Char);
            std::basic_string<Char> buffer = before;
            path_rimuovifilename(buffer.data(), size);
            EXPECT_EQ(buffer.c_str(), capacity == 0 ? before : As<Char>(capacity < 6 ? "" : R"(C:\a\)"));
            EXPECT_EQ(buffer.substr(capacity), before.substr(capacity));
        }
        path_rimuovifilename(static_cast<Char*>(nullptr), 100);
    }
};

TEST_F(FolderOfPathTest, IsAbsoluteAndEndsInABackslash) {
    fs::create_directories(At("w/x"));
    fs::current_path(At("w/x"));
    const std::string w = In(R"(w\)");
    const std::string rows[][3] = {
        // clang-format off
        {R"(C:\a\b.wav)", R"(C:\a\)", "C:"}, {R"(C:\a\)", R"(C:\a\)", "C:"}, {R"(C:\a)", R"(C:\)", "C:"},
        {R"(C:\)", R"(C:\)", "C:"}, {"C:/a/b.wav", R"(C:\a\)", "C:"}, {"b.wav", w + R"(x\)", ""},
        {R"(..\b.wav)", w, ""}, {R"(\\srv\share\b.wav)", R"(\\srv\share\)", ""}, {"", w, ""},
        {"C:b.wav", w + R"(x\)", "C:"}, {R"(X:\a\..\b)", R"(X:\)", "X:"}, {R"(C:\a\.)", R"(C:\)", "C:"},
        {"C:\\a\\b\0\\c"s, R"(C:\a\)", "C:"},
        // clang-format on
    };
    for (const auto& [path, folder, root] : rows) {
        VELLOX_TRACE_ROW(path);
        ExpectFolder<char>(path, folder);
        ExpectFolder<WideChar>(path, folder);
        EXPECT_EQ(GetPathWithoutFilename(path), folder);
        std::string text = path;
        EXPECT_EQ(GetPathRoot(text), root);
        EXPECT_EQ(text, path);
    }
    EXPECT_EQ(path_rimuovifilename("C:\\caf\xE9\\\xFF"s), "C:\\caf\xE9\\");
    EXPECT_EQ(AppendStringBeforeFilename(R"(C:\a\b.wav)", "x_"), R"(C:\a\x_b.wav)");
    EXPECT_EQ(AppendStringBeforeFilename("b.wav", "x_"), w + R"(x\x_b.wav)");
    EXPECT_EQ(AppendStringBeforeFilename(R"(C:\a\)", "x_"), R"(C:\a\x_)");
    EXPECT_EQ(AppendStringBeforeFilename("C:/a/b.wav", "x_"), R"(C:\a\x_C:/a/b.wav)");
    fs::remove(At("w/x"));
    ExpectFolder<char>("b.wav", "");
}

TEST_F(FolderOfPathTest, IsEmptyBeyondTheLimits) {
    const auto text = [](std::size_t size) { return std::string(size, 'a'); };
    const struct {
        std::string longest, folder, tooLong;
    } rows[] = {
        {R"(C:\)" + text(253) + R"(\b.c)", R"(C:\)" + text(253) + R"(\)", R"(C:\)" + text(254) + R"(\b.c)"},
        {R"(C:\f\)" + text(255) + ".c", R"(C:\f\)", R"(C:\f\)" + text(256) + ".c"},
        {R"(C:\f\b.)" + text(254), R"(C:\f\)", R"(C:\f\b.)" + text(255)},
        {R"(C:\f\b.c)", R"(C:\f\)", R"(C:\f\)" + text(1040)},
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.tooLong);
        ExpectFolder<char>(row.longest, row.folder);
        ExpectFolder<WideChar>(row.longest, row.folder);
        ExpectFolder<char>(row.tooLong, "");
        ExpectFolder<WideChar>(row.tooLong, "");
        EXPECT_EQ(AppendStringBeforeFilename(row.tooLong, ""), row.tooLong.substr(row.tooLong.rfind('\\') + 1));
    }
    std::string detour = R"(C:\f)";
    while (detour.size() < 1036)
        detour += R"(\.)";
    EXPECT_EQ(path_rimuovifilename(detour + R"(\bc)"), R"(C:\f\)");
    EXPECT_EQ(path_rimuovifilename(detour + R"(\bcd)"), "");
    EXPECT_EQ(path_rimuovifilename(As<WideChar>(detour + R"(\bc)")), As<WideChar>(R"(C:\f\)"));
    EXPECT_EQ(path_rimuovifilename(As<WideChar>(detour + R"(\bcd)")), WideString());
    for (const auto& [start, end] : {std::pair(R"(C:\)"s, R"(\)"s), {"C:", ""}, {"C:.", ""}}) {
        std::string path = start + text(1041 - start.size() - end.size()) + end;
        EXPECT_EQ(GetPathRoot(path), "C:");
        EXPECT_EQ(GetPathRoot(path.insert(start.size(), "a")), "");
    }
    WalkCapacities<char>();
    WalkCapacities<WideChar>();
}

} // namespace
} // namespace Vellox::FileNames
