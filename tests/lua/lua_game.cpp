#include "tests/lua/lua_game.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace moxi {

namespace fs = std::filesystem;

bool HasLua() {
    return fs::exists(kLuaRuntime);
}

LuaGame::LuaGame(const std::string& text) {
    fs::create_directory(game);
    fs::copy_file(kLuaRuntime, game + "/MAIN.MX");
    Write("MAIN.LUA", text);
}

void LuaGame::Write(const std::string& name, const std::string& text) const {
    WriteTextFile(game + "/" + name, text);
}

Lines LuaGame::Play(const std::string& script, unsigned milliseconds,
                    const std::string& dataLimit) const {
    WriteTextFile(folder.path + "/script", script);
    const ProgramResult run = RunProgram(
        "moxi",
        {"--headless", "--data-folder", data, "--script", "script", "--run-ms",
         std::to_string(milliseconds), "--dump-view", "view.png", "--data-limit", dataLimit, game},
        folder.path);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "");
    Lines lines;
    std::istringstream text(run.errors);
    for (std::string line; std::getline(text, line);) {
        if (line == "log: windowWillClose") {
            continue;  // the host's, at each close
        }
        lines.push_back(line.starts_with("log: ") ? Unescaped(line.substr(5)) : line);
    }
    return lines;
}

Picture LuaGame::View() const {
    return ReadPicture(folder.path + "/view.png");
}

std::string Unescaped(const std::string& line) {
    std::string text;
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] != '\\' || i + 1 == line.size()) {
            text += line[i];
        } else if (line[++i] == 'x') {
            text += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            text += line[i] == 'n' ? '\n' : line[i];
        }
    }
    return text;
}

}  // namespace moxi
