#include "wasm/mxcc_command.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "tools/outputs.h"
#include "wasm/mxcc_link.h"
#include "wasm/mxcc_options.h"
#include "wasm/mxcc_tools.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kUsage = "usage: mxcc [OPTION]... FILE... -o OUT";
constexpr const char* kHelp =
    "\n"
    "Compiles C and C++ (by suffix), objects and archives to a module image.\n"
    "  -o OUT            MAIN.MX, or with a trailing / a game folder\n"
    "  -c                make an object\n"
    "  -O0 to -O3, -Os   -O2 unless given; -O0 with -g\n"
    "  -g                debug information\n"
    "  --symbols FILE    write the names of functions with their addresses\n"
    "  --lines FILE      write the source lines with their addresses; needs -g\n"
    "  --memory SIZE     how far memory may grow, 64M unless given\n"
    "  --stack SIZE      the machine's stack, 4M unless given\n"
    "  --heap SIZE       the machine's heap, 96M unless given\n"
    "  --check-bounds    end the program at an access outside of its memory\n"
    "  --help, --version\n"
    "Every option of clang is taken, too.\n";

// Set while the compiler runs: it then calls mxcc in place of a linker, which notes what it was
// asked to link in this folder.
constexpr const char* kRecordVariable = "MXCC_LINK_FOLDER";
constexpr const char* kRecordName = "/link";

constexpr const char* kSystemHeaders = "/usr/include/wasm32-wasi";

// The file of this very program; empty when the system does not tell.
fs::path OwnFile() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error);
}

int Fail(const std::string& problem) {
    std::cerr << "mxcc: " << problem << "\n";
    return 1;
}

// --- In place of the linker

// The compiler removes its temporary objects when it has linked; a second name keeps such a file.
// It is the source's own name where that is free, without the mark that the compiler puts behind
// it: the linker's messages name it. Returns the name to link by.
std::string Kept(const std::string& argument, const std::string& folder) {
    if (!argument.starts_with(folder + "/")) {
        return argument;
    }
    std::string kept = argument.substr(0, argument.rfind('-')) + ".o";
    std::error_code error;
    fs::create_hard_link(argument, kept, error);
    if (!error) {
        return kept;
    }
    fs::create_hard_link(argument, argument + ".kept", error);
    return error ? argument : argument + ".kept";
}

// What mxcc does as the compiler's linker: it writes down the arguments, each with a NUL behind it,
// but for the output and the entry, which are decided later. Returns the exit status.
int RecordLink(const std::vector<std::string>& arguments, const std::string& folder) {
    std::ofstream record(folder + kRecordName, std::ios::binary);
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "-o" && i + 1 < arguments.size()) {
            // The compiler may have the optimizer look at what it thinks has been linked.
            static constexpr char kEmptyModule[] = {0, 'a', 's', 'm', 1, 0, 0, 0};
            std::ofstream(arguments[++i], std::ios::binary)
                .write(kEmptyModule, sizeof kEmptyModule);
        } else if (arguments[i] == "--entry") {
            ++i;
        } else {
            record << Kept(arguments[i], folder) << '\0';
        }
    }
    return record.flush() ? 0 : 1;
}

// Reads back what RecordLink wrote. False when the compiler did not come to linking.
bool ReadRecord(const std::string& folder, std::vector<std::string>& arguments) {
    std::ifstream record(folder + kRecordName, std::ios::binary);
    if (!record) {
        return false;
    }
    for (std::string argument; std::getline(record, argument, '\0');) {
        arguments.push_back(argument);
    }
    return true;
}

// --- What must be installed

struct Needed {
    const char* tool;
    const char* package;
};

// Says which program or library has to be installed first; "" when all is there.
std::string MissingTool(const MxccOptions& options) {
    constexpr Needed kCompiling[] = {{"clang", "clang"}};
    constexpr Needed kLinking[] = {{"wasm-ld", "lld"}, {"wasm-opt", "binaryen"}};
    const auto missing = [](const Needed& needed) {
        return std::string(needed.tool) + " is not installed; it is in Debian's package " +
               needed.package;
    };
    for (const Needed& needed : kCompiling) {
        if (FindTool(needed.tool).empty()) {
            return missing(needed);
        }
    }
    std::error_code error;
    if (!fs::exists(std::string(kSystemHeaders) + "/stdio.h", error)) {
        return "the C library is not installed; it is in Debian's package wasi-libc";
    }
    if (!options.links) {
        return "";
    }
    for (const Needed& needed : kLinking) {
        if (FindTool(needed.tool).empty()) {
            return missing(needed);
        }
    }
    return "";
}

// --- Compiling

// The compiler's command line, without the output. `kit` is the folder with `include` and `lib`.
std::vector<std::string> CompilerCommand(const MxccOptions& options, const fs::path& kit) {
    const std::string headers = kSystemHeaders;
    std::vector<std::string> command = {
        FindTool("clang"), "--target=wasm32-wasi", "-nostdlibinc", "-isystem", kit / "include",
        "-cxx-isystem", headers + "/c++/v1", "-idirafter", headers, "-D__MOXI__=1",
        "-D_WASI_EMULATED_SIGNAL", "-D_WASI_EMULATED_PROCESS_CLOCKS", "-D_WASI_EMULATED_MMAN",
        "-D_WASI_EMULATED_GETPID",
        // Both are single instructions of the machine, or nearly so.
        "-msign-ext", "-mnontrapping-fptoint",
        // The C++ library for wasm is without them.
        "-fno-exceptions",
        // Options for sources have no use where only objects are given, and need no warning there.
        "-Wno-unused-command-line-argument"};
    if (!options.level.empty()) {
        command.push_back("-O" + options.level);
    }
    command.insert(command.end(), options.compiler.begin(), options.compiler.end());
    return command;
}

