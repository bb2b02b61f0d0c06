#pragma once
// The program mxwasm: its command line, its files, its messages.

#include <iosfwd>
#include <string>
#include <vector>

namespace moxi {

// Runs mxwasm with the arguments behind the program's name; `out` gets what it was asked to print.
// Returns the exit status: 0, or 1 after one line for each error on `err`. A translation that
// failed leaves no output files, not even old ones.
int RunMxwasm(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace moxi
