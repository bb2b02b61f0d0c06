#pragma once
// mxcc: C and C++ to a module image.

#include <string>
#include <vector>

namespace moxi {

// The exit status: 0, or 1 after what is wrong has been written to standard error.
int RunMxcc(const std::vector<std::string>& arguments);

}  // namespace moxi
