#pragma once

#include <string>

// What differs from system to system and the C++ library does not offer.

namespace songbin {

bool StandardErrorIsTerminal();

// A reader that goes away must not end the program between two moves: the failed write is noticed at the end instead.
void SurviveClosedPipes();

// Names are UTF-8, so the console has to be told while the program runs.
class Utf8Console {
public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    unsigned int previousEncoding_ = 0;
};

// Sends the library's home folder, and the trash in it, below this folder of the system. False where the system
// does not let a program choose.
bool ChooseDataFolder(const std::string& folder);

} // namespace songbin
