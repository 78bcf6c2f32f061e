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

constexpr DWORD reading = FILE_SHARE_READ;
constexpr DWORD writing = FILE_SHARE_WRITE;
constexpr DWORD both = reading | writing;

// What a user does is told by the bits of the share mode that it asks of the others.
HANDLE Open(const std::string& path, DWORD used, DWORD share, DWORD disposition = OPEN_EXISTING) {
    const DWORD access =
        ((used & FILE_SHARE_READ) != 0 ? GENERIC_READ : 0) | ((used & FILE_SHARE_WRITE) != 0 ? GENERIC_WRITE : 0);
    return ::CreateFileW(Utf8ToWide(path).c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool Opens(const std::string& path, DWORD used, DWORD share, DWORD disposition = OPEN_EXISTING) {
    const HANDLE file = Open(path, used, share, disposition);
    return file != INVALID_HANDLE_VALUE && ::CloseHandle(file) != FALSE;
}

// Another process that holds the file until it is killed.
class Holder {
public:
    Holder(const std::string& path, DWORD used, DWORD share) : process_(::fork()) {
        if (process_ == 0) {
            Open(path, used, share);
            ::raise(SIGSTOP);
            ::_exit(0);
        }
        ::waitpid(process_, nullptr, WUNTRACED);
    }
    ~Holder() {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }

private:
    pid_t process_;
};

class FilesTest : public ScratchTest {};

TEST_F(FilesTest, ShareOnlyAsBothSidesAllow) {
    WriteFile(At("a"), "");
    for (DWORD row = 0; row < 256; ++row) {
        const DWORD held = row >> 6, heldShare = row >> 4 & 3, used = row >> 2 & 3, share = row & 3;
        if (held == 0 || used == 0)
            continue;
        const bool isGranted = (used & ~heldShare) == 0 && (held & ~share) == 0;
        const HANDLE file = Open("a", held, heldShare);
        for (int time = 0; time < 2; ++time)
            ASSERT_EQ(Opens("a", used, share), isGranted) << held << heldShare << used << share;
        EXPECT_TRUE(isGranted || ::GetLastError() == ERROR_SHARING_VIOLATION);
        ::CloseHandle(file);
        {
            const Holder holder("a", held, heldShare);
            ASSERT_EQ(Opens("a", used, share), isGranted) << held << heldShare << used << share;
        }
        ASSERT_TRUE(Opens("a", both, 0)) << "after the holder was killed";
    }
}

TEST_F(FilesTest, KeepTheirContentWhenTheyCannotBeReplaced) {
    WriteFile(At("a"), "old");
    {
        const Holder holder("a", reading, reading);
        EXPECT_FALSE(Opens("a", writing, both, CREATE_ALWAYS));
    }
    fs::permissions(At("a"), fs::perms::owner_read);
    EXPECT_FALSE(Opens("a", writing, both, CREATE_ALWAYS));
    EXPECT_EQ(ReadFile(At("a")), "old");
    fs::permissions(At("a"), fs::perms::owner_all);
    EXPECT_TRUE(Opens("a", writing, both, CREATE_ALWAYS));
    EXPECT_EQ(ReadFile(At("a")), "");
}

TEST_F(FilesTest, OpenAtOnceOrNotAtAll) {
    WriteFile(At("file"), "");
    WriteFile(At("marked"), "");
    fs::permissions(At("marked"), fs::perms::owner_read);
    fs::create_directory(At("folder"));
    fs::create_symlink("folder", At("link"));
    fs::create_symlink("loop", At("loop"));
    ASSERT_EQ(::mkfifo("fifo", 0666), 0);
    const struct {
        const char* path;
        DWORD use;
        bool opens;
    } rows[] = {
        // clang-format off
        {"file", both, true}, {R"(none\..\file)", reading, true}, {R"(file\x)", reading, false}, {"", reading, false},
        {"none", reading, false}, {"folder", reading, false}, {"link", reading, false}, {"loop", reading, false},
        {"fifo", reading, true}, {"fifo", writing, false}, {"marked", reading, true}, {"marked", writing, false},
        // clang-format on
    };
    ::alarm(20);
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.path);
        EXPECT_EQ(Opens(row.path, row.use, both), row.opens);
    }
    ::alarm(0);
    fs::remove(At("loop"));
}

TEST_F(FilesTest, AreNeverMistakenForAStandardStream) {
    WriteFile(At("a"), "");
    const pid_t process = ::fork();
    if (process == 0) {
        for (int stream = 0; stream < 3; ++stream)
            ::close(stream);
        const auto file = reinterpret_cast<std::intptr_t>(Open("a", reading, both));
        ::_exit(file >= 3 && (::fcntl(static_cast<int>(file), F_GETFD) & FD_CLOEXEC) != 0 ? 0 : 1);
    }
    int status = -1;
    ::waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace Vellox::Platform
