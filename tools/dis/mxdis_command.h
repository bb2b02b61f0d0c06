#pragma once
// The program mxdis, callable from tests.

#include <iosfwd>
#include <string>
#include <vector>

namespace moxi {

// Runs the program with its arguments (without the program's own name). Returns the exit status:
// 0, 1 for a file that is no module or cannot be read, 2 for a wrong command line.
int RunMxdis(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace moxi
