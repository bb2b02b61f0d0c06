#pragma once
// The program mxasm, callable from tests.

#include <iosfwd>
#include <string>
#include <vector>

namespace moxi {

// Runs the program with its arguments (without the program's own name). Returns the exit status:
// 0, 1 after errors in the source or with files, 2 for a wrong command line.
int RunMxasm(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace moxi
