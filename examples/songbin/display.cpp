#include "display.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string_view>

#include "system.h"
#include "utf8.h"

namespace songbin {
namespace {

constexpr std::size_t barWidth = 30;
constexpr auto shortBatch = std::chrono::milliseconds(500);
constexpr auto betweenUpdates = std::chrono::milliseconds(100);

constexpr char escape = '\x1b';

bool IsSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool MayColour(bool isTerminal) {
    const char* terminal = std::getenv("TERM");
    const bool isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    return isTerminal && !isDumb && !IsSet("NO_COLOR");
}

std::string WithCode(int code, const std::string& text) {
    return escape + ("[" + std::to_string(code)) + "m" + text + escape + "[0m";
}

std::string WithoutControls(const std::string& text) {
    std::string printable;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t size = CharacterSize(rest);
        if (size == 0 || StartsWithControl(rest))
            printable += '?';
        else
            printable += rest.substr(0, size);
        rest.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return printable;
}

// Every character of UTF-8 has one byte that does not continue another.
std::size_t CountCharacters(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (text[position] == escape)
            position = text.find('m', position);
        else if ((static_cast<unsigned char>(text[position]) & 0xC0U) != 0x80U)
            ++count;
    }
    return count;
}

std::string FormatRate(double perSecond) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(perSecond < 10 ? 1 : 0) << perSecond << "/s";
    return text.str();
}

std::string ProgressText(std::size_t done, std::size_t total, double seconds) {
    const std::size_t filled = barWidth * done / total;
    std::string text = "[" + std::string(filled, '#') + std::string(barWidth - filled, ' ') + "] " +
                       std::to_string(done) + "/" + std::to_string(total);
    if (done == 0)
        return text;
    const double rate = static_cast<double>(done) / seconds;
    const auto left = std::llround(static_cast<double>(total - done) / rate);
    return text + "  " + FormatRate(rate) + "  " + FormatDuration(left) + " left";
}

} // namespace

std::string FormatSize(std::int64_t bytes) {
    if (bytes < 1024)
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    constexpr std::array<const char*, 6> units = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    constexpr double roundsUpToNext = 1023.95;
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (value >= roundsUpToNext && unit + 1 < units.size()) {
        value /= 1024;
        ++unit;
    }
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << value << ' ' << units.at(unit);
    return text.str();
}

std::string FormatTime(std::time_t time) {
    const std::tm* local = std::localtime(&time);
    if (local == nullptr)
        return "-";
    std::ostringstream text;
    text << std::put_time(local, "%Y-%m-%d %H:%M");
    return text.str();
}

std::string FormatDuration(std::int64_t seconds) {
    if (seconds < 60)
        return std::to_string(seconds) + " s";
    if (seconds < 3600)
        return std::to_string(seconds / 60) + " min " + std::to_string(seconds % 60) + " s";
    return std::to_string(seconds / 3600) + " h " + std::to_string(seconds / 60 % 60) + " min";
}

std::string CountItems(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " item" : " items");
}

std::string Printable(const std::string& text) {
    return StandardOutputIsTerminal() ? WithoutControls(text) : text;
}

std::string Coloured(Colour colour, const std::string& text) {
    return MayColour(StandardOutputIsTerminal()) ? WithCode(static_cast<int>(colour), text) : text;
}

std::string Bold(const std::string& text) {
    constexpr int boldCode = 1;
    return MayColour(StandardOutputIsTerminal()) ? WithCode(boldCode, text) : text;
}

std::string PadRight(std::string text, std::size_t width) {
    const std::size_t length = CountCharacters(text);
    if (length < width)
        text.append(width - length, ' ');
    return text;
}

void PrintTable(const std::vector<std::vector<std::string>>& rows, const std::string& indent) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], CountCharacters(row[column]));
    }
    for (const auto& row : rows) {
        std::cout << indent;
        for (std::size_t column = 0; column + 1 < row.size(); ++column)
            std::cout << PadRight(row[column], widths[column]) << "  ";
        std::cout << row.back() << '\n';
    }
}

void Complain(const std::string& message) {
    const std::string name = "songbin:";
    const bool isColoured = MayColour(StandardErrorIsTerminal());
    std::cout.flush();
    std::cerr << (isColoured ? WithCode(static_cast<int>(Colour::Red), name) : name) << ' '
              << (StandardErrorIsTerminal() ? WithoutControls(message) : message) << '\n';
}

Progress::Progress(std::size_t total)
    : total_(total), mayShow_(total > 1 && StandardErrorIsTerminal()), next_(start_ + shortBatch) {}

void Progress::Show(std::size_t done) {
    const Clock::time_point now = Clock::now();
    if (!mayShow_ || now < next_)
        return;
    next_ = now + betweenUpdates;
    const std::string text = ProgressText(done, total_, std::chrono::duration<double>(now - start_).count());
    std::cerr << '\r' << PadRight(text, shownWidth_) << std::flush;
    shownWidth_ = text.size();
}

void Progress::Clear() {
    if (shownWidth_ > 0)
        std::cerr << '\r' << std::string(shownWidth_, ' ') << '\r' << std::flush;
    shownWidth_ = 0;
}

} // namespace songbin
