#include "tests/kit/debugged.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/desktop_session.h"

namespace moxi {

Debugged::Debugged(const std::string& source, bool symbols) {
    assembled = WriteGame(game, source);
    if (!symbols) {
        return;
    }
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

Interactive::Interactive(const Debugged& debugged, const std::string& options) : game(debugged) {
    EXPECT_EQ(mkfifo(input.c_str(), 0600), 0);
    const std::string moxi = std::string(MOXI_BIN_DIR) + "/moxi";
    process = StartProcess(
        {"sh", "-c",
         "exec '" + moxi + "' --debug --mute " + options + " --data-folder '" + game.folder.path +
             "/data' '" + game.game + "' < '" + input + "' > '" + output + "'"},
        game.folder.path + "/errors");
    pipe = open(input.c_str(), O_WRONLY | O_CLOEXEC);
}

Interactive::~Interactive() {
    if (pipe >= 0) {
        close(pipe);
    }
    if (process > 0) {
        StopProcess(process);
    }
}

void Interactive::Enter(const std::string& line) const {
    const std::string text = line + "\n";
    EXPECT_EQ(write(pipe, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

bool Interactive::WaitFor(const std::string& text) const {
    for (int turn = 0; turn < 2000; ++turn) {
        if (ReadTextFile(output).find(text) != std::string::npos) {
            return true;
        }
        usleep(10000);
    }
    ADD_FAILURE() << text << " was not said: " << ReadTextFile(output)
                  << ReadTextFile(game.folder.path + "/errors");
    return false;
}

int Interactive::WaitForExit() {
    const int status = ExitStatusOf(process);
    process = -1;
    return status;
}

}  // namespace moxi
