// The command line, one argument a line of the input, and the search for the game that it names.
// It is accepted, or refused with status 2; help and version end with 0.

#include <filesystem>
#include <fstream>

#include "app/options.h"
#include "fuzz/confine.h"
#include "fuzz/require.h"
#include "host/bundle.h"

namespace moxi {

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    confine::Confine(*argc, *argv);
    // What the seeds name: a game, a script.
    std::ofstream(confine::folder + "/MAIN.MX") << "MOXI";
    std::ofstream(confine::folder + "/script") << "10 key-down 00 \"a\"\n20 quit\n";
    std::ofstream(confine::folder + "/Info.plist")
        << "<plist version=\"1.0\"><dict><key>ZULGameName</key>"
           "<string>A Game</string></dict></plist>";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    // Relative names are the input's in here, and the fuzzer's outside.
    struct Inside {
        std::filesystem::path outside = std::filesystem::current_path();
        Inside() { std::filesystem::current_path(confine::folder); }
        ~Inside() { std::filesystem::current_path(outside); }
    } inside;
    std::vector<std::string> arguments = {"moxi", ""};
    for (size_t i = 0; i < size; ++i) {
        const char c = static_cast<char>(data[i]);
        if (c == '\n') {
            arguments.emplace_back();
        } else if (c != 0) {
            arguments.back() += c;
        }
    }
    if (arguments.size() > 64) {
        return 0;
    }
    std::vector<const char*> argv;
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    Options options;
    const std::optional<int> status =
        ParseCommandLine(static_cast<int>(argv.size()), argv.data(), options);
    if (status) {
        Require(*status == 0 || *status == 2);
        return 0;
    }
    Require(options.headless ||
            (options.headlessOptions.script.empty() && !options.headlessOptions.runMilliseconds));
    Require(!options.headlessOptions.screens.empty());
    if (!options.game.empty()) {
        FindGame(options.game);
    }
    return 0;
}

}  // namespace moxi
