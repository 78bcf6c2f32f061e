#include "platform/posix/trees/access_list.h"

#include <linux/posix_acl.h>

#include <cstring>

namespace Vellox::Posix {
namespace {

constexpr unsigned nobodyInParticular = static_cast<unsigned>(ACL_UNDEFINED_ID);
constexpr unsigned allRights = ACL_READ | ACL_WRITE | ACL_EXECUTE;

unsigned RightsOf(const AccessList& list, unsigned tag, unsigned ifMissing) {
    for (const posix_acl_xattr_entry& entry : list)
        if (entry.e_tag == tag)
            return entry.e_perm;
    return ifMissing;
}

} // namespace

AccessList AccessListOf(mode_t mode) {
    const auto rights = [mode](int shift) { return static_cast<__le16>(mode >> shift & allRights); };
    return {{ACL_USER_OBJ, rights(6), nobodyInParticular},
            {ACL_GROUP_OBJ, rights(3), nobodyInParticular},
            {ACL_OTHER, rights(0), nobodyInParticular}};
}

AccessList ParseAccessList(std::string_view value) {
    posix_acl_xattr_header header{};
    if (value.size() < sizeof header)
        return {};
    std::memcpy(&header, value.data(), sizeof header);
    value.remove_prefix(sizeof header);
    if (header.a_version != POSIX_ACL_XATTR_VERSION || value.size() % sizeof(posix_acl_xattr_entry) != 0)
        return {};
    AccessList list(value.size() / sizeof(posix_acl_xattr_entry));
    if (!list.empty())
        std::memcpy(list.data(), value.data(), value.size());
    return list;
}

std::string FormatAccessList(const AccessList& list) {
    const posix_acl_xattr_header header{POSIX_ACL_XATTR_VERSION};
    std::string value(sizeof header + list.size() * sizeof(posix_acl_xattr_entry), '\0');
    std::memcpy(value.data(), &header, sizeof header);
    std::memcpy(value.data() + sizeof header, list.data(), value.size() - sizeof header);
    return value;
}

void LetGroupAndOthersShare(AccessList& list) {
    const unsigned shared = RightsOf(list, ACL_GROUP_OBJ, 0) & RightsOf(list, ACL_OTHER, 0);
    for (posix_acl_xattr_entry& entry : list)
        if (entry.e_tag == ACL_GROUP_OBJ || entry.e_tag == ACL_OTHER)
            entry.e_perm = static_cast<__le16>(shared);
}

mode_t BitsOf(const AccessList& list) {
    const unsigned group = RightsOf(list, ACL_MASK, RightsOf(list, ACL_GROUP_OBJ, 0));
    return RightsOf(list, ACL_USER_OBJ, 0) << 6 | group << 3 | RightsOf(list, ACL_OTHER, 0);
}

mode_t BitsWithin(const AccessList& list) {
    const unsigned mask = RightsOf(list, ACL_MASK, allRights);
    unsigned group = RightsOf(list, ACL_GROUP_OBJ, 0) & mask;
    unsigned others = RightsOf(list, ACL_OTHER, 0);
    for (const posix_acl_xattr_entry& entry : list) {
        // A named group takes nothing from a member of the owning group, who has the rights of both.
        if (entry.e_tag == ACL_USER)
            group &= entry.e_perm & mask;
        if (entry.e_tag == ACL_USER || entry.e_tag == ACL_GROUP)
            others &= entry.e_perm & mask;
    }
    return RightsOf(list, ACL_USER_OBJ, 0) << 6 | group << 3 | others;
}

} // namespace Vellox::Posix
