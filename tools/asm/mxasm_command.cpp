#include "tools/asm/mxasm_command.h"

#include <ostream>

#include "tools/asm/assembler.h"
#include "tools/asm/symbols.h"
#include "tools/outputs.h"

namespace moxi {

namespace {

constexpr const char* kUsage =
    "usage: mxasm SOURCE -o MAIN.MX [-l LISTING] [--symbols FILE] [-I FOLDER] [-D NAME[=VALUE]]";

constexpr const char* kHelp =
    "\n"
    "Assembles SOURCE into a module image.\n"
    "  -o MAIN.MX        the module image to write\n"
    "  -l LISTING        write a listing: addresses, bytes and source\n"
    "  --symbols FILE    write the labels and constants with their values\n"
    "  -I FOLDER         also look here for included files\n"
    "  -D NAME[=VALUE]   define a constant (1 when there is no value)\n"
    "  --help, --version\n";

struct Command {
    std::string source;
    std::string output;
    std::string listing;
    std::string symbols;
    AssembleOptions options;
    bool help = false;
    bool version = false;
};

bool IsName(const std::string& text) {
    if (text.empty() || !mxasm::IsNameStart(text[0])) {
        return false;
    }
    for (const char c : text) {
        if (!mxasm::IsNamePart(c)) {
            return false;
        }
    }
    return true;
}

bool ParseDefinition(const std::string& text, Command& command, std::string& wrong) {
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    i64 value = 1;
    bool good = IsName(name) && !mxasm::IsReservedName(name);
    if (equals != std::string::npos) {
        // The value is read as the assembler reads it.
        const std::string number = text.substr(equals + 1);
        const AssembleResult result = Assemble("value = " + number + "\n", "-D", AssembleOptions{});
        good = good && result.ok && result.symbols.size() == 1;
        if (good) {
            value = result.symbols[0].value;
        }
    }
    if (!good) {
        wrong = "-D takes NAME or NAME=NUMBER, not '" + text + "'";
    }
    command.options.definitions.emplace_back(name, value);
    return good;
}

bool ParseCommand(const std::vector<std::string>& arguments, Command& command, std::string& wrong) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            command.help = true;
            return true;
        }
        if (argument == "--version") {
            command.version = true;
            return true;
        }
        const bool takesValue = argument == "-o" || argument == "-l" || argument == "--symbols" ||
                                argument == "-I" || argument == "-D";
        if (!takesValue) {
            if (argument.size() > 1 && argument[0] == '-') {
                wrong = "unknown option " + argument;
                return false;
            }
            if (!TakeOnce(command.source, "SOURCE", argument, wrong)) {
                return false;
            }
            continue;
        }
        if (i + 1 >= arguments.size()) {
            wrong = argument + " needs a value";
            return false;
        }
        const std::string& value = arguments[++i];
        bool good = true;
        if (argument == "-o") {
            good = TakeOnce(command.output, argument, value, wrong);
        }
        if (argument == "-l") {
            good = TakeOnce(command.listing, argument, value, wrong);
        }
        if (argument == "--symbols") {
            good = TakeOnce(command.symbols, argument, value, wrong);
        }
        if (argument == "-I") {
            command.options.includeFolders.push_back(value);
        }
        if (argument == "-D") {
            good = ParseDefinition(value, command, wrong);
        }
        if (!good) {
            return false;
        }
    }
    if (command.source.empty()) {
        wrong = "SOURCE is missing";
    }
    if (wrong.empty() && command.output.empty()) {
        wrong = "-o MAIN.MX is missing";
    }
    return wrong.empty();
}

std::vector<std::string> Outputs(const Command& command) {
    std::vector<std::string> outputs = {command.output};
    if (!command.listing.empty()) {
        outputs.push_back(command.listing);
    }
    if (!command.symbols.empty()) {
        outputs.push_back(command.symbols);
    }
    return outputs;
}

bool WriteOutputs(const Command& command, const AssembleResult& result, std::ostream& err) {
    const std::string symbols = FormatSymbols(result);
    const auto write = [&](const std::string& path, const auto& bytes) {
        return WriteOutput("mxasm", path, bytes.data(), bytes.size(), err);
    };
    return write(command.listing, result.listing) && write(command.symbols, symbols) &&
           write(command.output, result.bytes);
}

}  // namespace

int RunMxasm(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    Command command;
    std::string wrong;
    const bool good = ParseCommand(arguments, command, wrong);
    if (good && AnswerAboutTool("mxasm", std::string(kUsage) + "\n" + kHelp, command.help,
                                command.version, out)) {
        return 0;
    }
    constexpr const char* kSources = "a source file";
    if (good) {
        wrong = ConflictOfOutputs(Outputs(command), {command.source}, kSources);
    }
    if (!wrong.empty()) {
        err << "mxasm: " << wrong << " (" << kUsage << ")\n";
        return 2;
    }
    std::string why;
    const std::optional<std::string> source =
        mxasm::ReadWholeFile(command.source, mxasm::kMaxSourceFile, true, why);
    if (!source) {
        err << "mxasm: " << command.source << ": " << why << "\n";
        RemoveOutputs(Outputs(command));
        return 1;
    }
    command.options.includeFolders.push_back(ToolShareFolder() + "/library");
    command.options.wantListing = !command.listing.empty();
    const AssembleResult result = Assemble(*source, command.source, command.options);
    wrong = ConflictOfOutputs(Outputs(command), result.filesRead, kSources);
    if (!wrong.empty()) {
        err << "mxasm: " << wrong << "\n";
        return 1;
    }
    if (!result.ok) {
        err << FormatErrors(result);
        RemoveOutputs(Outputs(command));
        return 1;
    }
    if (!WriteOutputs(command, result, err)) {
        RemoveOutputs(Outputs(command));
        return 1;
    }
    return 0;
}

}  // namespace moxi
