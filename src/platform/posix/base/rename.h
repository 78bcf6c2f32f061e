#pragma once

namespace Vellox::Posix {

// Gives the entry a new name, which has to be free. False, with errno set, if it was not or the move failed.
bool RenameIntoFreeName(int fromFolder, const char* from, int toFolder, const char* to);

} // namespace Vellox::Posix
