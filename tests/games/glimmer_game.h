#pragma once
// Plays Glimmer Hollow headless by event scripts, in a module that tests can reach into
// (tests/games/glimmer_check.mxs), and reads its variables afterwards.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/support/headless_run.h"

namespace moxi {

namespace glimmer {

namespace fs = std::filesystem;

inline const fs::path kSources = fs::path(MOXI_SOURCE_DIR) / "games" / "glimmer";

// The game leaves 40 and 80 points of it free: its view is 600 x 400.
constexpr const char* kDesktop = "640x480";

enum Scene : u32 {
    Title,
    Play,
    Pause,
    Dawn,
    Over,
    Name,
    Scores,
    Options,
    Help,
    AskGiveUp,
    Morning
};

// Assembled once; with `pilot` the firefly plays every run by itself.
inline const AssembleResult& Module(bool pilot = false) {
    static const auto assemble = [](bool withPilot) {
        AssembleOptions options = LibraryOptions();
        options.includeFolders.insert(options.includeFolders.begin(), kSources.string());
        if (withPilot) {
            options.definitions.emplace_back("PILOT", 1);
        }
        const std::string source = std::string(MOXI_SOURCE_DIR) + "/tests/games/glimmer_check.mxs";
        AssembleResult result = Assemble(ReadTextFile(source), source, options);
        EXPECT_TRUE(result.ok) << FormatErrors(result);
        return result;
    };
    static const AssembleResult played = assemble(false);
    static const AssembleResult flown = assemble(true);
    return pilot ? flown : played;
}

// The address of a label or the value of a constant.
inline u32 At(const std::string& name, bool pilot = false) {
    static std::map<std::string, u32> known[2];
    const auto found = known[pilot ? 1 : 0].find(name);
    if (found != known[pilot ? 1 : 0].end()) {
        return found->second;
    }
    const u32 address = SymbolValue(Module(pilot), name);
    EXPECT_NE(address, 0xFFFFFFFF) << "no label " << name;
    return known[pilot ? 1 : 0][name] = address;
}

// An event script that is written from the first event to the last. Its clock starts when the
// title has been drawn, and each event leaves the game time for a picture.
struct Events {
    std::string text;
    u32 now = 200;
    bool pilot = false;  // for the module whose runs the firefly plays by itself

    Events& Line(const std::string& event) {
        text += std::to_string(now) + " " + event + "\n";
        return *this;
    }
    Events& Wait(u32 milliseconds) {
        now += milliseconds;
        return *this;
    }
    Events& Press(const std::string& code, const std::string& typed, u32 held = 20) {
        Line("key-down " + code + " \"" + typed + "\"").Wait(held);
        return Line("key-up " + code + " \"" + typed + "\"").Wait(50);
    }
    Events& Return() { return Press("24", "\\x0D"); }
    Events& Escape() { return Press("35", "\\x1B"); }
    Events& Down(int times = 1) {
        for (; times > 0; --times) {
            Press("7D", "\\x1F");
        }
        return *this;
    }
    Events& Up(int times = 1) {
        for (; times > 0; --times) {
            Press("7E", "\\x1E");
        }
        return *this;
    }
    // From pause: the last of five buttons, and yes.
    Events& GiveUp() { return Down(4).Return().Down().Return(); }
    Events& Backspace(int times) {
        for (; times > 0; --times) {
            Press("33", "\\x7F");
        }
        return *this;
    }
    Events& Click(u32 x, u32 y, int button = 0) {
        const std::string arguments =
            std::to_string(button) + " " + std::to_string(x) + " " + std::to_string(y);
        Line("mouse-down " + arguments).Wait(20);
        return Line("mouse-up " + arguments).Wait(50);
    }
    Events& Post(u32 command, u32 p1, u32 p2 = 0) {
        Line("post " + std::to_string(command) + " " + std::to_string(p1) + " " +
             std::to_string(p2) + " 0");
        return Wait(10);
    }
    Events& Poke(const std::string& variable, u32 value) {
        return Post(100, At(variable, pilot), value);
    }
    Events& Call(const std::string& routine, u32 r0 = 0) {
        return Post(101, At(routine, pilot), r0);
    }
    // Notes the scene and the holes of its picture.
    Events& Note() { return Call("note").Wait(10); }
};

struct GameRun {
    Events events;
    u32 milliseconds = 0;  // 0: until half a second after the last event
    std::vector<std::string> options;
    std::map<std::string, std::string> data;      // files in the data folder before the run
    std::map<std::string, std::string> replaced;  // files of the game, "" for one that is missing
    std::string desktop = kDesktop;
    bool pilot = false;
};

struct GameResult {
    int status = -1;
    std::string errors;                       // standard error
    std::map<std::string, std::string> data;  // the data folder's files afterwards
    std::string image;                        // the module's image up to the end of its variables

