#pragma once
// mxcc: C and C++ to a module image.

#include <string>
#include <vector>

namespace moxi {

// Runs mxcc with the arguments behind the program's name. Returns the exit status: 0, or 1 after
// what is wrong has been written to standard error. Under the compiler, which calls mxcc as its
// linker, it only notes what is to be linked.
int RunMxcc(const std::vector<std::string>& arguments);

}  // namespace moxi
