#include "filesystem/queries.h"

#include <algorithm>
#include <limits>

#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class QueriesTest : public ScratchTest {
protected:
    QueriesTest() {
        for (const char* name : {".hidden", "B.WAV", "a.wav", "denied", "r\xC3\xA9.txt", "sub/in"})
            WriteFile(At(name), "");
        fs::permissions(At("denied"), fs::perms::none);
        fs::create_directories(At("parent.wav/empty"));
        fs::create_symlink("sub", At("link"));
        fs::create_symlink("none", At("dangling"));
    }

    static std::string Sorted(std::vector<std::string> names) {
        std::sort(names.begin(), names.end());
        std::string text;
        for (const std::string& name : names)
            text += name + " ";
        return text;
    }
};

TEST_F(QueriesTest, TellWhatStandsAtAPath) {
    const struct {
        std::string path;
        bool opens, exists, isFolder, isEmpty;
    } rows[] = {
        // clang-format off
        {"a.wav", true, true, false, false},             {"denied", false, true, false, false},
        {"sub", false, true, true, false},               {R"(sub\)", false, true, true, false},
        {R"(sub\*)", false, false, false, false},        {R"(parent.wav\*)", false, false, false, false},
        {R"(parent.wav\empty)", false, true, true, true}, {R"(parent.wav\empty\)", false, true, true, true},
        {R"(parent.wav\empty\*)", false, false, false, true}, {"link", false, true, true, false},
        {"dangling", false, true, false, false},         {std::string("a.wav\0x", 7), true, true, false, false},
        {"none", false, false, false, true},             {R"(none\*)", false, false, false, true},
        {"", false, false, false, true},                 {R"(Q:\)", false, false, false, true},
        // clang-format on
    };
    const AsOrdinaryUser user;
    for (const auto& row : rows)
        for (const bool preset : {false, true}) {
            VELLOX_TRACE_ROW(row.path);
            EXPECT_EQ(CheckFileExists(row.path), row.opens);
            EXPECT_EQ(CheckFolderExists(row.path), row.exists);
            EXPECT_EQ(CheckFileExistsEvenIfNotAccessible(row.path), row.exists);
            bool isFolder = preset;
            EXPECT_EQ(CheckPathIsDirectory(row.path, isFolder), row.exists);
            EXPECT_EQ(isFolder, row.exists ? row.isFolder : preset);
            EXPECT_EQ(IsFolderEmpty(row.path), row.isEmpty);
            EXPECT_EQ(GetAvailableSpace(row.path) == std::numeric_limits<std::int64_t>::max(), !row.isFolder);
            bool flag = preset;
            EXPECT_TRUE(!IsSymlink(row.path) && !IsSpecialFile(row.path, flag) && flag);
        }
}

TEST_F(QueriesTest, ListTheNamesThatMatch) {
    const char* const rows[][3] = {
        // clang-format off
        {"*", ".hidden B.WAV a.wav dangling denied r\xC3\xA9.txt ", "link parent.wav sub "},
        {"*.*", ".hidden B.WAV a.wav dangling denied r\xC3\xA9.txt ", "link parent.wav sub "},
        {"*.wav", "B.WAV a.wav ", "parent.wav "}, {"?.wav", "B.WAV a.wav ", ""}, {"R?.T*T", "r\xC3\xA9.txt ", ""},
        {"*?b*", "", "sub "}, {"sub", "", "sub "}, {"a.wav", "a.wav ", ""}, {"A.wav", "", ""}, {R"(sub\*)", "in ", ""},
        {"link/*", "in ", ""}, {R"(s*\in)", "", ""}, {R"(a.wav\*)", "", ""}, {R"(sub\)", "", ""}, {"", "", ""},
        {R"(none\*)", "", ""}, {R"(Q:\*)", "", ""},
        // clang-format on
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row[0]);
        EXPECT_EQ(Sorted(GetFolderFiles(row[0])), row[1]);
        EXPECT_EQ(Sorted(GetFolderSubfolders(row[0])), row[2]);
    }
}

TEST_F(QueriesTest, HandOutTheNamesFromTheLastToTheFirst) {
    for (const char* pattern : {"*", "none*"}) {
        void* state = this;
        std::vector<std::string> names = GetFolderFiles(pattern);
        EXPECT_EQ(GetFolderFiles(pattern, nullptr, 0, &state), names.size());
        std::string buffer(8, '#');
        for (; !names.empty(); names.pop_back(), buffer.assign(8, '#')) {
            EXPECT_EQ(GetFolderFiles(nullptr, buffer.data(), 5, &state), names.size() - 1);
            EXPECT_EQ(buffer.substr(0, 7), (names.back().substr(0, 5) + '\0' + "######").substr(0, 7));
        }
        EXPECT_EQ(GetFolderFiles(nullptr, buffer.data(), 5, &state), -1);
        EXPECT_EQ(buffer, "########");
    }
}

TEST_F(QueriesTest, ReachTheProcess) {
    EXPECT_EQ(GetModuleFilename(), Win32(fs::read_symlink("/proc/self/exe")));
    VelloxSetCurrentDirectory(In("sub").c_str());
    VelloxSetCurrentDirectory("none");
    EXPECT_EQ(fs::current_path(), At("sub"));
}

} // namespace
} // namespace Vellox::FileNames
