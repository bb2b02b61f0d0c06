#include "wasm/mxcc_link.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string_view>

#include "base/types.h"
#include "wasm/module.h"
#include "wasm/mxcc_tools.h"
#include "wasm/mxwasm_command.h"

namespace moxi {

namespace {

constexpr const char* kEntry = "moxi_message";
// The C stack: as large as a thread's on the desktop. Its pages cost nothing before they are used.
constexpr const char* kStackSize = "stack-size=8388608";
// Where data begins, in bytes of linear memory, in a module that is linked only to see how large
// its code gets.
constexpr u32 kFirstBase = 65536;
// How often a module is linked anew before mxcc gives up finding a place for its data.
constexpr int kMostLinks = 6;
// Bytes of spare room, one such piece more each time that the code did not fit in front of the
// data.
constexpr u32 kSlack = 256;

// Functions of the compiler's library for numbers of 128 bits: `long double`.
constexpr std::string_view kLongDoubleFunctions[] = {
    "__addtf3",      "__subtf3",     "__multf3",    "__divtf3",    "__extenddftf2",
    "__extendsftf2", "__trunctfdf2", "__floatsitf", "__floatditf", "__floatunsitf"};

// What is known of a linked module.
struct Linked {
    bool ok = false;
    bool livesOnMessages = false;  // it exports moxi_message
    bool usesLongDouble = false;
    bool usesSetjmp = false;
    std::string mainForm;  // of a main that is called as one of another type; "" for none
    std::string warnings;  // the linker's
};

// What the next link is to be like.
struct Shape {
    bool livesOnMessages = true;
    bool printsLongDouble = false;
    std::string mainForm;   // of what stands between the start and the main; "" for nothing
    u32 base = kFirstBase;  // where data begins in linear memory
};

std::string ReadWholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// --- Linking

// The runtime and what goes with it, in front of the C library.
std::vector<std::string> KitArguments(const LinkPlan& plan, const Shape& shape) {
    std::vector<std::string> list = {
        plan.kit + "/lib/" + (shape.livesOnMessages ? "initialize.o" : "start.o"),
        "-L" + plan.kit + "/lib",
        "-lc++",
        "-lc++abi",
        "-lmoxi",
        "-lwasi-emulated-signal",
        "-lwasi-emulated-process-clocks",
        "-lwasi-emulated-mman",
        "-lwasi-emulated-getpid"};
    if (!shape.mainForm.empty()) {
        list.push_back(plan.kit + "/lib/main_" + shape.mainForm + ".o");
    }
    if (shape.printsLongDouble) {
        list.emplace_back("-lc-printscan-long-double");
    }
    return list;
}

// The arguments of wasm-ld, without the output.
std::vector<std::string> LinkArguments(const LinkPlan& plan, const MxccOptions& options,
                                       const Shape& shape) {
    std::vector<std::string> list = plan.arguments;
    // The compiler puts the C library last.
    const auto library = std::find(list.rbegin(), list.rend(), "-lc");
    if (library != list.rend()) {
        const std::vector<std::string> kit = KitArguments(plan, shape);
        list.insert(std::prev(library.base()), kit.begin(), kit.end());
    }
    const auto hasStack = [](const std::string& text) { return text.starts_with("stack-size="); };
    if (std::none_of(list.begin(), list.end(), hasStack)) {
        list.insert(list.end(), {"-z", kStackSize});
    }
    list.insert(list.end(), {std::string("--export-if-defined=") + kEntry,
                             "--global-base=" + std::to_string(shape.base)});
    if (shape.livesOnMessages) {
        list.emplace_back("--no-entry");
    }
    // The C library was compiled with debug information of its own. Names of functions stay.
    if (!options.hasDebug) {
        list.emplace_back("--strip-debug");
    }
    return list;
}

// Makes the linker's messages readable. It names files of the temporary folder, of which only the
// name without the folder and the compiler's mark (source-0a1b2c.o.kept) means something. What it
// adds to an error in further lines goes behind it, into the same line.
std::string Readable(std::string text, const LinkPlan& plan) {
    const std::string prefix = plan.folder + "/";
    for (size_t at; (at = text.find(prefix)) != std::string::npos;) {
        text.erase(at, prefix.size());
    }
    constexpr std::string_view kSecondName = ".o.kept";
    constexpr size_t kMark = 7;  // a hyphen and six digits
    for (size_t at = 0; (at = text.find(kSecondName, at)) != std::string::npos;) {
        const size_t hyphen = at - std::min(at, kMark);
        if (at - hyphen == kMark && text[hyphen] == '-' &&
            text.find_first_not_of("0123456789abcdef", hyphen + 1) == at) {
            text.replace(hyphen, kMark + kSecondName.size(), ".o");
            at = hyphen;
        } else {
            ++at;
        }
    }
    constexpr std::string_view kFurtherLine = "\n>>> ";
    for (size_t at; (at = text.find(kFurtherLine)) != std::string::npos;) {
        text.replace(at, kFurtherLine.size(), ", ");
    }
    return text;
}

// Writes the linker's errors. That a program has no main is said in our own words, whichever of its
// names the C library asks for.
void ReportLinkErrors(const LinkPlan& plan, const std::string& errors) {
    for (const std::string name : {"main", "__main_argc_argv", "__main_void"}) {
        if (errors.find("undefined symbol: " + name + "\n") != std::string::npos) {
            std::cerr << "mxcc: the program has neither a main nor a moxi_message\n";
            return;
        }
    }
    std::cerr << Readable(errors, plan);
}

// A main that has other parameters or results than the C library calls it with needs an object of
// the kit in between: main_P_R.o for a main with P parameters and R results. Returns "P_R", from
// the linker's warning about such a main; "" when there is no such warning, or no such object.
std::string FormOfOddMain(const std::string& warnings) {
    constexpr struct {
        std::string_view type;
        const char* form;
    } kForms[] = {{"() -> void", "0_0"},
                  {"(i32) -> void", "1_0"},
                  {"(i32) -> i32", "1_1"},
                  {"(i32, i32) -> void", "2_0"},
                  {"(i32, i32, i32) -> void", "3_0"},
                  {"(i32, i32, i32) -> i32", "3_1"}};
    // What the compiler calls a main: the second name where it has two parameters.
    size_t at = std::string::npos;
    for (const std::string name : {"main", "__main_argc_argv"}) {
        at = std::min(at, warnings.find("function signature mismatch: " + name + "\n"));
    }
    if (at == std::string::npos) {
        return "";
    }
    constexpr std::string_view kDefinition = ">>> defined as ";
    std::istringstream lines(warnings.substr(at));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line) && line.starts_with(kDefinition)) {
        for (const auto& [type, form] : kForms) {
            if (line.substr(kDefinition.size()).starts_with(std::string(type) + " in ")) {
                return form;
            }
        }
    }
    return "";
}

