#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace songbin {

// 1536 => 1.5 KiB
std::string FormatSize(std::int64_t bytes);

// What GetAvailableSpace gave, for which the largest value means that nobody knows.
std::string FormatAvailableSpace(std::int64_t bytes);

// The text with control characters replaced, so that a name cannot steer the terminal.
std::string Printable(std::string text);

std::string PadRight(std::string text, std::size_t width);

// Rows of the same number of columns; all but the last are as wide as their longest cell.
void PrintTable(const std::vector<std::vector<std::string>>& rows, const std::string& indent);

// One line on standard error.
void Complain(const std::string& message);

// A bar on standard error, if that is a terminal and there is more than one thing to do.
class Progress {
public:
    explicit Progress(std::size_t total);
    void Show(std::size_t done) const;
    void Clear() const;

private:
    std::size_t total_;
    bool isShown_;
};

} // namespace songbin
