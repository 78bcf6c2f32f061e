#include <regex>
#include <set>
#include <thread>

#include "frame/text.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

// The temporary folder is a scratch folder of the test's own.
class TemporaryNamesTest : public ScratchTest {
protected:
    TemporaryNamesTest() {
        fs::create_directory(At("tmp"));
        SetTemporaryFolder(At("tmp"));
    }
    ~TemporaryNamesTest() override { SetTemporaryFolder(before_); }

    std::string Folder() const { return In("tmp") + "\\"; }
    std::string NameOf(const std::string& path) const {
        EXPECT_EQ(path.substr(0, Folder().size()), Folder());
        return path.substr(std::min(Folder().size(), path.size()));
    }

private:
    const fs::path before_ = fs::temp_directory_path();
};

TEST_F(TemporaryNamesTest, MakesAnEmptyFileOfTheSystemsForm) {
    const char* const rows[][3] = {{"vocal", "voc[0-9A-F]+\\.TMP", everywhere},
                                   {"v", "v[0-9A-F]+\\.TMP", everywhere},
                                   {"", "[0-9A-F]+\\.TMP", everywhere},
                                   {"\xC3\xA9t\xC3\xA9s", "\xC3\xA9t\xC3\xA9[0-9A-F]+\\.TMP", withoutCodePage}};
    for (const auto& [prefix, form, onlyOn] : rows) {
        VELLOX_TRACE_ROW(prefix);
        if (!HoldsHere(onlyOn))
            continue;
        const std::string name = NameOf(GetTempFilename(prefix));
        EXPECT_TRUE(std::regex_match(name, std::regex(form, std::regex::icase))) << name;
        EXPECT_EQ(ReadFile(At("tmp") / name), "");
        const WideString wide = GetTempFilename(Utf8ToWide(prefix));
        const std::string wideName = NameOf(WideToUtf8(wide.c_str()));
        EXPECT_TRUE(std::regex_match(wideName, std::regex(form, std::regex::icase))) << wideName;
        EXPECT_TRUE(fs::is_regular_file(At("tmp") / wideName));
    }
}

TEST_F(TemporaryNamesTest, LeavesNothingWhereItOnlyNames) {
    const std::regex form("fld[0-9A-F]+\\.TMP", std::regex::icase); // some systems write small letters
    EXPECT_TRUE(std::regex_match(NameOf(GetTempFilenameNoCreate()), form));
    EXPECT_TRUE(std::regex_match(NameOf(WideToUtf8(GetTempFilenameNoCreateW().c_str())), form));
    EXPECT_TRUE(std::regex_match(NameOf(WideToUtf8(GetTempFolderW().c_str())), form));
    EXPECT_EQ(GetUniqueTempFilename("wav"), Folder() + "vellox.wav");
    EXPECT_EQ(GetUniqueTempFilename("wav"), Folder() + "vellox.wav");
    EXPECT_EQ(GetUniqueTempFilename(""), Folder() + "vellox.");
    EXPECT_EQ(GetUniqueTempFilename(".wav"), Folder() + "vellox..wav");
    EXPECT_TRUE(fs::is_empty(At("tmp")));
    WriteFile(At("tmp/vellox.wav"), "");
    EXPECT_EQ(GetUniqueTempFilename("wav"), Folder() + "vellox1.wav");
    EXPECT_EQ(GetTempFolder(), Folder());
    EXPECT_EQ(GetTempFolderT(), Folder());
    EXPECT_EQ(GetTempFolderRoot(), Folder());
}

TEST_F(TemporaryNamesTest, GivesEmptyTextWhereNoFileCanBeMade) {
    const auto expectNone = [] {
        EXPECT_EQ(GetTempFilename("a"), "");
        EXPECT_EQ(GetTempFilename(WideString{'a'}), WideString());
        EXPECT_EQ(GetTempFilenameNoCreate(), "");
        EXPECT_EQ(GetTempFilenameNoCreateW(), WideString());
    };
    EXPECT_TRUE(!HoldsHere("linux: Windows takes the prefix as it comes") || GetTempFilename("..\\").empty());
    {
        fs::permissions(At("tmp"), fs::perms::owner_all);
        const AsOrdinaryUser user;
        if (user.IsBound())
            expectNone();
    }
    SetTemporaryFolder(At("none"));
    expectNone();
    EXPECT_EQ(GetTempFolder(), In("none") + "\\");
    SetTemporaryFolder(At(std::string(2000, 'x')));
    expectNone();
    EXPECT_EQ(GetUniqueTempFilename("wav"), "vellox.wav");
}

TEST_F(TemporaryNamesTest, SixteenThreadsGetDifferentFiles) {
    constexpr std::size_t threadCount = 16;
    constexpr std::size_t callCount = 100;
    std::vector<std::vector<std::string>> names(threadCount);
    std::vector<std::thread> threads;
    for (auto& own : names)
        threads.emplace_back([&own] {
            for (std::size_t call = 0; call < callCount; ++call)
                own.push_back(GetTempFilename("mix"));
        });
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> different;
    for (const auto& own : names)
        different.insert(own.begin(), own.end());
    EXPECT_EQ(different.size(), threadCount * callCount);
    EXPECT_EQ(GetFolderFiles(Folder() + "*").size(), threadCount * callCount);
}

} // namespace
} // namespace Vellox::FileNames
