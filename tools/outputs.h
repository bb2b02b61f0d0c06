#pragma once
// What the command lines of the tools share: what they say of themselves, and the files that they
// name for their results.

#include <ostream>
#include <string>
#include <vector>

namespace moxi {

// Prints what --help and --version ask a tool for; false when it was asked for neither.
bool AnswerAboutTool(const char* tool, const std::string& help, bool isHelpAsked,
                     bool isVersionAsked, std::ostream& out);

// Takes a file name that may be given once. False, with what is `wrong` with the command line,
// where it is given again or is empty.
bool TakeOnce(std::string& place, const std::string& option, const std::string& value,
              std::string& wrong);

// What was built or installed with this program: `share/moxi` beside its own folder.
std::string ToolShareFolder();

// An output must replace neither a file that is read nor another output. "" or what is wrong;
// `inputs` are called `what` then ("the input").
std::string ConflictOfOutputs(const std::vector<std::string>& outputs,
                              const std::vector<std::string>& inputs, const std::string& what);

// After a failure nothing is left that could be taken for a result, not even of an earlier run.
void RemoveOutputs(const std::vector<std::string>& outputs);

// Writes a file; nothing where the path is empty. False after a line "TOOL: PATH: ...".
bool WriteOutput(const char* tool, const std::string& path, const void* bytes, size_t size,
                 std::ostream& err);

}  // namespace moxi
