#pragma once
// What a moxi needs to run on another machine, copied into a folder.

#include <string>
#include <vector>

namespace moxi {

// Copies the program itself and the libraries that it has loaded, but for those that belong to the
// machine: the C and C++ runtime and whatever speaks with the kernel's drivers and the display.
// Names that only debuggers need stay behind. These functions return "" or what could not be
// copied, and add what they copy to `copied`, by the names of the originals.
std::string CopyProgram(const std::string& program, const std::string& libraryFolder,
                        std::vector<std::string>& copied);

// Copies the fonts that stand for the host's families, with a configuration that names them.
std::string CopyFonts(const std::string& folder, std::vector<std::string>& copied);

// Copies one file and its permissions.
std::string CopyOneFile(const std::string& from, const std::string& to);

}  // namespace moxi
