#pragma once

#include "jobs.h"

// What the benchmarks ask of the system itself; each system has its own file.

namespace Vellox::Benchmarks {

unsigned ProcessNumber();

// Lets the library's home folder lie in that folder. False where that is not possible: then nothing goes to the trash.
bool TakeHomeFolder(const fs::path& folder);

// Limits, floors and peers that are made of system calls.
void AddSystemCalls(Variants& variants, const Sizes& sizes);

// Launching, which has nothing that the systems share but the library's call.
void AddProcesses(Variants& variants, const Sizes& sizes);

// The last such byte of the text, or null; vectorised where the system's own is.
const char* LastByte(std::string_view text, char byte);

// Marks what is counted in a trace of system calls and under callgrind.
bool CanBeCounted(const Variant& variant);
void BeginCount(const std::string& name);
void EndCount(const std::string& name);

} // namespace Vellox::Benchmarks
