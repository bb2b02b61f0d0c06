#pragma once
// Folders that the kit makes for its user.

#include <string>

namespace moxi {

// Why the folder cannot be made, "" when it can: it is not there, or it is empty.
std::string WhyNotNew(const std::string& path);

}  // namespace moxi
