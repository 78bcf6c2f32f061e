#include <algorithm>

#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

std::string Sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

class ListingTest : public ScratchTest {};

TEST_F(ListingTest, GivesTheNamesThatMatch) {
    for (const char* name : {".hidden", "B.WAV", "a.wav", "r\xC3\xA9.txt", "sub/in", "sub.wav/in"})
        WriteFile(At(name), "");
    fs::create_symlink("none", At("dangling"));
    fs::create_symlink("sub", At("link"));
    const char* const rows[][3] = {
        // clang-format off
        {"*", ".hidden B.WAV a.wav dangling r\xC3\xA9.txt", "link sub sub.wav"},
        {"*.*", ".hidden B.WAV a.wav dangling r\xC3\xA9.txt", "link sub sub.wav"},
        {"*.wav", "B.WAV a.wav", "sub.wav"}, {"?.wav", "B.WAV a.wav", ""}, {"R?.T*T", "r\xC3\xA9.txt", ""},
        {"*?b*", "", "sub sub.wav"},         {"sub", "", "sub"},           {"a.wav", "a.wav", ""}, {"A.wav", "", ""},
        {R"(sub\*)", "in", ""},              {"link/*", "in", ""},         {R"(s*\in)", "", ""}, {R"(a.wav\*)", "", ""},
        {R"(sub\)", "", ""},                 {"", "", ""},                 {R"(none\*)", "", ""}, {R"(Q:\*)", "", ""},
        // clang-format on
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row[0]);
        EXPECT_EQ(Sorted(GetFolderFiles(row[0])), row[1]);
        EXPECT_EQ(Sorted(GetFolderSubfolders(row[0])), row[2]);
    }
}

TEST_F(ListingTest, HandsOutNamesFromTheLastToTheFirst) {
    for (const char* name : {"abcdef", "bc", "c"})
        WriteFile(At(name), "");
    for (const std::int32_t maxLength : {1, 4, 6, 1039}) {
        std::vector<std::string> names = GetFolderFiles("*");
        void* state = this;
        EXPECT_EQ(GetFolderFiles("*", nullptr, 0, &state), 3);
        for (std::int32_t left = 2; left >= 0; --left, names.pop_back()) {
            std::string buffer(1041, '#');
            EXPECT_EQ(GetFolderFiles(nullptr, buffer.data(), maxLength, &state), left);
            const std::string name = names.back().substr(0, static_cast<std::size_t>(maxLength));
            EXPECT_EQ(buffer, name + '\0' + std::string(1040 - name.size(), '#'));
        }
        char untouched = '#';
        EXPECT_EQ(GetFolderFiles(nullptr, &untouched, maxLength, &state), -1);
        EXPECT_EQ(untouched, '#');
    }
}

} // namespace
} // namespace Vellox::FileNames
