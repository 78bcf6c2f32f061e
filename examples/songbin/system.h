#pragma once

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

// What differs from system to system and the C++ library does not offer.

namespace songbin {

bool StandardOutputIsTerminal();
bool StandardErrorIsTerminal();

// Names are UTF-8 and colours are escape sequences, and a console may expect neither. A reader of the output that goes
// away must not end the program between two moves: the failed write is noticed at the end instead.
void PrepareOutput();

// Sends the library's home folder, and the trash in it, below this folder of the system. False where the system
// does not let a program choose.
bool ChooseDataFolder(const std::string& folder);

// From here on an interrupt (Ctrl-C, an end of the session or of the terminal) is only noted, so that a batch can end
// between two items. Those that the starter of the program ignores stay ignored.
void NoteInterrupts();
bool IsInterrupted();

// Ends the program in the way in which the interrupt would have, if there was one.
void EndIfInterrupted();

// When the content was last changed; of a link, where the system can tell, the link itself.
std::optional<std::time_t> ModifiedTime(const std::filesystem::path& path);

// The program that opens a file with whatever the user has for it.
std::string DefaultOpener();

// Gives a handle of LaunchProcess back to the system.
void CloseProcess(void* process);

} // namespace songbin