// Whether the line is a note, which only adds to an error. The mark that comes first counts: names
// of files may have blanks, and an error may quote anything.
bool IsNote(const std::string& line) {
    const size_t note = line.find(": note: ");
    return note != std::string::npos && line.find("error: ") > note &&
           line.find("warning: ") > note;
}

// Whether the line is "2 warnings and 1 error generated." or tells how a file came to be read.
bool IsAside(const std::string& line) {
    const bool counts = line.find_first_of("0123456789") == 0 && line.ends_with(" generated.") &&
                        line.find(':') == std::string::npos;
    return counts || line.starts_with("In file included from ");
}

// A line for each error and each warning, without what counts them, tells how a file came to be
// read, or adds something to the line before.
void SayErrors(const std::string& errors) {
    constexpr const char* kNoInput = "clang: error: no input files";
    std::istringstream lines(errors);
    bool said = false;
    for (std::string line; std::getline(lines, line);) {
        if (IsNote(line) || IsAside(line)) {
            continue;
        }
        // Follows where a file is missing, which has been said by then.
        if (said && line == kNoInput) {
            continue;
        }
        std::cerr << line << "\n";
        said = true;
    }
}

// Runs the compiler. To people at a terminal it shows the source with its errors.
bool RunCompiler(std::vector<std::string> command, const std::vector<std::string>& variables = {}) {
    if (isatty(STDERR_FILENO) == 1) {
        return RunTool(command, false, variables).status == 0;
    }
    command.insert(command.begin() + 1, "-fno-caret-diagnostics");
    const ToolResult result = RunTool(command, true, variables);
    SayErrors(result.errors);
    return result.status == 0;
}

// Makes objects, or whatever else comes before linking. Returns the exit status.
int Compile(const MxccOptions& options, const fs::path& kit) {
    std::vector<std::string> command = CompilerCommand(options, kit);
    if (options.hasOutput) {
        command.insert(command.end(), {"-o", options.output});
    }
    return RunCompiler(command) ? 0 : 1;
}

// --- The output

// Makes the folder of a game where `output` ends with a /, and puts the module's name behind it. ""
// or what is wrong.
std::string PrepareOutput(std::string& output) {
    if (output.empty()) {
        return "the output has no name";
    }
    std::error_code error;
    if (output.ends_with('/')) {
        fs::create_directories(output, error);
        if (error) {
            return output + ": " + error.message();
        }
        output += "MAIN.MX";
    } else if (fs::is_directory(output, error)) {
        return output + ": is a folder; with a / at its end the module goes into it";
    }
    return "";
}

// Makes a module image: the compiler makes objects and calls mxcc as its linker, which notes what
// is to be linked; then that is linked here. Returns the exit status.
int CompileAndLink(MxccOptions options, const fs::path& kit) {
    const std::string problem = PrepareOutput(options.output);
    if (!problem.empty()) {
        return Fail(problem);
    }
    const WorkFolder folder;
    if (folder.path.empty()) {
        return Fail("there is no room for temporary files");
    }
    std::vector<std::string> command = CompilerCommand(options, kit);
    command.insert(command.end(), {"-nostartfiles", "-fuse-ld=" + OwnFile().string(), "-o",
                                   folder.path + "/linked"});
    const bool compiled =
        RunCompiler(command, {kRecordVariable + ("=" + folder.path), "TMPDIR=" + folder.path});
    if (!compiled) {
        return 1;
    }
    LinkPlan plan;
    plan.kit = kit;
    plan.output = options.output;
    plan.folder = folder.path;
    if (!ReadRecord(folder.path, plan.arguments)) {
        return 0;
    }
    return LinkModule(plan, options) ? 0 : 1;
}

}  // namespace

int RunMxcc(const std::vector<std::string>& arguments) {
    if (const char* const folder = std::getenv(kRecordVariable)) {
        return RecordLink(arguments, folder);
    }
    MxccOptions options = ReadMxccOptions(arguments);
    if (!options.problem.empty()) {
        return Fail(options.problem);
    }
    if (AnswerAboutTool("mxcc", std::string(kUsage) + "\n" + kHelp, options.help, options.version,
                        std::cout)) {
        return 0;
    }
    if (arguments.empty()) {
        return Fail(std::string("no file; ") + kUsage);
    }
    const std::string missing = MissingTool(options);
    if (!missing.empty()) {
        return Fail(missing);
    }
    if (options.level.empty() && !options.hasDebug) {
        options.level = "2";
    }
    const fs::path kit = OwnFile().parent_path().parent_path() / "share" / "moxi" / "c";
    return options.links ? CompileAndLink(options, kit) : Compile(options, kit);
}

}  // namespace moxi