    u32 Long(u32 address) const {
        u32 value = 0;
        if (address + 4 <= image.size()) {
            std::memcpy(&value, image.data() + address, 4);
        }
        return value;
    }
    u32 LongAt(const std::string& name) const { return Long(At(name)); }
    std::string Text(u32 address) const {
        return address < image.size() ? std::string(image.c_str() + address) : "";
    }
    std::string TextAt(const std::string& name) const { return Text(At(name)); }
    // The bytes from one label to another.
    std::string Bytes(const std::string& from, const std::string& to) const {
        return image.substr(At(from), At(to) - At(from));
    }
    std::vector<u32> Notes(const std::string& list = "noted_scenes") const {
        std::vector<u32> notes;
        for (u32 i = 0; i < LongAt("notes"); ++i) {
            notes.push_back(Long(At(list) + 4 * i));
        }
        return notes;
    }
};

// The game's folder, with links to the files that stay as they are.
inline void LayOutGame(const GameRun& run, const fs::path& game) {
    fs::create_directories(game);
    const std::vector<u8>& module = Module(run.pilot).bytes;
    WriteTextFile((game / "MAIN.MX").string(), std::string(module.begin(), module.end()));
    const fs::path resources = kSources / "resources";
    for (const auto& entry : fs::recursive_directory_iterator(resources)) {
        const std::string name = fs::relative(entry.path(), resources).string();
        if (entry.is_directory()) {
            fs::create_directories(game / name);
        } else if (!run.replaced.contains(name)) {
            fs::create_directories((game / name).parent_path());
            fs::copy(entry.path(), game / name, fs::copy_options::recursive);
        }
    }
    for (const auto& [name, content] : run.replaced) {
        if (!content.empty()) {
            WriteTextFile((game / name).string(), content);
        }
    }
}

inline std::map<std::string, std::string> FilesIn(const fs::path& folder) {
    std::map<std::string, std::string> files;
    if (!fs::exists(folder)) {
        return files;
    }
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) {
            continue;
        }
        files[fs::relative(entry.path(), folder).string()] = ReadTextFile(entry.path().string());
    }
    return files;
}

// Plays it. A run that does not end in order, or that has something to say, fails the test.
inline GameResult PlayGame(const GameRun& run, const std::string& expectedErrors = "") {
    const TemporaryFolder folder;
    const fs::path root = folder.path;
    LayOutGame(run, root / "game");
    for (const auto& [name, content] : run.data) {
        fs::create_directories((root / "data" / name).parent_path());
        WriteTextFile((root / "data" / name).string(), content);
    }
    const u32 end = run.milliseconds != 0 ? run.milliseconds : run.events.now + 500;
    Events events = run.events;
    events.now = end;
    events.Post(101, At("write_state", run.pilot));
    WriteTextFile((root / "script").string(), events.text);
    std::vector<std::string> arguments = {"--headless",    "--desktop",   run.desktop,
                                          "--data-folder", root / "data", "--script",
                                          root / "script", "--run-ms",    std::to_string(end + 30)};
    arguments.insert(arguments.end(), run.options.begin(), run.options.end());
    arguments.push_back(root / "game");
    const ProgramResult program = RunProgram("moxi", arguments, folder.path);
    GameResult result;
    result.status = program.status;
    result.errors = program.errors;
    result.data = FilesIn(root / "data");
    result.image = result.data["STATE.DAT"];
    result.data.erase("STATE.DAT");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, expectedErrors);
    return result;
}

inline GameResult PlayGame(const Events& events) {
    GameRun run;
    run.events = events;
    return PlayGame(run);
}

constexpr const char* kClosed = "log: windowWillClose\n";

}  // namespace glimmer

}  // namespace moxi