// Whether the bytes hold a format that prints or reads a long double, like "%-8.3Lf".
bool HasFormatOfLongDouble(std::string_view bytes) {
    for (size_t at = 0; (at = bytes.find('%', at)) != std::string_view::npos;) {
        at = bytes.find_first_not_of("-+ #0123456789.*'", at + 1);
        if (at == std::string_view::npos) {
            break;
        }
        constexpr std::string_view kKinds = "aAeEfFgG";
        if (bytes[at] == 'L' && at + 1 < bytes.size() &&
            kKinds.find(bytes[at + 1]) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

// Looks into a module that was linked. `ok` is false after the error has been written.
Linked Describe(const std::string& file) {
    const std::string bytes = ReadWholeFile(file);
    Module module;
    ModuleError error;
    Linked linked;
    if (!ReadModule(bytes, module, error)) {
        std::cerr << "mxcc: the linked module cannot be read: " << error.text << "\n";
        return linked;
    }
    linked.ok = true;
    linked.livesOnMessages = FindExport(module, kEntry, ExternalKind::Function) != nullptr;
    for (const Import& import : module.imports) {
        if (import.module == "moxi" && import.name == "setjmp") {
            linked.usesSetjmp = true;
        }
    }
    for (const Function& function : module.functions) {
        const auto* const end = std::end(kLongDoubleFunctions);
        if (std::find(std::begin(kLongDoubleFunctions), end, function.name) != end) {
            linked.usesLongDouble = true;
        }
    }
    for (const DataSegment& segment : module.data) {
        if (HasFormatOfLongDouble(segment.bytes)) {
            linked.usesLongDouble = true;
        }
    }
    return linked;
}

// Links into `file`. `ok` is false after the errors have been written.
Linked Link(const LinkPlan& plan, const MxccOptions& options, const Shape& shape,
            const std::string& file) {
    std::vector<std::string> command = {FindTool("wasm-ld")};
    const std::vector<std::string> arguments = LinkArguments(plan, options, shape);
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.insert(command.end(), {"-o", file});
    const ToolResult result = RunTool(command, true);
    if (result.status != 0) {
        ReportLinkErrors(plan, result.errors);
        return {};
    }
    Linked linked = Describe(file);
    linked.mainForm = FormOfOddMain(result.errors);
    linked.warnings = Readable(result.errors, plan);
    return linked;
}

// --- Optimizing

// A module that jumps back into its functions is left as the compiler made it: the optimizer does
// not know that the call of setjmp can return again. Nor does it keep what a debugger needs.
bool IsToBeOptimized(const MxccOptions& options, const Linked& linked) {
    return !options.hasDebug && !linked.usesSetjmp && !options.level.empty() &&
           options.level != "0";
}

// Has wasm-opt rewrite the module. False after its errors have been written.
bool Optimize(const MxccOptions& options, const std::string& file) {
    const bool known = options.level.find_first_not_of("1234sz") == std::string::npos;
    const ToolResult result =
        RunTool({FindTool("wasm-opt"), file, "-O" + (known ? options.level : "3"), "-g",
                 "--enable-bulk-memory", "--enable-sign-ext", "--enable-mutable-globals",
                 "--enable-nontrapping-float-to-int", "--enable-multivalue", "-o", file},
                true);
    if (result.status != 0) {
        std::cerr << result.errors;
    }
    return result.status == 0;
}

// --- Translating

// Where the data may begin, in bytes of linear memory: the end of the code. 0 after an error, which
// has been written.
u32 CodeEnd(const LinkPlan& plan, const MxccOptions& options, const std::string& file) {
    std::ostringstream end;
    std::ostringstream errors;
    std::vector<std::string> arguments = {file, "--identity", "--code-end"};
    const auto& given = options.translator;
    if (std::find(given.begin(), given.end(), "--check-bounds") != given.end()) {
        arguments.emplace_back("--check-bounds");  // the one option that makes other code
    }
    const int status = RunMxwasm(arguments, end, errors);
    std::cerr << Readable(errors.str(), plan);
    return status == 0 ? static_cast<u32>(std::strtoul(end.str().c_str(), nullptr, 10)) : 0;
}

// Makes the module image. False after the errors have been written.
bool Translate(const LinkPlan& plan, const MxccOptions& options, const std::string& file) {
    std::vector<std::string> arguments = {file, "--identity", "-o", plan.output};
    arguments.insert(arguments.end(), options.translator.begin(), options.translator.end());
    std::ostringstream errors;
    const int status = RunMxwasm(arguments, std::cout, errors);
    std::cerr << Readable(errors.str(), plan);
    return status == 0;
}

}  // namespace

bool LinkModule(const LinkPlan& plan, const MxccOptions& options) {
    const std::string file = plan.folder + "/module.wasm";
    Shape shape;
    // Whether there is a moxi_message is known after a link without a main. That link is quick in a
    // program that has a main instead: nothing is exported, so nearly everything is left out.
    Linked linked = Link(plan, options, shape, file);
    if (!linked.ok) {
        return false;
    }
    if (!linked.livesOnMessages) {
        shape.livesOnMessages = false;
        linked = Link(plan, options, shape, file);
    }
    if (linked.ok && (linked.usesLongDouble || !linked.mainForm.empty())) {
        shape.printsLongDouble = linked.usesLongDouble;
        shape.mainForm = linked.mainForm;
        linked = Link(plan, options, shape, file);
    }
    std::cerr << linked.warnings;
    // The code lies in front of the data, and its length depends a little on the data's addresses.
    // So link, see where the code ends, and link again with the data there, until it fits.
    for (int links = 0; linked.ok && links < kMostLinks; ++links) {
        if (IsToBeOptimized(options, linked) && !Optimize(options, file)) {
            return false;
        }
        const u32 end = CodeEnd(plan, options, file);
        if (end == 0) {
            return false;
        }
        if (end <= shape.base && shape.base != kFirstBase) {
            return Translate(plan, options, file);
        }
        shape.base = (end + 63) / 64 * 64 + kSlack * static_cast<u32>(links);
        linked = Link(plan, options, shape, file);
    }
    if (linked.ok) {
        std::cerr << "mxcc: the code's end does not come to rest\n";
    }
    return false;
}

}  // namespace moxi
