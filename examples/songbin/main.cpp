#include <algorithm>
#include <exception>
#include <iostream>
#include <limits>
#include <string_view>

#include "commands.h"
#include "demo.h"
#include "display.h"
#include "system.h"

namespace {

using songbin::Operands;

constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;

constexpr std::size_t anyNumber = std::numeric_limits<std::size_t>::max();

struct Command {
    const char* name;
    const char* operands;
    const char* help;
    std::size_t fewestOperands;
    std::size_t mostOperands;
    bool (*run)(const songbin::Request& request);
    const char* options = "";
};

constexpr Command commands[] = {
    {"demo", "[FOLDER]", "try the library on a copy of a song folder", 0, 1, songbin::Demo},
    {"put", "PATH...", "move files and folders into the trash", 1, anyNumber, songbin::Put},
    {"list", "", "list what is in the trash", 0, 0, songbin::List, "--json --names --null"},
    {"restore", "NAME...", "put items back, by their names in the trash", 1, anyNumber, songbin::Restore},
    {"info", "PATH...", "tell what the library knows of a path", 1, anyNumber, songbin::Info, "--json"},
    {"relative", "FROM TO", "express TO relative to the file FROM", 2, 2, songbin::Relative},
    {"absolute", "PATH [BASE]", "make PATH absolute, against the folder BASE", 1, 2, songbin::Absolute},
    {"open", "PATH...", "start a program on each path: $SONGBIN_OPENER, or the system's own", 1, anyNumber,
     songbin::Open},
};

void PrintUsage(std::ostream& output) {
    constexpr std::size_t nameWidth = 10;
    constexpr std::size_t operandsWidth = 13;
    output << "Usage: songbin COMMAND [OPERAND...]\n\nCommands:\n";
    for (const Command& command : commands)
        output << "  " << songbin::PadRight(command.name, nameWidth)
               << songbin::PadRight(command.operands, operandsWidth) << command.help << '\n';
    output << "  " << songbin::PadRight("help", nameWidth + operandsWidth)
           << "print this; also --help, -h; --version tells the version\n"
           << "\nOptions:\n"
           << "  --json     list, info: print an array of JSON objects\n"
           << "  --names    list: print the names alone, one on each line\n"
           << "  --null     list: print the names alone, each ended by a NUL\n"
           << "\nOperands behind -- may begin with a dash.\n"
           << "Exit status: 0 if all was done, 1 if something was not, 2 for wrong usage.\n";
}

int Misused(const std::string& complaint, const std::string& usage = "COMMAND [OPERAND...]") {
    songbin::Complain(complaint);
    std::cerr << "Usage: songbin " << usage << " (songbin help tells more)\n";
    return wrongUsage;
}

std::string UsageOf(const Command& command) {
    const std::string options = *command.options == '\0' ? "" : std::string(" [") + command.options + "]";
    const std::string operands = *command.operands == '\0' ? "" : std::string(" ") + command.operands;
    return command.name + options + operands;
}

bool AsksForHelp(const std::string& word) {
    return word == "--help" || word == "-h";
}

const Command* FindCommand(const std::string& name) {
    for (const Command& command : commands)
        if (name == command.name)
            return &command;
    return nullptr;
}

bool TakeOption(const Command& command, const std::string& word, songbin::OutputForm& form) {
    const bool isKnown = std::string_view(command.options).find(word) != std::string_view::npos;
    if (isKnown && word == "--json")
        form = songbin::OutputForm::Json;
    else if (isKnown && word == "--names")
        form = songbin::OutputForm::Names;
    else if (isKnown && word == "--null")
        form = songbin::OutputForm::NulEndedNames;
    else
        return false;
    return true;
}

// Sorts the words behind the command. Gives the first option among them that the command does not take.
std::string SortWords(const Command& command, const Operands& words, songbin::Request& request) {
    bool optionsEnded = false;
    for (const std::string& word : words) {
        if (optionsEnded || word.empty() || word[0] != '-')
            request.operands.push_back(word);
        else if (word == "--")
            optionsEnded = true;
        else if (!TakeOption(command, word, request.form))
            return word;
    }
    return {};
}

int RunCommand(const Command& command, const Operands& words) {
    songbin::Request request;
    const std::string option = SortWords(command, words, request);
    const std::string name = command.name;
    if (AsksForHelp(option)) {
        PrintUsage(std::cout);
        return done;
    }
    if (!option.empty())
        return Misused(name + ": unknown option " + option, UsageOf(command));
    if (request.operands.size() < command.fewestOperands)
        return Misused(name + ": an operand is missing", UsageOf(command));
    if (request.operands.size() > command.mostOperands)
        return Misused(name + ": too many operands", UsageOf(command));
    return command.run(request) ? done : failed;
}

int Run(const Operands& words) {
    if (words.empty())
        return Misused("a command is missing");
    const std::string& name = words.front();
    if (name == "help" || AsksForHelp(name)) {
        PrintUsage(std::cout);
        return done;
    }
    if (name == "--version") {
        std::cout << "songbin " SONGBIN_VERSION "\n";
        return done;
    }
    const Command* command = FindCommand(name);
    if (command == nullptr)
        return Misused("unknown command " + name);
    return RunCommand(*command, Operands(words.begin() + 1, words.end()));
}

// Output that went nowhere is not success.
int CheckOutput(int status) {
    std::cout.flush();
    if (std::cout)
        return status;
    songbin::Complain("the output could not be written");
    return status == done ? failed : status;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        songbin::PrepareOutput();
        const int status =
            CheckOutput(Run(Operands(arguments + std::min(argumentCount, 1), arguments + argumentCount)));
        songbin::EndIfInterrupted();
        return status;
    } catch (const std::exception& exception) {
        songbin::Complain(exception.what());
        return failed;
    }
}
