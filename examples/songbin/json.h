#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace songbin {

// A value of JSON, as its text.
std::string JsonText(const std::string& text); // bytes that are not UTF-8 become U+FFFD
std::string JsonBool(bool value);
std::string JsonNumber(std::optional<std::int64_t> value); // null without one
std::string JsonTime(std::optional<std::time_t> value);    // in UTC

using JsonFields = std::vector<std::pair<const char*, std::string>>;
std::string JsonObject(const JsonFields& fields);

// One object on each line.
std::string JsonArray(const std::vector<std::string>& objects);

} // namespace songbin
