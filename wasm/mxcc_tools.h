#pragma once
// The programs that mxcc drives, and a folder for what they leave for each other.

#include <string>
#include <vector>

namespace moxi {

// The path of an installed program; "" when there is none. The version that the libraries for wasm
// were built with comes first: NAME-14 in PATH, then NAME in that version's own folder, then NAME
// in PATH.
std::string FindTool(const std::string& name);

struct ToolResult {
    int status = -1;     // exit status; 128 + the signal that ended it; -1 when it did not start
    std::string errors;  // what it wrote to standard error, when that was kept
};

// Runs a program to its end: its path, then its arguments. With `keepErrors` what it writes to
// standard error is kept instead of shown. `variables` are "NAME=VALUE", and win over those of
// the environment. Why a program did not start is in `errors`, if the system told.
ToolResult RunTool(const std::vector<std::string>& command, bool keepErrors,
                   const std::vector<std::string>& variables = {});

// A temporary folder of its own, removed with all that it holds at the end of the scope. The path
// is empty when no folder could be made.
class WorkFolder {
  public:
    WorkFolder();
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    std::string path;
};

}  // namespace moxi
