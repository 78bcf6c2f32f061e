#pragma once

#include <set>
#include <string>
#include <vector>

namespace songbin {

// Throws if there is no home folder to hold the trash: the library would then take a relative path for it.
std::string TrashFolder();

// Makes the home folder, which the library expects to be there. Throws if that cannot be done.
void MakeHomeFolder();

// The names in the trash, sorted, without the catalogue's own file. Throws if the trash cannot be listed.
std::vector<std::string> TrashItems();

// True if an item of that name, byte for byte, is in the trash now.
bool IsTrashItem(const std::string& name);

std::string TrashPath(const std::string& item);

// The paths of the items of which the catalogue tells where they came from.
using KnownItems = std::set<std::string>;

// CanPutBack says the same of one item, but it reads and writes the whole catalogue each time: too slow for a long
// list. Throws if the catalogue is there and cannot be read.
KnownItems ReadKnownItems();

} // namespace songbin
