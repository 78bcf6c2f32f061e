#pragma once

#include <string>
#include <vector>

namespace songbin {

using Operands = std::vector<std::string>;

enum class OutputForm { Readable, Json, Names, NulEndedNames };

struct Request {
    Operands operands;
    OutputForm form = OutputForm::Readable;
};

// Every command says whether all of it was done. What was not is told on standard error.
bool Put(const Request& request);
bool List(const Request& request);
bool Restore(const Request& request);
bool Info(const Request& request);
bool Relative(const Request& request);
bool Absolute(const Request& request);
bool Open(const Request& request);

// One line on standard error: cannot VERB "OPERAND"REST: PROBLEM.
struct Attempt {
    const char* verb;
    const char* rest;
};
void ComplainAbout(const Attempt& attempt, const std::string& operand, const std::string& problem);

// What to say of a path at which the library finds nothing.
std::string ExplainMissing(const std::string& path);

} // namespace songbin
