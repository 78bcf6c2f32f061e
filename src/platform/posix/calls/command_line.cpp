#include "platform/posix/calls/command_line.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/posix/base/components.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"

namespace Vellox::Posix {
namespace {

bool IsBlank(char character) {
    return character == ' ' || character == '\t';
}

class CommandLineReader {
public:
    explicit CommandLineReader(std::string_view line) : line_(line) {}

    bool SkipBlanks() {
        while (position_ < line_.size() && IsBlank(line_[position_]))
            ++position_;
        return position_ < line_.size();
    }

    // The first word, which names the program: quotes hold it together, and backslashes are plain characters, as in a
    // path, so that `"C:\my tools\"` ends at its second quote.
    std::string ReadProgram() {
        std::string word;
        bool isQuoted = false;
        for (; position_ < line_.size() && (isQuoted || !IsBlank(line_[position_])); ++position_) {
            if (line_[position_] == '"')
                isQuoted = !isQuoted;
            else
                word += line_[position_];
        }
        return word;
    }

    std::string ReadWord() {
        std::string word;
        bool isQuoted = false;
        while (position_ < line_.size() && (isQuoted || !IsBlank(line_[position_]))) {
            const std::size_t backslashes = CountBackslashes();
            position_ += backslashes;
            const bool atQuote = position_ < line_.size() && line_[position_] == '"';
            word.append(atQuote ? backslashes / 2 : backslashes, '\\');
            if (atQuote && backslashes % 2 == 0)
                TakeQuote(word, isQuoted);
            else if (atQuote || (backslashes == 0))
                word += line_[position_++];
        }
        return word;
    }

private:
    std::size_t CountBackslashes() const {
        const std::size_t end = line_.find_first_not_of('\\', position_);
        return (end == std::string_view::npos ? line_.size() : end) - position_;
    }

    // Takes a double quote, which begins or ends a quoted stretch. Inside of one, two together stand for the character.
    void TakeQuote(std::string& word, bool& isQuoted) {
        ++position_;
        if (isQuoted && position_ < line_.size() && line_[position_] == '"') {
            word += '"';
            ++position_;
            return;
        }
        isQuoted = !isQuoted;
    }

    std::string_view line_;
    std::size_t position_ = 0;
};

bool IsExecutable(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0)
        return FailFromErrno();
    if (!S_ISREG(status.st_mode))
        return Fail(ERROR_ACCESS_DENIED);
    // A program that may be executed and not read runs all the same: execve reads it, not the user.
    return ::eaccess(path.c_str(), X_OK) == 0 || FailFromErrno();
}

std::string FindInSearchPath(const std::string& name) {
    const char* variable = std::getenv("PATH");
    std::string_view folders = variable != nullptr ? variable : "/usr/local/bin:/usr/bin:/bin";
    while (true) {
        const std::size_t end = folders.find(':');
        // An empty entry of PATH, as in ":/bin", stands for the current directory.
        std::string path(folders.substr(0, end));
        path.append(path.empty() ? "./" : "/").append(name);
        if (IsExecutable(path))
            return path;
        if (end == std::string_view::npos)
            return {};
        folders.remove_prefix(end + 1);
    }
}

} // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
    std::vector<std::string> words;
    CommandLineReader reader(line);
    while (reader.SkipBlanks())
        words.push_back(words.empty() ? reader.ReadProgram() : reader.ReadWord());
    return words;
}

std::string FindProgram(const std::string& word) {
    if (word.empty()) {
        Fail(ERROR_FILE_NOT_FOUND);
        return {};
    }
    const bool isPath = word.find_first_of("\\/") != std::string::npos || (word.size() >= 2 && word[1] == ':');
    if (!isPath)
        return FindInSearchPath(word);
    const PosixPath place(word.c_str());
    return place.IsValid() && IsExecutable(place.Text()) ? place.Text() : std::string();
}

} // namespace Vellox::Posix
