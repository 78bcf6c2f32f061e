#include "platform/posix/trees/attributes.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/base/errors.h"
#include "platform/posix/trees/access_list.h"

namespace Vellox::Posix {
namespace {

constexpr char defaultListAttribute[] = "system.posix_acl_default";
constexpr char capabilityAttribute[] = "security.capability";
constexpr mode_t specialBits = S_ISUID | S_ISGID | S_ISVTX;

// Whose the copy is, compared with the source.
enum class Belongs { ToTheSame, ToTheSameGroup, ToOthers };

Belongs GiveOwner(int copy, const struct stat& source) {
    if (::fchown(copy, source.st_uid, source.st_gid) == 0)
        return Belongs::ToTheSame;
    return ::fchown(copy, static_cast<uid_t>(-1), source.st_gid) == 0 ? Belongs::ToTheSameGroup : Belongs::ToOthers;
}

// The calls for extended attributes answer EBADF for an O_PATH descriptor, but take its name in /proc.
std::string NameInProc(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

ssize_t ListNames(int descriptor, char* names, std::size_t size) {
    const ssize_t length = ::flistxattr(descriptor, names, size);
    return length < 0 && errno == EBADF ? ::listxattr(NameInProc(descriptor).c_str(), names, size) : length;
}

ssize_t ReadValue(int descriptor, const char* name, char* value, std::size_t size) {
    const ssize_t length = ::fgetxattr(descriptor, name, value, size);
    return length < 0 && errno == EBADF ? ::getxattr(NameInProc(descriptor).c_str(), name, value, size) : length;
}

bool IsUnsupported(int error) {
    return error == EOPNOTSUPP || error == ENOSYS;
}

// The text that read(buffer, size) gives. It answers ERANGE to a buffer that is too small, and no attribute and no list
// of names is longer than XATTR_SIZE_MAX, 64 KiB.
template <typename Read> std::optional<std::string> ReadText(Read read) {
    constexpr std::size_t longest = std::size_t{64} * 1024;
    char usual[1024];
    ssize_t length = read(usual, sizeof usual);
    if (length >= 0)
        return std::string(usual, static_cast<std::size_t>(length));
    if (errno != ERANGE)
        return std::nullopt;
    std::string text(longest, '\0');
    length = read(text.data(), text.size());
    if (length < 0)
        return std::nullopt;
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::optional<std::string> NamesOf(int descriptor) {
    std::optional<std::string> names =
        ReadText([&](char* buffer, std::size_t size) { return ListNames(descriptor, buffer, size); });
    return !names && IsUnsupported(errno) ? std::string() : names;
}

std::optional<std::string> ValueOf(int descriptor, const char* name) {
    return ReadText([&](char* buffer, std::size_t size) { return ReadValue(descriptor, name, buffer, size); });
}

void CopyAttribute(int source, int copy, const char* name) {
    const std::optional<std::string> value = ValueOf(source, name);
    if (value)
        MayFail(::fsetxattr(copy, name, value->data(), value->size(), 0));
}

bool IsKept(std::string_view name, Belongs belongs, Keep keep) {
    if (name == capabilityAttribute)
        return keep == Keep::ForMove && belongs == Belongs::ToTheSame;
    return name.starts_with("user.") || name.starts_with("trusted.");
}

bool HasName(std::string_view names, std::string_view wanted) {
    while (!names.empty()) {
        const std::size_t length = names.find('\0');
        if (names.substr(0, length) == wanted)
            return true;
        names.remove_prefix(length + 1);
    }
    return false;
}

void CopyNamed(const std::string& names, int source, int copy, Belongs belongs, Keep keep) {
    for (std::size_t start = 0; start < names.size(); start += std::string_view(&names[start]).size() + 1)
        if (IsKept(&names[start], belongs, keep))
            CopyAttribute(source, copy, &names[start]);
}

// Without the names, or without the list, nobody but the owner is known to have a right.
AccessList RightsTo(const OpenEntry& source, const std::optional<std::string>& names) {
    const mode_t mode = source.status.st_mode;
    if (names && !HasName(*names, accessListAttribute))
        return AccessListOf(mode);
    const std::optional<std::string> value = names ? ValueOf(source.descriptor, accessListAttribute) : std::nullopt;
    AccessList list = value ? ParseAccessList(*value) : AccessList();
    return list.empty() ? AccessListOf(mode & S_IRWXU) : list;
}

// A new folder takes over the list for new entries of the folder that it was made in.
void GiveDefaultList(const OpenEntry& source, const std::optional<std::string>& names, int copy) {
    if (names && HasName(*names, defaultListAttribute))
        CopyAttribute(source.descriptor, copy, defaultListAttribute);
    else
        MayFail(::fremovexattr(copy, defaultListAttribute));
}

// Also rights that permission bits can tell are given as a list. A new entry in a folder with a default list has an
// access list from there, whose mask fchmod would set; the call for lists takes that list away in the same step.
void GiveRights(int copy, const AccessList& list, mode_t special) {
    const std::string value = FormatAccessList(list);
    if (::fsetxattr(copy, accessListAttribute, value.data(), value.size(), 0) == 0) {
        if (special != 0)
            MayFail(::fchmod(copy, special | BitsOf(list)));
        return;
    }
    // Where the file system has lists and did not take this one, one from the folder can be there still.
    const mode_t group = IsUnsupported(errno) ? S_IRWXG : 0;
    MayFail(::fchmod(copy, special | (BitsWithin(list) & (S_IRWXU | group | S_IRWXO))));
}

mode_t SpecialBits(mode_t mode, Belongs belongs, Keep keep) {
    // They let nobody run anything with another's rights on a folder.
    const bool areKept = S_ISDIR(mode) || (keep == Keep::ForMove && belongs == Belongs::ToTheSame);
    return areKept ? mode & specialBits : 0;
}

void GiveTimes(int copy, const struct stat& source) {
    const struct timespec times[] = {source.st_atim, source.st_mtim};
    MayFail(::futimens(copy, times));
}

} // namespace

// In this order: a new owner takes capabilities and special bits away, and without a right to write there is none to
// set attributes.
void KeepAttributes(const OpenEntry& source, int copy, Keep keep) {
    const Belongs belongs = keep == Keep::ForMove ? GiveOwner(copy, source.status) : Belongs::ToOthers;
    const std::optional<std::string> names = NamesOf(source.descriptor);
    if (names)
        CopyNamed(*names, source.descriptor, copy, belongs, keep);
    if (S_ISDIR(source.status.st_mode))
        GiveDefaultList(source, names, copy);
    AccessList rights = RightsTo(source, names);
    if (keep == Keep::ForMove && belongs == Belongs::ToOthers)
        LetGroupAndOthersShare(rights);
    GiveRights(copy, rights, SpecialBits(source.status.st_mode, belongs, keep));
    GiveTimes(copy, source.status);
}

void KeepLinkAttributes(const struct stat& source, Entry copy, Keep keep) {
    if (keep == Keep::ForMove)
        MayFail(::fchownat(copy.folder, copy.name, source.st_uid, source.st_gid, AT_SYMLINK_NOFOLLOW));
    const struct timespec times[] = {source.st_atim, source.st_mtim};
    MayFail(::utimensat(copy.folder, copy.name, times, AT_SYMLINK_NOFOLLOW));
}

} // namespace Vellox::Posix
