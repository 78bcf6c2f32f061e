#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "frame/text.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace Vellox::Platform {
namespace {

using namespace Vellox::Testing;

// What a user does with the file is told by the bits of the share mode that it asks of the others.
constexpr DWORD reads = FILE_SHARE_READ, writes = FILE_SHARE_WRITE, both = reads | writes;
constexpr DWORD accesses[] = {0, GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE};

HANDLE Open(const std::string& path, DWORD use, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return ::CreateFileW(Utf8ToWide(path).c_str(), accesses[use], share, nullptr, disposition, 0, nullptr);
}

bool Opens(const std::string& path, DWORD use, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return ::CloseHandle(Open(path, use, share, disposition)) != FALSE;
}

template <typename Run> bool IsTrueInChild(Run run) {
    const pid_t process = ::fork();
    if (process == 0)
        ::_exit(run() ? 0 : 1);
    int status = -1;
    return ::waitpid(process, &status, 0) == process && status == 0;
}

class FilesTest : public ScratchTest {};

TEST_F(FilesTest, ShareOnlyAsBothSidesAllow) {
    WriteFile(At("a"), "old");
    for (DWORD row = 0; row < 256; ++row) {
        const DWORD held = row >> 6, heldShare = row >> 4 & both, use = row >> 2 & both, share = row & both;
        if (held == 0 || use == 0)
            continue;
        const bool isGranted = (use & ~heldShare) == 0 && (held & ~share) == 0;
        const HANDLE file = Open("a", held, heldShare);
        ASSERT_TRUE(Opens("a", use, share) == isGranted && Opens("a", use, share) == isGranted) << row;
        ASSERT_EQ(IsTrueInChild([&] { return Opens("a", use, share); }), isGranted) << row;
        EXPECT_FALSE(!isGranted && Opens("a", use | writes, share, CREATE_ALWAYS)) << row;
        ::CloseHandle(file);
        IsTrueInChild([&] { return Open("a", held, heldShare) == nullptr || ::raise(SIGKILL) != 0; });
        ASSERT_TRUE(Opens("a", both, 0)) << "after the holder was killed";
    }
    EXPECT_EQ(ReadFile("a"), "old");
}

TEST_F(FilesTest, OpenAtOnceOrNotAtAll) {
    // NOLINTNEXTLINE(cert-env33-c)
    ASSERT_EQ(0, std::system("echo old | tee file marked replaced > tee; chmod 444 marked; mkdir folder; mkfifo fifo;"
                             "ln -s folder link; ln -s loop loop"));
    const std::tuple<const char*, DWORD, bool, bool> rows[] = {
        // clang-format off
        {"file", both, false, true}, {R"(none\..\file)", reads, false, true}, {R"(file\x)", reads, false, false},
        {"none", writes, false, false}, {"", writes, true, false}, {"folder", reads, false, false},
        {"link", reads, false, false}, {"loop", reads, false, false}, {"fifo", reads, false, true},
        {"fifo", writes, false, false}, {"marked", reads, false, true}, {"marked", writes, false, false},
        {"marked", writes, true, false}, {"replaced", writes, true, true}, {"new", writes, true, true},
        // clang-format on
    };
    ::alarm(20);
    for (const auto& [path, use, replaces, opens] : rows)
        EXPECT_EQ(Opens(path, use, both, replaces ? CREATE_ALWAYS : OPEN_EXISTING), opens) << path << " " << use;
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

} // namespace
} // namespace Vellox::Platform
