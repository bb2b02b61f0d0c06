#pragma once
// Runs a module through the real program, headless: assembles readable text, lays it out as a game
// in a temporary folder, starts moxi and reads back what it left.

#include <map>
#include <string>
#include <vector>

#include "base/types.h"
#include "tools/asm/assembler.h"

namespace moxi {

struct HeadlessRun {
    std::string source;                            // MX assembly
    std::string script;                            // event script, "" for none
    std::vector<std::string> options;              // further options of moxi
    std::map<std::string, std::string> resources;  // further files of the game, name -> content
    std::map<std::string, std::string> data;       // files in the data folder before the run
    std::map<std::string, std::string> beside;     // files beside both, which are no game's
};

struct HeadlessResult {
    int status = -1;                          // exit status, or 128 + signal
    std::vector<std::string> lines;           // of standard error
    std::string output;                       // standard output
    std::vector<u8> image;                    // the module image at exit
    std::map<std::string, std::string> data;  // the data folder's files afterwards
    AssembleResult assembled;

    // The lines "fatal: ..." and "log: ...", without the prefix.
    std::vector<std::string> Fatals() const;
    std::vector<std::string> Logs() const;
    // The image's content at a label or an address.
    u32 Label(const std::string& name) const;
    u32 Long(u32 address) const;
    u64 Quad(u32 address) const;
    std::string Text(u32 address) const;
    u32 LongAt(const std::string& name) const { return Long(Label(name)); }
    std::string TextAt(const std::string& name) const { return Text(Label(name)); }
};

// Assembles a game's module into a folder, which is made if it is missing. A source that does not
// assemble fails the running test.
AssembleResult WriteGame(const std::string& folder, const std::string& source);

// What mxasm is given without options: the include library of the build folder.
AssembleOptions LibraryOptions();

// A source that does not assemble fails the running test and gives status -1.
HeadlessResult RunHeadless(const HeadlessRun& run);

// The same for a MAIN.MX whose bytes are given; `run.source` is not used. Without `withModule` no
// MAIN.MX is written at all.
HeadlessResult RunHeadlessImage(const HeadlessRun& run, const std::vector<u8>& module,
                                bool withModule = true);

struct ProgramResult {
    int status = -1;
    std::string output;
    std::string errors;
};

// Runs a program of the build's bin folder with these arguments, in `folder` ("" = here), with
// `input` on its standard input.
ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& folder = "", const std::string& input = "");

// A folder of its own that is removed at the end of the scope.
struct TemporaryFolder {
    std::string path;
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
};

std::string ReadTextFile(const std::string& path);

// What a page of the documentation has between the lines ```mx and ```.
std::vector<std::string> ExamplesOf(const std::string& page);

// The examples one after the other and a STOP. What each leaves in R14 is kept as a LONG, in their
// order, from the label `room` on.
std::string ProgramOfExamples(const std::vector<std::string>& examples);
void WriteTextFile(const std::string& path, const std::string& content);

}  // namespace moxi
