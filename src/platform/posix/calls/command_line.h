#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Vellox::Posix {

// The words of a command line, as a Windows program finds them: separated by blanks outside of double quotes, with
// backslashes that escape only in front of a quote, and not at all in the first word.
std::vector<std::string> SplitCommandLine(std::string_view line);

// The file that the first word of a command line names, with a separator or a drive as a path, else in PATH. Empty,
// with the last error set, if there is none that can be executed.
std::string FindProgram(const std::string& word);

} // namespace Vellox::Posix
