#pragma once
// Tables that a benchmark program keeps up to date in a page of docs/.

#include <string>

namespace moxi {

// Puts `table` between the lines `begin` and `end` of the file, in place of what stands there.
// False when the file cannot be read or does not have the lines; it is then left as it is.
bool UpdateTable(const std::string& path, const std::string& begin, const std::string& end,
                 const std::string& table);

}  // namespace moxi
