#include "platform/posix/base/transfer.h"

#include <unistd.h>

#include "platform/posix/base/errors.h"

namespace Vellox::Posix {

bool ReadAll(int file, void* data, std::size_t count, std::size_t& done) {
    done = 0;
    while (done < count) {
        const ssize_t read = Retried([&] { return ::read(file, static_cast<char*>(data) + done, count - done); });
        if (read < 0)
            return false;
        if (read == 0)
            break;
        done += static_cast<std::size_t>(read);
    }
    return true;
}

bool WriteAll(int file, const void* data, std::size_t count, std::size_t& done) {
    done = 0;
    while (done < count) {
        const ssize_t written =
            Retried([&] { return ::write(file, static_cast<const char*>(data) + done, count - done); });
        if (written < 0)
            return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace Vellox::Posix
