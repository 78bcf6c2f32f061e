#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/system.h"

namespace Vellox::Testing {

namespace fs = std::filesystem;

// The path of UTF-8 text, as narrow text means something else to std::filesystem on Windows.
fs::path Utf8Path(std::string_view text);

// The path as the library takes it: `C:\...`.
std::string Win32(const fs::path& path);

struct TextRow {
    std::string given, expected;
    OnlyOn onlyOn = anywhere;
};

// The rows that hold here; the others are told by their name.
template <typename Row, std::size_t count> std::vector<Row> RowsHere(const Row (&rows)[count], auto name) {
    std::vector<Row> held;
    for (const Row& row : rows)
        if (HoldsHere(row.onlyOn, row.*name))
            held.push_back(row);
    return held;
}

void WriteFile(const fs::path& path, std::string_view content);
// Below the current folder: files that hold their own name, and folders where a name ends in a slash.
void Make(std::initializer_list<std::string> names);
std::string ReadFile(const fs::path& path);

// Whatever its entries allow.
void RemoveFolder(const fs::path& folder);

// Every entry below the folder with its kind, permissions, and content or link target, one line each, in order. Two
// folders that hold the same give the same text.
std::string Describe(const fs::path& folder);

// An empty trash. The library asks for its place once in a process, so all tests of one have the same.
fs::path MakeTrash();

// A fresh folder that is removed at the end. It is the current directory while the test runs. A test that leaves open
// descriptors behind fails.
class ScratchTest : public ::testing::Test {
protected:
    ScratchTest();
    ~ScratchTest() override;

    // A path in the folder, and the same as the library takes it.
    fs::path At(std::string_view name) const { return folder_ / Utf8Path(name); }
    std::string In(std::string_view name) const { return Win32(At(name)); }

    // For the process of a death test: ends it and tells whether the test failed there.
    [[noreturn]] void EndProcess();

    // A fresh folder on another volume, removed at the end; skips the test where there is none.
    fs::path OtherVolume();

private:
    fs::path folder_;
    fs::path otherFolder_;
    fs::path previousFolder_;
    std::size_t descriptorsBefore_;
};

} // namespace Vellox::Testing
