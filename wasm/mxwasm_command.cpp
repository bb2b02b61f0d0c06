#include "wasm/mxwasm_command.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "tools/asm/source.h"
#include "tools/outputs.h"
#include "wasm/translate.h"

namespace moxi {

namespace {

constexpr u64 kMaxModule = 256u << 20;  // bytes of a file that is read

constexpr const char* kUsage =
    "usage: mxwasm IN.wasm -o MAIN.MX [--symbols FILE] [--lines FILE] [-S FILE] [--memory SIZE] "
    "[--check-bounds] [--calls] [--wasm4]";

constexpr const char* kHelp =
    "\n"
    "Turns a WebAssembly module into a module image.\n"
    "  -o MAIN.MX        the module image to write\n"
    "  --symbols FILE    write the functions with their addresses\n"
    "  --lines FILE      write which addresses belong to which source lines\n"
    "  -S FILE           write the code as assembly text\n"
    "  --memory SIZE     what the memory may grow to (64M unless given)\n"
    "  --stack SIZE      room for calls (4M unless given, at most 7M)\n"
    "  --heap SIZE       room for the blocks of the heap service (96M unless given)\n"
    "  --check-bounds    check every access to memory\n"
    "  --calls           try functions out: call what the resource CALL.TXT says\n"
    "  --wasm4           IN.wasm is a WASM-4 cartridge; -o names the game folder to make\n"
    "  --identity        linear memory is the image itself; data must lie behind the code\n"
    "  --code-end        print where data may begin with --identity, and write nothing\n"
    "  --help, --version\n"
    "A SIZE is a number of bytes, or of KiB, MiB or GiB with K, M or G behind it.\n";

struct Command {
    std::string input;
    // Files to write; empty where they are not wanted.
    std::string output;
    std::string symbols;
    std::string lines;
    std::string assembly;
    TranslateOptions options;
    bool codeEnd = false;
    bool isCartridge = false;
    bool help = false;
    bool version = false;
};

// A number of bytes, or of KiB, MiB or GiB with K, M or G behind it. False for anything else, and
// for more than `highest` bytes.
bool ParseSize(const std::string& text, u64 highest, u64& size) {
    u64 value = 0;
    u64 at = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9' && value < u64{1} << 40) {
        value = value * 10 + static_cast<u64>(text[at] - '0');
        ++at;
    }
    if (at == 0) {
        return false;
    }
    if (at + 1 == text.size()) {
        constexpr char kUnits[] = "KMG";
        const char* const unit = std::strchr(kUnits, text[at]);
        if (unit == nullptr || *unit == '\0') {
            return false;
        }
        value <<= 10 * (unit - kUnits + 1);
        ++at;
    }
    size = value;
    return at == text.size() && value <= highest;
}

// The same of an option's value. False when `wrong` says what is wrong with it.
bool TakeSize(const std::string& option, const std::string& value, u64 highest, u64& size,
              std::string& wrong) {
    if (ParseSize(value, highest, size)) {
        return true;
    }
    wrong = option + " takes a size of at most " + std::to_string(highest) + " bytes, not '" +
            value + "'";
    return false;
}

// Takes an option without a value. False when the argument is none.
bool TakeFlag(const std::string& argument, Command& command) {
    if (argument == "--check-bounds") {
        return command.options.checkBounds = true;
    }
    if (argument == "--calls") {
        return command.options.calls = true;
    }
    if (argument == "--identity") {
        return command.options.identity = true;
    }
    if (argument == "--wasm4") {
        return command.isCartridge = true;
    }
    if (argument == "--code-end") {
        return command.codeEnd = true;
    }
    if (argument == "--help" || argument == "-h") {
        return command.help = true;
    }
    if (argument == "--version") {
        return command.version = true;
    }
    return false;
}

// Takes the value of an option that has one. False when `wrong` says what is wrong with it.
bool TakeValue(const std::string& argument, const std::string& value, Command& command,
               std::string& wrong) {
    u64 size = 0;
    if (argument == "-o") {
        return TakeOnce(command.output, argument, value, wrong);
    }
    if (argument == "--symbols") {
        return TakeOnce(command.symbols, argument, value, wrong);
    }
    if (argument == "--lines") {
        return TakeOnce(command.lines, argument, value, wrong);
    }
    if (argument == "-S") {
        return TakeOnce(command.assembly, argument, value, wrong);
    }
    if (argument == "--memory") {
        return TakeSize(argument, value, u64{4} << 30, command.options.memory, wrong);
    }
    if (argument == "--stack") {
        if (!TakeSize(argument, value, kMaxStack, size, wrong)) {
            return false;
        }
        command.options.stack = static_cast<u32>((size + 4095) / 4096 * 4096);
        return true;
    }
    if (!TakeSize(argument, value, 0xF0000000, size, wrong)) {
        return false;
    }
    command.options.heap = static_cast<u32>(size);
    return true;
}

// Takes all arguments. False when `wrong` says what is wrong with them.
bool ParseCommand(const std::vector<std::string>& arguments, Command& command, std::string& wrong) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (TakeFlag(argument, command)) {
            if (command.help || command.version) {
                return true;
            }
            continue;
        }
        const bool takesValue = argument == "-o" || argument == "--symbols" ||
                                argument == "--lines" || argument == "-S" ||
                                argument == "--memory" || argument == "--stack" ||
                                argument == "--heap";
        if (!takesValue) {
            if (argument.size() > 1 && argument[0] == '-') {
                wrong = "unknown option " + argument;
                return false;
            }
            if (!TakeOnce(command.input, "IN.wasm", argument, wrong)) {
                return false;
            }
            continue;
        }
        if (i + 1 >= arguments.size()) {
            wrong = argument + " needs a value";
            return false;
        }
        if (!TakeValue(argument, arguments[++i], command, wrong)) {
            return false;
        }
    }
    if (command.input.empty()) {
        wrong = "IN.wasm is missing";
    }
    if (wrong.empty() && command.output.empty() && !command.codeEnd) {
        wrong = "-o MAIN.MX is missing";
    }
    return wrong.empty();
}

