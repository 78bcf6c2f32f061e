#include "display.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <iostream>
#include <limits>
#include <sstream>

#include "system.h"

namespace songbin {
namespace {

constexpr std::size_t barWidth = 30;

// Every character of UTF-8 has one byte that does not continue another.
std::size_t CountCharacters(const std::string& text) {
    const auto startsCharacter = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), startsCharacter));
}

bool IsControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

std::string ProgressText(std::size_t done, std::size_t total) {
    const std::size_t filled = barWidth * done / total;
    return "[" + std::string(filled, '#') + std::string(barWidth - filled, ' ') + "] " + std::to_string(done) + "/" +
           std::to_string(total);
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

std::string FormatAvailableSpace(std::int64_t bytes) {
    return bytes == std::numeric_limits<std::int64_t>::max() ? "unknown" : FormatSize(bytes);
}

std::string Printable(std::string text) {
    std::replace_if(text.begin(), text.end(), IsControl, '?');
    return text;
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
    std::cerr << "songbin: " << Printable(message) << '\n';
}

Progress::Progress(std::size_t total) : total_(total), isShown_(total > 1 && StandardErrorIsTerminal()) {}

void Progress::Show(std::size_t done) const {
    if (isShown_)
        std::cerr << '\r' << ProgressText(done, total_) << std::flush;
}

void Progress::Clear() const {
    if (isShown_)
        std::cerr << '\r' << std::string(ProgressText(total_, total_).size(), ' ') << '\r' << std::flush;
}

} // namespace songbin
