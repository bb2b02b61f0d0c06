#include "tests/kit/debugged.h"

#include <gtest/gtest.h>

namespace moxi {

Debugged::Debugged(const std::string& source, bool symbols) {
    assembled = WriteGame(game, source);
    if (!symbols) return;
    WriteTextFile(folder.path + "/game.mxs", source);
    const ProgramResult made =
        RunProgram("mxasm", {"game.mxs", "-o", "m", "--symbols", "game/MAIN.SYM"}, folder.path);
    EXPECT_EQ(made.status, 0) << made.errors;
}

ProgramResult Debugged::Run(const std::string& commands, std::vector<std::string> options) const {
    options.insert(options.begin(), {"--debug", "--headless", "--data-folder",
                                     folder.path + "/data", "--run-ms", "500"});
    options.push_back(game);
    return RunProgram("moxi", options, folder.path, commands);
}

std::string Debugged::Talk(const std::string& commands,
                           const std::vector<std::string>& options) const {
    const std::string text = Run(commands, options).output;
    const size_t start = text.find("(moxi)");
    return start == std::string::npos ? "" : text.substr(start);
}

}  // namespace moxi
