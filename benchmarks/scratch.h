#pragma once

#include "jobs.h"

// Texts and files to work on. The files stand in a folder of the run's own, which goes at the end of the program.

namespace Vellox::Benchmarks {

inline constexpr std::size_t smallFileSize = 4096;

const fs::path& Scratch();

// The path as the library takes it, `C:\...`.
std::string Win32(const fs::path& path);

// Song and sample paths of 40 to 160 bytes, the same in every run: absolute, in the library's form.
const std::vector<std::string>& SamplePaths();

// Those paths as std::filesystem reads them here, which may be with `/`.
std::vector<std::string> AsNative(const std::vector<std::string>& paths);

// Names of 14 to 25 bytes; every second one ends in .wav.
std::string FileName(std::size_t number);

// A folder with that many empty files, and one with a tree of small files, a hundred to a folder. Both are made when
// they are first asked for, and kept.
const fs::path& FlatFolder(std::size_t files);
const fs::path& Tree(std::size_t files);

// Makes a folder with that many empty files, new and empty before.
void MakeFlatFolder(const fs::path& folder, std::size_t files);

// The folders and files of Tree, relative to it.
std::vector<std::string> TreeFolders(std::size_t files);
std::vector<std::string> TreeFiles(std::size_t files);

// Where a copy of a tree goes, and such a copy, made anew.
const fs::path& CopiedTree();
void CopyTreeAnew(std::size_t files);

void WriteFile(const fs::path& path, std::string_view content);

// A file of that size, made when it is first asked for.
const fs::path& LargeFile(std::size_t size);

// Stem "take" and ".wav": that many files, so that take<number>.wav is the first free name.
const fs::path& TakenFolder(std::size_t taken);

} // namespace Vellox::Benchmarks
