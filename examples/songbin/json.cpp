#include "json.h"

#include <iomanip>
#include <sstream>

#include "utf8.h"

namespace songbin {
namespace {

std::string EscapedControl(char control) {
    std::ostringstream text;
    text << "\\u" << std::hex << std::setw(4) << std::setfill('0') << static_cast<int>(control);
    return text.str();
}

std::string EscapedAscii(char character) {
    if (character == '"' || character == '\\')
        return {'\\', character};
    const bool isControl = static_cast<unsigned char>(character) < 0x20;
    return isControl ? EscapedControl(character) : std::string(1, character);
}

std::string Joined(const std::vector<std::string>& parts, const char* between) {
    std::string text;
    for (const std::string& part : parts) {
        if (&part != &parts.front())
            text += between;
        text += part;
    }
    return text;
}

} // namespace

std::string JsonText(const std::string& text) {
    std::string quoted = "\"";
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t size = CharacterSize(std::string_view(text).substr(position));
        if (size == 0)
            quoted += "\\ufffd";
        else if (size == 1)
            quoted += EscapedAscii(text[position]);
        else
            quoted.append(text, position, size);
        position += size == 0 ? 1 : size;
    }
    return quoted + '"';
}

std::string JsonBool(bool value) {
    return value ? "true" : "false";
}

std::string JsonNumber(std::optional<std::int64_t> value) {
    return value ? std::to_string(*value) : "null";
}

std::string JsonTime(std::optional<std::time_t> value) {
    const std::tm* time = value ? std::gmtime(&*value) : nullptr;
    if (time == nullptr)
        return "null";
    std::ostringstream text;
    text << std::put_time(time, "\"%Y-%m-%dT%H:%M:%SZ\"");
    return text.str();
}

std::string JsonObject(const JsonFields& fields) {
    std::vector<std::string> members;
    members.reserve(fields.size());
    for (const auto& [name, value] : fields)
        members.push_back(JsonText(name) + ": " + value);
    return "{" + Joined(members, ", ") + "}";
}

std::string JsonArray(const std::vector<std::string>& objects) {
    return objects.empty() ? "[]" : "[\n  " + Joined(objects, ",\n  ") + "\n]";
}

} // namespace songbin