bool ReadInput(const std::string& path, std::string& bytes, std::ostream& err) {
    std::string why;
    std::optional<std::string> read = mxasm::ReadWholeFile(path, kMaxModule, true, why);
    if (!read) {
        err << "mxwasm: " << path << ": " << why << "\n";
        return false;
    }
    bytes = std::move(*read);
    return true;
}

// Makes the folder of a cartridge's game. Called late, when there is something to put into it.
bool MakeGameFolder(const Command& command, std::ostream& err) {
    const std::filesystem::path folder = std::filesystem::path(command.output).parent_path();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (std::filesystem::is_directory(folder, error)) {
        return true;
    }
    err << "mxwasm: " << folder.string() << ": no folder can be made there\n";
    return false;
}

std::vector<std::string> Outputs(const Command& command) {
    std::vector<std::string> outputs;
    for (const std::string* path :
         {&command.output, &command.symbols, &command.lines, &command.assembly}) {
        if (!path->empty()) {
            outputs.push_back(*path);
        }
    }
    return outputs;
}

// A line for each symbol: ADDRESS code|data NAME.
std::string FormatSymbolFile(const TranslatedModule& translation) {
    std::string text;
    for (const TranslatedSymbol& symbol : translation.symbols) {
        char start[24];
        std::snprintf(start, sizeof start, "%08X %s ", symbol.address,
                      symbol.isCode ? "code" : "data");
        text += start + symbol.name + "\n";
    }
    return text;
}

// A line for the variable, and one for each of its places.
std::string FormatVariable(const TranslatedVariable& variable) {
    char start[96];
    std::snprintf(start, sizeof start, "%08X %s ", variable.function,
                  variable.isArgument ? "argument" : "variable");
    std::string text = start;
    if (!variable.isArgument) {
        std::snprintf(start, sizeof start, "%08X %08X ", variable.from, variable.to);
        text += start;
    }
    text += variable.kind + " " + variable.name + "\n";
    for (const TranslatedPlace& place : variable.places) {
        std::snprintf(start, sizeof start, "%08X %s %08X ", place.from,
                      place.isMemory ? "memory" : "value", place.to);
        text += start + place.text;
        if (place.isMemory) {
            text += " " + std::to_string(place.offset);
        }
        text += "\n";
    }
    return text;
}

// A line for each address at which another source line begins, "ADDRESS LINE FILE", with line 0 and
// no file where none is known; then the variables.
std::string FormatLines(const TranslatedModule& translation) {
    std::string text;
    for (const TranslatedLine& line : translation.lines) {
        char start[32];
        std::snprintf(start, sizeof start, "%08X %u", line.address, line.line);
        text += start;
        if (line.line != 0) {
            text += " " + translation.files[line.file];
        }
        text += "\n";
    }
    for (const TranslatedVariable& variable : translation.variables) {
        text += FormatVariable(variable);
    }
    return text;
}

bool WriteOutputs(const Command& command, const TranslatedModule& translation, std::ostream& err) {
    const std::string symbols = FormatSymbolFile(translation);
    const std::string lines = FormatLines(translation);
    const auto write = [&](const std::string& path, const auto& bytes) {
        return WriteOutput("mxwasm", path, bytes.data(), bytes.size(), err);
    };
    return write(command.symbols, symbols) && write(command.lines, lines) &&
           write(command.assembly, translation.assembly) &&
           write(command.output, translation.bytes);
}

}  // namespace

int RunMxwasm(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    Command command;
    std::string wrong;
    const bool good = ParseCommand(arguments, command, wrong);
    if (good && AnswerAboutTool("mxwasm", std::string(kUsage) + "\n" + kHelp, command.help,
                                command.version, out)) {
        return 0;
    }
    if (good) {
        wrong = ConflictOfOutputs(Outputs(command), {command.input}, "the input");
    }
    if (!wrong.empty()) {
        err << "mxwasm: " << wrong << " (" << kUsage << ")\n";
        return 1;
    }
    std::string wasm;
    std::string console;
    if (command.isCartridge && !command.codeEnd) {
        command.output = std::filesystem::path(command.output) / "MAIN.MX";
    }
    const bool isRead = ReadInput(command.input, wasm, err) &&
                        (!command.isCartridge ||
                         ReadInput(ToolShareFolder() + "/wasm4/console.wasm", console, err));
    if (!isRead) {
        RemoveOutputs(Outputs(command));
        return 1;
    }
    command.options.libraryFolder = ToolShareFolder() + "/library";
    command.options.wantAssembly = !command.assembly.empty();
    if (command.isCartridge) {
        command.options.cartridge = wasm;
    }
    const TranslatedModule translation =
        Translate(command.isCartridge ? console : wasm, command.options);
    if (command.codeEnd && translation.codeEnd != 0) {
        out << translation.codeEnd << "\n";
        return 0;
    }
    if (!translation.ok) {
        for (const std::string& error : translation.errors) {
            err << "mxwasm: " << command.input << ": " << error << "\n";
        }
        RemoveOutputs(Outputs(command));
        return 1;
    }
    if (command.isCartridge && !MakeGameFolder(command, err)) {
        return 1;
    }
    if (!WriteOutputs(command, translation, err)) {
        RemoveOutputs(Outputs(command));
        return 1;
    }
    return 0;
}

}  // namespace moxi
