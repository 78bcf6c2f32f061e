#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace songbin {

// 1536 => 1.5 KiB
std::string FormatSize(std::int64_t bytes);

// In the user's own time zone.
std::string FormatTime(std::time_t time);

// 75 => 1 min 15 s
std::string FormatDuration(std::int64_t seconds);

// 1 => 1 item
std::string CountItems(std::size_t count);

// For standard output. On a terminal, what could steer it or is not UTF-8 becomes a question mark; a program on the
// other side of a pipe gets the text as it is.
std::string Printable(const std::string& text);

enum class Colour { Red = 31, Green = 32, Yellow = 33, Blue = 34, Grey = 90 };

// For standard output: on a terminal, if the user does not say NO_COLOR.
std::string Coloured(Colour colour, const std::string& text);
std::string Bold(const std::string& text);

// Spaces behind the text; colours take no width.
std::string PadRight(std::string text, std::size_t width);

// Rows of the same number of columns; all but the last are as wide as their longest cell.
void PrintTable(const std::vector<std::vector<std::string>>& rows, const std::string& indent);

// One line on standard error.
void Complain(const std::string& message);

// How far a batch has come, with rate and time left: on standard error, if that is a terminal and the batch takes long.
class Progress {
public:
    explicit Progress(std::size_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { Clear(); }
    void Show(std::size_t done);

    // Makes room for another line on the terminal.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    std::size_t total_;
    bool mayShow_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point next_;
    std::size_t shownWidth_ = 0;
};

} // namespace songbin
