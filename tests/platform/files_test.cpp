#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace Vellox::Platform {
namespace {

using namespace Vellox::Testing;

// What a user does with the file is told by the bits of the share mode that it asks of the others.
constexpr DWORD reads = FILE_SHARE_READ, writes = FILE_SHARE_WRITE, both = reads | writes;

HANDLE Open(const std::string& path, DWORD use, DWORD share, DWORD disposition = OPEN_EXISTING) {
    const DWORD access = ((use & reads) != 0 ? GENERIC_READ : 0) | ((use & writes) != 0 ? GENERIC_WRITE : 0);
    return ::CreateFileW(Utf8ToWide(path).c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool Opens(const std::string& path, DWORD use, DWORD share, DWORD disposition = OPEN_EXISTING) {
    const HANDLE file = Open(path, use, share, disposition);
    return file != INVALID_HANDLE_VALUE && ::CloseHandle(file) != FALSE;
}

bool IsTrueInChild(const std::function<bool()>& run) {
    const pid_t process = ::fork();
    if (process == 0)
        ::_exit(run() ? 0 : 1);
    int status = -1;
    ::waitpid(process, &status, 0);
    return status == 0;
}

class FilesTest : public ScratchTest {
protected:
    static void Shell(const std::string& commands) { ASSERT_EQ(std::system(("set -e; " + commands).c_str()), 0); }
};

TEST_F(FilesTest, ShareOnlyAsBothSidesAllow) {
    WriteFile(At("a"), "old");
    for (DWORD row = 0; row < 256; ++row) {
        const DWORD held = row >> 6, heldShare = row >> 4 & both, use = row >> 2 & both, share = row & both;
        if (held == 0 || use == 0)
            continue;
        const bool isGranted = (use & ~heldShare) == 0 && (held & ~share) == 0;
        const HANDLE file = Open("a", held, heldShare);
        ASSERT_EQ(Opens("a", use, share), isGranted) << row;
        ASSERT_EQ(Opens("a", use, share), isGranted) << row << " after the close of another handle";
        EXPECT_TRUE(isGranted || ::GetLastError() == ERROR_SHARING_VIOLATION) << ::GetLastError();
        ASSERT_EQ(IsTrueInChild([&] { return Opens("a", use, share); }), isGranted) << row;
        EXPECT_FALSE(!isGranted && Opens("a", use | writes, share, CREATE_ALWAYS)) << row;
        ::CloseHandle(file);
        IsTrueInChild([&] { return Open("a", held, heldShare) == nullptr || ::raise(SIGKILL) != 0; });
        ASSERT_TRUE(Opens("a", both, 0)) << "after the holder was killed";
    }
    EXPECT_EQ(ReadFile("a"), "old");
}

TEST_F(FilesTest, OpenAtOnceOrNotAtAll) {
    Shell("for file in file marked replaced; do echo old > $file; done; chmod 444 marked; mkdir folder;"
          "ln -s folder link; ln -s loop loop; mkfifo fifo");
    const std::tuple<const char*, DWORD, DWORD, bool> rows[] = {
        // clang-format off
        {"file", both, OPEN_EXISTING, true}, {R"(none\..\file)", reads, OPEN_EXISTING, true},
        {R"(file\x)", reads, OPEN_EXISTING, false}, {"none", writes, OPEN_EXISTING, false},
        {"", writes, CREATE_ALWAYS, false}, {"folder", reads, OPEN_EXISTING, false},
        {"link", reads, OPEN_EXISTING, false}, {"loop", reads, OPEN_EXISTING, false},
        {"fifo", reads, OPEN_EXISTING, true}, {"fifo", writes, OPEN_EXISTING, false},
        {"marked", reads, OPEN_EXISTING, true}, {"marked", writes, OPEN_EXISTING, false},
        {"marked", writes, CREATE_ALWAYS, false}, {"replaced", writes, CREATE_ALWAYS, true},
        // clang-format on
    };
    ::alarm(20);
    for (const auto& [path, use, disposition, opens] : rows)
        EXPECT_EQ(Opens(path, use, both, disposition), opens) << path << " " << use;
    ::alarm(0);
    EXPECT_TRUE(ReadFile("marked") == "old\n" && ReadFile("replaced").empty());
    fs::remove("loop");
    // A handle is never mistaken for a standard stream, and never inherited.
    EXPECT_TRUE(IsTrueInChild([] {
        for (int stream = 0; stream < 3; ++stream)
            ::close(stream);
        const auto file = reinterpret_cast<std::intptr_t>(Open("file", reads, both));
        return file >= 3 && (::fcntl(static_cast<int>(file), F_GETFD) & FD_CLOEXEC) != 0;
    }));
}

TEST_F(FilesTest, MoveOnlyToAFreeName) {
    const char* const names[] = {"file", "folder", "empty", "link"};
    const fs::path other = OtherVolume() / "new";
    Shell("mkdir empty folder; touch file folder/x; ln -s none link");
    const std::string before = Describe(".");
    for (const char* from : names) {
        for (const char* taken : names)
            EXPECT_TRUE(from == taken || RenameWithoutReplacing(from, taken) != 0) << from << " to " << taken;
        EXPECT_NE(RenameWithoutReplacing(from, Win32(other).c_str()), 0);
        EXPECT_TRUE(RenameWithoutReplacing(from, "new") == 0 && RenameWithoutReplacing("new", from) == 0) << from;
    }
    EXPECT_EQ(Describe("."), before);
}

TEST_F(FilesTest, AreComparedByWhatTheirFoldersHold) {
    Shell("mkdir -p a/sub; printf 12 > a/sub/x; ln -s x a/sub/link");
    for (const std::string change : {"printf 123 > b/sub/x", "mv b/sub/x b/sub/y", "mkdir b/more",
                                     "rm b/sub/x; mkdir b/sub/x", "ln -sf y b/sub/link"}) {
        Shell("rm -rf b; cp -a a b");
        EXPECT_TRUE(HoldSameTree(u"a", u"b"));
        Shell(change);
        EXPECT_FALSE(HoldSameTree(u"a", u"b") || HoldSameTree(u"b", u"a")) << change;
    }
    fs::create_symlink("a/sub", "link");
    for (const WCHAR* path : {u"a", u"a\\new", u"a\\sub\\new", u"link\\new", u"b\\..\\a\\sub"})
        EXPECT_TRUE(LiesInFolder(path, u"a")) << WideToUtf8(path);
    for (const WCHAR* path : {u".", u"ab", u"b\\sub", u"a\\..\\b\\new"})
        EXPECT_FALSE(LiesInFolder(path, u"a")) << WideToUtf8(path);
}

} // namespace
} // namespace Vellox::Platform
