#pragma once
// The command line of mxcc: what is its own, and what the compiler gets.

#include <string>
#include <vector>

namespace moxi {

struct MxccOptions {
    std::vector<std::string> compiler;    // everything that the compiler is to see, in its order
    std::vector<std::string> translator;  // further options of mxwasm
    std::string output = "MAIN.MX";
    bool hasOutput = false;  // -o was given
    std::string level;       // of optimization: "2" for -O2; "" when none was asked for
    bool links = true;       // a module is to be made, not an object or less
    bool hasDebug = false;   // -g
    bool help = false;
    bool version = false;
    std::string problem;  // what is wrong, "" when nothing is
};

// Sorts the arguments behind the program's name. An option that is not known is the compiler's; one
// that lacks its value is the `problem`.
MxccOptions ReadMxccOptions(const std::vector<std::string>& arguments);

}  // namespace moxi
