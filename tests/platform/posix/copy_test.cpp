#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"

// What only this system has below the calls: links with targets, limits, signals, the freedesktop.org trash.

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class CopyTest : public ScratchTest {
protected:
    CopyTest() { SetDataFolder(At("data")); }
    ~CopyTest() override { ::unsetenv("XDG_DATA_HOME"); }

    // NOLINTNEXTLINE(cert-env33-c)
    static void Shell(const std::string& text) { ASSERT_EQ(std::system(("umask 022; set -e; " + text).c_str()), 0); }
    static auto Entries(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }
};

TEST_F(CopyTest, FollowsLinksAndTellsOfAFullDisk) {
    Shell("echo old > target; ln -s target link; truncate -s 200K big; echo a > marked; chmod 444 marked");
    EXPECT_TRUE(CopyFileA("link", "plain", true, nullptr) && !fs::is_symlink("plain"));
    EXPECT_TRUE(CopyFileA(R"(C:\proc\version)", "link", false, nullptr) && fs::is_symlink("link"));
    EXPECT_EQ(ReadFile("target"), ReadFile("/proc/version")) << "which tells a size of 0";
    EXPECT_FALSE(CopyFileA("target", "marked", false, nullptr)) << "nor by a user whom rights do not bind";
    const std::string before = Describe(".");
    struct rlimit old {};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const struct rlimit full { 100000, old.rlim_max };
    static_cast<void>(::signal(SIGXFSZ, SIG_IGN));
    ::setrlimit(RLIMIT_FSIZE, &full);
    for (const char* destination : {"plain", "new"}) {
        auto error = static_cast<CopyFileError>(-1);
        EXPECT_TRUE(!CopyFileA("big", destination, false, &error) && error == DestinationNotWritable);
    }
    ::setrlimit(RLIMIT_FSIZE, &old);
    static_cast<void>(::signal(SIGXFSZ, SIG_DFL));
    EXPECT_EQ(Describe("."), before);
}

TEST_F(CopyTest, RecyclesEveryItemWithItsWayBack) {
    const fs::path other = OtherVolume();
    const std::string end = other.filename().string(), item = "a b%\xC3\xA9" + end;
    Shell("mkdir -p locked/item; chmod 555 locked");
    const AsOrdinaryUser user;
    for (const fs::path& path : {At(item), At(item), other / item}) {
        WriteFile(path / "x", "");
        DeleteFolderWithContents(Win32(path).c_str(), false, false);
    }
    const fs::path bin = "data/Trash", otherBin = "/dev/shm/.Trash-" + std::to_string(::geteuid());
    const fs::path kept[][3] = {{bin, item, At("")}, {bin, item + ".2", At("")}, {otherBin, item, end + "/"}};
    for (const auto& [folder, name, place] : kept) {
        const std::string info = ReadFile(folder / "info" / (name.string() + ".trashinfo"));
        EXPECT_EQ(info.find("[Trash Info]\nPath=" + place.string() + "a%20b%25%C3%A9" + end + "\nDeletionDate=2"), 0);
        EXPECT_TRUE(fs::exists(folder / "files" / name / "x")) << folder;
    }
    Shell("find " + otherBin.string() + " -depth \\( -path '*" + end + "*' -o -empty \\) -delete");
    DeleteFolderWithContents(R"(locked\item)", false, false);
    EXPECT_TRUE(fs::exists("locked/item") && Entries(bin / "info") == 2);
    if (!fs::exists("/usr/bin/trash-restore"))
        GTEST_SKIP() << "no other program here that could read the recycle bin";
    Shell("trash-list > out; grep -qF '" + At(item).string() + "' out; echo 0 | trash-restore > out; test -d *" + end);
}

TEST_F(CopyTest, ComparesLinksAndBytes) {
    Shell("mkdir -p a/sub; printf 12 > a/sub/x; ln -s x a/sub/link; cp -a a b; ln -sf y b/sub/link");
    EXPECT_FALSE(Platform::HoldSameTree(u"a", u"b") || Platform::HoldSameTree(u"b", u"a"));
    Shell("rm -rf b; cp -a a b; chmod 555 a/sub; touch -d tomorrow b/sub/x");
    EXPECT_TRUE(Platform::HoldSameTree(u"a", u"b")) << "of the same bytes";
    Shell("printf 21 > b/sub/x; touch a/late");
    EXPECT_FALSE(Platform::RemoveCopiedTree(u"a", u"b"));
    EXPECT_TRUE(ReadFile("a/sub/x") == "12" && fs::exists("a/late") && !fs::is_symlink("a/sub/link"));
}

TEST_F(CopyTest, DeletesDeepFoldersAndWildcardsByTheirNames) {
    Shell("mkdir -p 't/*' t/ab; touch 't/*/x' t/ab/x");
    DeleteFolderWithContents(R"(t\*)", false, true);
    EXPECT_TRUE(!fs::exists("t/*") && fs::exists("t/ab/x"));
    Shell("cd t; for level in $(seq 30); do mkdir $(printf %0200d); cd -P $(printf %0200d); done");
    DeleteFolderWithContents("t", true, false);
    EXPECT_TRUE(!fs::exists("t") && !fs::exists("data/Trash"));
}

} // namespace
} // namespace Vellox::FileNames
