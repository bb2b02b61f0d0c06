#include "wasm/mxcc_options.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace moxi {

namespace {

// Options of mxwasm that mxcc hands on; those of the first list have a value.
constexpr std::array kTranslatorValues = {"--symbols", "--lines", "--memory", "--stack", "--heap"};
constexpr std::array kTranslatorFlags = {"--check-bounds"};

// With one of these the compiler does not come to linking.
constexpr std::array kWithoutLink = {
    "-c",   "-S",        "-E",           "-M",           "-MM",          "-fsyntax-only",
    "-###", "--analyze", "--precompile", "-dumpmachine", "-dumpversion", "--target-help"};

// Options of the compiler whose value follows and could look like an option that is looked for.
constexpr std::array kCompilerValues = {"-Xclang", "-Xlinker", "-Xpreprocessor", "-Xassembler",
                                        "-mllvm"};

template <size_t kCount>
bool Contains(const std::array<const char*, kCount>& list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

class OptionReader {
  public:
    explicit OptionReader(const std::vector<std::string>& arguments) : arguments_(arguments) {}

    MxccOptions Read() {
        while (next_ < arguments_.size() && options_.problem.empty()) {
            ReadOne(arguments_[next_++]);
        }
        return options_;
    }

  private:
    // The argument behind an option, which is its value.
    std::string Value(const std::string& option) {
        if (next_ < arguments_.size()) {
            return arguments_[next_++];
        }
        options_.problem = "a value is missing after " + option;
        return "";
    }

    // Options of mxcc and of the translator. False for any other.
    bool ReadOwn(const std::string& argument) {
        const size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        if (Contains(kTranslatorFlags, argument)) {
            options_.translator.push_back(argument);
        } else if (Contains(kTranslatorValues, name)) {
            options_.translator.push_back(name);
            const bool attached = equals != std::string::npos;
            options_.translator.push_back(attached ? argument.substr(equals + 1) : Value(name));
        } else if (argument == "--help" || argument == "-help") {
            options_.help = true;
        } else if (argument == "--version") {
            options_.version = true;
        } else {
            return false;
        }
        return true;
    }

    // The output, in all the forms that the compiler knows. "-object..." begins another option.
    bool ReadOutput(const std::string& argument) {
        if (argument == "-o" || argument == "--output") {
            options_.output = Value(argument);
        } else if (argument.starts_with("--output=")) {
            options_.output = argument.substr(9);
        } else if (argument.starts_with("-o") && !argument.starts_with("-object")) {
            options_.output = argument.substr(2);
        } else {
            return false;
        }
        options_.hasOutput = true;
        return true;
    }

    void ReadOne(const std::string& argument) {
        if (ReadOwn(argument) || ReadOutput(argument)) {
            return;
        }
        options_.compiler.push_back(argument);
        if (Contains(kCompilerValues, argument)) {
            options_.compiler.push_back(Value(argument));
        } else if (Contains(kWithoutLink, argument) || argument.starts_with("-print-") ||
                   argument.starts_with("--print-")) {
            options_.links = false;
        } else if (argument.starts_with("-O")) {
            options_.level = argument.size() == 2 ? "1" : argument.substr(2);
        } else if (argument.starts_with("-g")) {
            options_.hasDebug = argument != "-g0";
        }
    }

    const std::vector<std::string>& arguments_;
    size_t next_ = 0;
    MxccOptions options_;
};

}  // namespace

MxccOptions ReadMxccOptions(const std::vector<std::string>& arguments) {
    return OptionReader(arguments).Read();
}

}  // namespace moxi
