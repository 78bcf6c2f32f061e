#pragma once

#include "platform/windows/entries.h"

// A whole tree, read and removed by its paths.
namespace Vellox::Windows {

// What Platform::HoldSameTree, RemoveCopiedTree and BringToDisk promise, for full paths.
bool HoldSameTree(const Text& source, const Text& copy);
bool RemoveCopiedTree(const Text& source, const Text& copy);
bool BringToDisk(const Text& path);

} // namespace Vellox::Windows
