#pragma once
// The programs that mxcc drives, and a folder for what they leave for each other.

#include <string>
#include <vector>

namespace moxi {

// A program of Debian's, under one of its names in PATH or in LLVM's own folder; "" when it is not
// installed. `clang` and `wasm-ld` are looked for with the version of the libraries first.
std::string FindTool(const std::string& name);

struct ToolResult {
    int status = -1;     // exit status; 128 + the signal that ended it; -1 when it did not start
    std::string errors;  // what it wrote to standard error, when that was kept
};

// Runs a program to its end. Variables are "NAME=VALUE", added to the environment.
ToolResult RunTool(const std::vector<std::string>& command, bool keepErrors,
                   const std::vector<std::string>& variables = {});

// A folder of its own, removed with all that it holds at the end of the scope. The path is empty
// when there is no room for one.
class WorkFolder {
  public:
    WorkFolder();
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    std::string path;
};

}  // namespace moxi
