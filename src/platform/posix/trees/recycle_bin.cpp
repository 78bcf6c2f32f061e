#include "platform/posix/trees/recycle_bin.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <ctime>

#include "platform/posix/base/data_folder.h"
#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/rename.h"
#include "platform/posix/base/transfer.h"

namespace Vellox::Posix {
namespace {

struct Item {
    std::string folder; // resolved
    std::string name;
    dev_t volume;

    std::string Path() const { return (folder == "/" ? "" : folder) + "/" + name; }
};

struct Bin {
    Descriptor files;
    Descriptor info;
    std::string topFolder; // what the recorded path is relative to; empty for an absolute one
};

bool FindItem(const std::string& path, Item& item) {
    Place place;
    if (!SplitLastComponent(path, place))
        return Fail(ERROR_ACCESS_DENIED);
    char resolved[PATH_MAX];
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0 || ::realpath(place.folder.c_str(), resolved) == nullptr ||
        ::stat(resolved, &status) != 0)
        return FailFromErrno();
    item = {resolved, place.name, status.st_dev};
    return true;
}

// A folder is used only if it is one of the user's own, not a link to elsewhere.
Descriptor OpenPrivateFolder(int parent, const char* name) {
    if (::mkdirat(parent, name, 0700) != 0 && errno != EEXIST)
        return {};
    return OpenAt(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool OpenBinIn(const Descriptor& folder, const Item& item, Bin& bin) {
    struct stat status;
    if (!folder || ::fstat(folder.Get(), &status) != 0)
        return FailFromErrno();
    if (status.st_dev != item.volume || status.st_uid != ::geteuid())
        return Fail(ERROR_ACCESS_DENIED);
    bin.files = OpenPrivateFolder(folder.Get(), "files");
    bin.info = OpenPrivateFolder(folder.Get(), "info");
    return (bin.files && bin.info) || FailFromErrno();
}

bool OpenHomeBin(const Item& item, Bin& bin) {
    const std::string data = DataFolder();
    struct stat status;
    if (data.empty() || !CreatePrivateFolders(data) || ::stat(data.c_str(), &status) != 0)
        return FailFromErrno();
    if (status.st_dev != item.volume)
        return Fail(ERROR_NOT_SAME_DEVICE);
    const Descriptor folder = OpenPlace(data.c_str());
    return folder && OpenBinIn(OpenPrivateFolder(folder.Get(), "Trash"), item, bin);
}

// Nobody would look for a bin below the top.
bool FindTopFolder(const Item& item, std::string& top) {
    top = item.folder;
    while (top != "/") {
        const std::size_t separator = top.rfind('/');
        const std::string above = top.substr(0, separator == 0 ? 1 : separator);
        struct stat status;
        if (::stat(above.c_str(), &status) != 0)
            return FailFromErrno();
        if (status.st_dev != item.volume)
            break;
        top = above;
    }
    return true;
}

// The shared folder that an administrator made counts only with its sticky bit, so that users are safe from each
// other.
Descriptor OpenSharedBinFolder(int top, const std::string& user) {
    struct stat status;
    if (::fstatat(top, ".Trash", &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(status.st_mode) ||
        (status.st_mode & S_ISVTX) == 0)
        return {};
    const Descriptor shared = OpenPlaceAt(top, ".Trash", Links::Refuse);
    return shared ? OpenPrivateFolder(shared.Get(), user.c_str()) : Descriptor();
}

bool OpenVolumeBin(const Item& item, Bin& bin) {
    if (!FindTopFolder(item, bin.topFolder))
        return false;
    const Descriptor top = OpenPlace(bin.topFolder.c_str());
    if (!top)
        return FailFromErrno();
    const std::string user = std::to_string(::geteuid());
    return OpenBinIn(OpenSharedBinFolder(top.Get(), user), item, bin) ||
           OpenBinIn(OpenPrivateFolder(top.Get(), (".Trash-" + user).c_str()), item, bin);
}

std::string PercentEncoded(const std::string& path) {
    constexpr char digits[] = "0123456789ABCDEF";
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.!~*'()/";
    std::string encoded;
    for (const char character : path) {
        if (plain.find(character) != std::string_view::npos) {
            encoded += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        encoded += '%';
        encoded += digits[byte >> 4];
        encoded += digits[byte & 0xF];
    }
    return encoded;
}

std::string RecordedPath(const Item& item, const Bin& bin) {
    std::string path = item.Path();
    if (bin.topFolder.empty())
        return path;
    return path.substr(bin.topFolder == "/" ? 1 : bin.topFolder.size() + 1);
}

std::string InfoText(const Item& item, const Bin& bin) {
    const std::time_t now = std::time(nullptr);
    struct tm local = {};
    static_cast<void>(::localtime_r(&now, &local));
    char date[32] = {};
    static_cast<void>(std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local));
    return "[Trash Info]\nPath=" + PercentEncoded(RecordedPath(item, bin)) + "\nDeletionDate=" + date + "\n";
}

bool WriteInfo(const Bin& bin, const std::string& name, const std::string& text) {
    const Descriptor file = OpenAt(bin.info.Get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (!file)
        return false;
    std::size_t written = 0;
    if (WriteAll(file.Get(), text.data(), text.size(), written))
        return true;
    const KeptErrors errors;
    ::unlinkat(bin.info.Get(), name.c_str(), 0);
    return false;
}

std::string NumberedName(const std::string& name, int number) {
    constexpr std::size_t longestName = NAME_MAX - std::string_view(".trashinfo").size();
    std::string tail;
    if (number > 1)
        tail.append(".").append(std::to_string(number));
    return name.substr(0, longestName - tail.size()) + tail;
}

// The info file comes first, as it reserves the name.
bool MoveInto(const Bin& bin, const Item& item) {
    constexpr int mostTries = 100000;
    const std::string text = InfoText(item, bin);
    const std::string path = item.Path();
    for (int number = 1; number <= mostTries; ++number) {
        const std::string name = NumberedName(item.name, number);
        const std::string infoName = name + ".trashinfo";
        const bool isReserved = WriteInfo(bin, infoName, text);
        if (isReserved && RenameIntoFreeName(AT_FDCWD, path.c_str(), bin.files.Get(), name.c_str()))
            return true;
        if (isReserved) {
            const KeptErrors errors;
            ::unlinkat(bin.info.Get(), infoName.c_str(), 0);
        }
        if (errno != EEXIST)
            return FailFromErrno();
    }
    return Fail(ERROR_ALREADY_EXISTS);
}

} // namespace

bool MoveToRecycleBin(const std::string& path) {
    Item item;
    if (!FindItem(path, item))
        return false;
    Bin bin;
    if (!OpenHomeBin(item, bin) && !OpenVolumeBin(item, bin))
        return false;
    return MoveInto(bin, item);
}

} // namespace Vellox::Posix
