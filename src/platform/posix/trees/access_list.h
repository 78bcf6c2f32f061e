#pragma once

#include <linux/posix_acl_xattr.h>
#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace Vellox::Posix {

// Who may do what with an entry. The kernel hands such a list out and takes it as an extended attribute of this name;
// an entry whose permission bits say it all has none.
inline constexpr char accessListAttribute[] = "system.posix_acl_access";

using AccessList = std::vector<posix_acl_xattr_entry>;

// The list that says the same as the permission bits.
AccessList AccessListOf(mode_t mode);

// The list as the attribute holds it, and back. A value that is no list, or one of another version, gives an empty one.
AccessList ParseAccessList(std::string_view value);
std::string FormatAccessList(const AccessList& list);

// For a copy of another group: the owning group and all others get what both of them had, as a member of one may be
// among the others of the copy, and the other way round.
void LetGroupAndOthersShare(AccessList& list);

// The permission bits that the kernel shows for an entry with the list. The group's bits are not the group's rights
// then: they are the mask, the most that anyone in the list but the owner can have.
mode_t BitsOf(const AccessList& list);

// Permission bits for an entry that cannot have the list: nobody gets a right by them that the list does not give. Whom
// it names has to be taken for one of the group or of the others there.
mode_t BitsWithin(const AccessList& list);

} // namespace Vellox::Posix
