#pragma once
// The search path for libraries in the file of a program or library, changed where it stands.

#include <string>

namespace moxi {

// Removes a library's own search path, with which it would not look where the program looks. A file
// that is no library stays as it is.
void DropSearchPath(const std::string& library);

// The program looks for libraries, and for those of libraries, in this folder first. It must have
// been linked with a search path of the same length, which an installation has removed, or have
// this one. Returns "" or what is wrong.
std::string SetSearchPath(const std::string& program, const std::string& folder);

// Takes the names of functions and variables out of a program: whatever lies behind what is loaded.
// A file that is no program stays as it is.
void DropSymbols(const std::string& program);

}  // namespace moxi
