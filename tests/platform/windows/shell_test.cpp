#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

// What copying and deleting leave to Windows, and what stands before its shell.

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

// Wine has a call for the path of the system below, and runs its programs. Empty on Windows itself.
std::string PathBelowWine(const fs::path& path) {
    const auto address = ::GetProcAddress(::GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name");
    const auto ask = reinterpret_cast<char* (*)(const WCHAR*)>(reinterpret_cast<void*>(address));
    return ask == nullptr ? std::string() : ask(path.c_str());
}

class ShellTest : public ScratchTest {
protected:
    ShellTest() { Make({"song/sub/take", "song/old"}); }
    ~ShellTest() override {
        if (fs::exists(At("link")))
            RunBelowWine("rm", {"link"}, false);
    }

    // Wine makes no links, but takes those that the system below made.
    bool MakeLink() const {
        RunBelowWine("ln", {"song/sub", "link"}, true);
        return fs::exists(At("link/take"));
    }

private:
    // Nobody tells when such a program has ended, so its work is waited for.
    void RunBelowWine(const std::string& program, std::initializer_list<const char*> names, bool makesLink) const {
        std::string line = R"(Z:\bin\)" + program + (makesLink ? " -s" : "");
        for (const char* name : names)
            line += " \"" + PathBelowWine(At(name)) + '"';
        STARTUPINFOA startup = {};
        PROCESS_INFORMATION process = {};
        ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
        for (int round = 0; round < 200 && fs::exists(At("link")) != makesLink; ++round)
            ::Sleep(10);
    }
};

TEST_F(ShellTest, KeepsTheFoldersThatLeadToTheCurrentOne) {
    if (!MakeLink())
        GTEST_SKIP() << "links and a second drive letter are made by way of Wine";
    const std::string other = "Z:" + PathBelowWine(At("song"));
    for (const std::string& current : {In("song/sub"), In("link"), other + "/sub"})
        for (const std::string& deleted : {In("song"), In("song/sub"), In("link"), other, std::string(".")}) {
            SCOPED_TRACE(deleted + " from " + current);
            VelloxSetCurrentDirectory(current.c_str());
            DeleteFolderWithContents(deleted.c_str(), false, true);
            EXPECT_TRUE(fs::exists(At("song/sub/take")));
        }
    fs::current_path(At("song").parent_path());
}

TEST_F(ShellTest, CopiesNoFolderIntoItself) {
    if (!MakeLink())
        GTEST_SKIP() << "links are made by way of Wine";
    const std::string before = Describe("song");
    for (const char* destination : {"link", "link/x/y", "song/x/y", "song"}) {
        SCOPED_TRACE(destination);
        CopyFolder("song", destination);
        EXPECT_EQ(Describe("song"), before);
    }
}

// A new file in the place of the old one would have other links, rights and streams.
TEST_F(ShellTest, WritesACopyIntoTheFileThatIsThere) {
    fs::create_hard_link("song/old", "twin");
    EXPECT_TRUE(CopyFileA("song/sub/take", "song/old", false, nullptr));
    EXPECT_EQ(ReadFile("twin"), "song/sub/take");
}

TEST_F(ShellTest, GoesOnPastAFolderThatCannotBeRead) {
    Make({"song/unread/"});
    HANDLE held = ::CreateFileW(At("song/unread").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    EXPECT_TRUE(GetFolderFiles("song\\unread\\*").empty());
    CopyFolder("song", "new/x/y");
    EXPECT_TRUE(fs::exists(At("new/x/y/sub/take")));
    DeleteFolderWithContents("song", false, true);
    EXPECT_FALSE(fs::exists(At("song/old")));
    ::CloseHandle(held);
}

TEST_F(ShellTest, MakesTheFoldersAboveACopy) {
    Make({"empty/"});
    CopyFolder("empty", "new/x/y");
    EXPECT_TRUE(fs::is_directory("new/x/y"));
    CopyFolder("song", "new/z/z");
    EXPECT_TRUE(fs::exists("new/z/z/sub/take"));
    CopyFolder("missing", "no/x");
    EXPECT_FALSE(fs::exists("no"));
}

} // namespace
} // namespace Vellox::FileNames
