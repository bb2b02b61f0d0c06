#pragma once
// The program mxwasm: its command line, its files, its messages.

#include <iosfwd>
#include <string>
#include <vector>

namespace moxi {

// Runs mxwasm with the arguments behind the program's name. Returns the exit status: 0, or 1
// after one line for each error on `err`.
int RunMxwasm(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace moxi
