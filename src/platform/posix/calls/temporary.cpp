#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/limits.h"
#include "platform/posix/base/components.h"
#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/utf.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

constexpr std::size_t prefixLength = 3;
constexpr int mostTries = 65536;

std::string TemporaryFolder() {
    const char* folder = ::secure_getenv("TMPDIR");
    std::string text = ToWin32Text(folder != nullptr && folder[0] == '/' ? folder : "/tmp");
    if (text.back() != '\\')
        text += '\\';
    return text;
}

// Each process begins at a random number, so that two seldom try the same names. Where they do, as after a fork, O_EXCL
// lets one of them make the file, and the other one goes on to its next number. GRND_NONBLOCK, as right after the start
// of the system getrandom would wait until there is enough chance in it.
unsigned NextNumber() {
    static std::atomic<unsigned> next{[] {
        unsigned start = 0;
        return ::getrandom(&start, sizeof start, GRND_NONBLOCK) == sizeof start ? start
                                                                                : static_cast<unsigned>(::getpid());
    }()};
    return next++;
}

// Whole characters of UTF-8, so that no name ends in the middle of one.
std::string_view FirstCharacters(std::string_view prefix) {
    std::size_t end = 0;
    for (std::size_t count = 0; count < prefixLength && end < prefix.size(); ++count) {
        do
            ++end;
        while (end < prefix.size() && IsContinuationByte(prefix[end]));
    }
    return prefix.substr(0, end);
}

bool CreateNewFile(const std::string& path) {
    const PosixPath place(path.c_str());
    if (!place.IsValid())
        return false;
    const Descriptor file = Open(place.Text(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    return file || FailFromErrno();
}

// The path of a new file; empty, with the last error set, if none could be made.
std::string MakeTemporaryFile(std::string folder, std::string_view prefix) {
    if (folder.empty() || std::any_of(prefix.begin(), prefix.end(), IsSeparator<char>)) {
        Fail(ERROR_INVALID_PARAMETER);
        return {};
    }
    if (!IsSeparator(folder.back()))
        folder += '\\';
    for (int tries = 0; tries < mostTries; ++tries) {
        char number[16];
        static_cast<void>(std::snprintf(number, sizeof number, "%X.TMP", NextNumber()));
        std::string path = std::string(folder).append(prefix).append(number);
        if (path.size() >= Vellox::pathBufferSize) {
            Fail(ERROR_FILENAME_EXCED_RANGE);
            return {};
        }
        if (CreateNewFile(path))
            return path;
        if (::GetLastError() != ERROR_ALREADY_EXISTS)
            return {};
    }
    return {};
}

std::string Narrow(std::u16string_view text) {
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(EncodeUtf8(text.data(), text.size(), narrow.data(), narrow.size()));
    return narrow;
}

std::u16string Widen(const std::string& text) {
    std::u16string wide(text.size(), 0);
    wide.resize(DecodeUtf8(text.data(), text.size(), wide.data(), wide.size()));
    return wide;
}

} // namespace

DWORD GetTempPathA(DWORD capacity, char* buffer) {
    const std::string folder = TemporaryFolder();
    if (folder.size() >= capacity)
        return static_cast<DWORD>(folder.size() + 1);
    std::memcpy(buffer, folder.c_str(), folder.size() + 1);
    return static_cast<DWORD>(folder.size());
}

DWORD GetTempPathW(DWORD capacity, WCHAR* buffer) {
    const std::u16string folder = Widen(TemporaryFolder());
    if (folder.size() >= capacity)
        return static_cast<DWORD>(folder.size() + 1);
    std::copy_n(folder.c_str(), folder.size() + 1, buffer);
    return static_cast<DWORD>(folder.size());
}

UINT GetTempFileNameA(const char* folder, const char* prefix, UINT unique, char* buffer) {
    if (unique != 0)
        return static_cast<UINT>(Fail(ERROR_INVALID_PARAMETER));
    const std::string path = MakeTemporaryFile(folder, FirstCharacters(prefix));
    if (path.empty())
        return 0;
    std::memcpy(buffer, path.c_str(), path.size() + 1);
    return 1;
}

UINT GetTempFileNameW(const WCHAR* folder, const WCHAR* prefix, UINT unique, WCHAR* buffer) {
    if (unique != 0)
        return static_cast<UINT>(Fail(ERROR_INVALID_PARAMETER));
    // Of wide text it is three units, also where the third is the first half of a surrogate pair.
    const std::u16string_view start = std::u16string_view(prefix).substr(0, prefixLength);
    const std::u16string path = Widen(MakeTemporaryFile(Narrow(folder), Narrow(start)));
    if (path.empty())
        return 0;
    std::copy_n(path.c_str(), path.size() + 1, buffer);
    return 1;
}
