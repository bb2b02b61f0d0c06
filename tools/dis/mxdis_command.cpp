#include "tools/dis/mxdis_command.h"

#include <ostream>

#include "tools/asm/source.h"
#include "tools/dis/disassembler.h"
#include "tools/outputs.h"

namespace moxi {

namespace {

constexpr const char* kUsage = "usage: mxdis [--raw] [--symbols FILE] MAIN.MX";

constexpr const char* kHelp =
    "\n"
    "Shows a module image as text.\n"
    "  --raw             a source that mxasm turns back into the identical file\n"
    "  --symbols FILE    take names from a symbol file of mxasm\n"
    "  --help, --version\n";

struct Command {
    std::string module;
    std::string symbols;
    bool raw = false;
    bool help = false;
    bool version = false;
};

std::string ParseCommand(const std::vector<std::string>& arguments, Command& command) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            command.help = true;
            return {};
        }
        if (argument == "--version") {
            command.version = true;
            return {};
        }
        if (argument == "--raw") {
            command.raw = true;
        } else if (argument == "--symbols") {
            if (i + 1 >= arguments.size()) {
                return "--symbols needs a value";
            }
            if (!command.symbols.empty()) {
                return "--symbols is given twice";
            }
            command.symbols = arguments[++i];
            if (command.symbols.empty()) {
                return "--symbols needs a file name";
            }
        } else if (argument.size() > 1 && argument[0] == '-') {
            return "unknown option " + argument;
        } else if (argument.empty() || !command.module.empty()) {
            return "one MAIN.MX is shown at a time";
        } else {
            command.module = argument;
        }
    }
    if (command.module.empty()) {
        return "MAIN.MX is missing";
    }
    if (command.raw && !command.symbols.empty()) {
        return "--raw uses no names";
    }
    return {};
}

int Fail(std::ostream& err, const std::string& file, const std::string& reason) {
    err << "mxdis: " << file << ": " << reason << "\n";
    return 1;
}

}  // namespace

int RunMxdis(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    Command command;
    const std::string wrong = ParseCommand(arguments, command);
    if (!wrong.empty()) {
        err << "mxdis: " << wrong << " (" << kUsage << ")\n";
        return 2;
    }
    if (AnswerAboutTool("mxdis", std::string(kUsage) + "\n" + kHelp, command.help, command.version,
                        out)) {
        return 0;
    }
    std::string why;
    const u64 limit = mxasm::kMaxSection + 512;
    const std::optional<std::string> bytes = mxasm::ReadWholeFile(command.module, limit, true, why);
    if (!bytes) {
        return Fail(err, command.module, why);
    }
    ModuleFile module;
    why = ParseModule({bytes->begin(), bytes->end()}, module);
    if (!why.empty()) {
        return Fail(err, command.module, why);
    }
    SymbolNames names;
    if (!command.symbols.empty()) {
        const std::optional<std::string> text =
            mxasm::ReadWholeFile(command.symbols, mxasm::kMaxSourceFile, true, why);
        if (!text) {
            return Fail(err, command.symbols, why);
        }
        why = ParseSymbolFile(*text, names);
        if (!why.empty()) {
            return Fail(err, command.symbols, why);
        }
    }
    if (command.raw) {
        WriteRawSource(module, out);
    } else {
        WriteModuleListing(module, names, out);
    }
    out.flush();
    if (!out) {
        return Fail(err, "standard output", "cannot be written");
    }
    return 0;
}

}  // namespace moxi
