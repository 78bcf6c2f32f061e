#pragma once

#include <string>
#include <string_view>

namespace Vellox::FileNames {

// Hands out the components of a path, between separators of either kind. A separator at the very start or end adds
// nothing, and two side by side have an empty component between them.
class ComponentReader {
public:
    explicit ComponentReader(std::string_view path);
    bool Next(std::string_view& component);

    // Leaves out the components that both begin with and that have a separator behind them. True if there were any.
    static bool SkipCommon(ComponentReader& first, ComponentReader& second);

private:
    std::string_view rest_;
};

// Leads from the base folder to the target folder, both absolute and with a backslash at the end: "..\" and names with
// a backslash behind each. False if they have no first component in common.
bool ComposeRelativeFolder(std::string_view target, std::string_view base, std::string& relative);

} // namespace Vellox::FileNames
