// Whole bundles as somebody may have packed them: information and interface files of any content,
// links to anywhere, pipes, folders in the place of files, any number of resources. The game is
// found or refused, its data folder is chosen, and what was found runs headless for a moment.

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "app/wiring.h"
#include "desktop/audio_out.h"
#include "desktop/folders.h"
#include "desktop/headless/audio.h"
#include "desktop/headless/headless_desktop.h"
#include "fuzz/confined_start.h"
#include "gfx/bitmap.h"
#include "gfx/screen.h"
#include "host/bundle.h"
#include "host/data_owner.h"
#include "host/delegate.h"
#include "host/menu.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/view.h"
#include "host/window.h"
#include "sys/files.h"
#include "vm/guard.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kMostInstructions = 2000;
constexpr u32 kMostThings = 12;

struct RunEnded {};

constinit u32 instructions = 0;

constexpr InstructionTrace kBudget = {
    [](u32) {
        if (++instructions > kMostInstructions) {
            throw RunEnded();
        }
    },
    [](u32) {},
};

constexpr const char* kPlaces[] = {"Contents",
                                   "Contents/Info.plist",
                                   "Info.plist",
                                   "Contents/Resources",
                                   "Resources",
                                   "Contents/Resources/MAIN.MX",
                                   "Resources/MAIN.MX",
                                   "MAIN.MX",
                                   "Contents/Resources/Info.plist",
                                   "Resources/Info.plist",
                                   "MainMenu.plist",
                                   "Contents/Resources/A.DAT"};
constexpr const char* kTargets[] = {
    ".",       "..",         "../..",    "/",       "/etc/passwd",   "/dev/zero", "/dev/null",
    "MAIN.MX", "../MAIN.MX", "Contents", "nothing", "../secret.txt", "Resources"};

std::string Game() {
    return confine::folder + "/Game.app";
}

// The start of a module that the loader takes, and whatever follows.
std::string Module(FuzzedDataProvider& input) {
    std::string bytes(512, '\0');
    bytes.replace(208, 6, std::string("MOXI6\0", 6));
    bytes[218] = 6;
    bytes[225] = 4;  // 1,024 bytes of module, and as many of stack and heap
    bytes[241] = 4;
    bytes[249] = 4;
    bytes += input.ConsumeRandomLengthString(512);
    bytes.resize(1024);
    return bytes;
}

std::string Content(FuzzedDataProvider& input, const std::string& place) {
    const bool usual = input.ConsumeIntegralInRange<u32>(0, 3) != 0;
    if (usual && place.ends_with("MAIN.MX")) {
        return Module(input);
    }
    if (usual && place.ends_with(".plist")) {
        return "<plist version=\"1.0\"><dict><key>ZULGameName</key><string>" +
               input.ConsumeRandomLengthString(40) + "</string></dict></plist>";
    }
    return input.ConsumeRandomLengthString(300);
}

void AddThing(FuzzedDataProvider& input) {
    const std::string place = input.PickValueInArray(kPlaces);
    const fs::path path = fs::path(Game()) / place;
    std::error_code error;
    if (fs::symlink_status(path, error).type() != fs::file_type::not_found) {
        return;
    }
    // Not through a link that leads out of here.
    fs::path parent = path.parent_path();
    fs::create_directories(parent, error);
    const fs::path real = fs::canonical(parent, error);
    if (error || real.string().rfind(confine::folder, 0) != 0) {
        return;
    }
    switch (input.ConsumeIntegralInRange<u32>(0, 5)) {
        case 0: fs::create_symlink(input.PickValueInArray(kTargets), path, error); break;
        case 1: mkfifo(path.c_str(), 0600); break;
        case 2: fs::create_directory(path, error); break;
        default: {
            const std::string content = Content(input, place);
            std::ofstream(path, std::ios::binary) << content;
        }
    }
}

void ResetHost() {
    instructionTrace = nullptr;
    audioOut.shutDown();
    ForgetDataFolder();
    ResetFiles();
    ResetGraphics();
    ResetMenu();
    ResetView();
    ResetWindow();
    ResetSession();
    EmptyQueue();
    ResetDelegate();
    ResetRunCycle();
    ResetMachine();
}

void Run() {
    WireRooms({.translate = false});
    vmSlots.endProcess = [](int) { throw RunEnded(); };
    HeadlessOptions options;
    options.screens = {{64, 48}};
    options.runMilliseconds = 20;
    StartHeadlessDesktop(options);
    StartHeadlessAudio({});
    instructions = 0;
    instructionTrace = &kBudget;
    try {
        moxiAppDelegate::init();
        desktop.runEventLoop();
    } catch (const RunEnded&) {
        // The end of the process in real life.
    }
    instructionTrace = nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    confine::EmptyFolder();
    ResetHost();
    fs::create_directories(Game());
    std::ofstream(confine::folder + "/secret.txt") << "secret";
    for (u32 i = 0; i < kMostThings && input.remaining_bytes() != 0; ++i) {
        AddThing(input);
    }
    folders = {};
    folders.support = confine::folder + "/share";
    folders.state = confine::folder + "/state/moxi";
    MakeStateFolder();
    std::string reason;
    LoadMenu(Game() + "/MainMenu.plist", reason);
    ResetMenu();
    const bool bare = input.ConsumeBool();
    if (!FindGame(bare ? Game() + "/MAIN.MX" : Game()).empty()) {
        return 0;
    }
    // Whatever was found lies in the game.
    std::error_code error;
    const fs::path resources = fs::canonical(folders.resources, error);
    if (resources.string().rfind(Game(), 0) != 0) {
        std::abort();
    }
    if (folders.gameName.empty() || folders.gameName[0] == '.' ||
        folders.gameName.find('/') != std::string::npos) {
        std::abort();
    }
    if (!ChooseDataFolder().empty()) {
        std::abort();
    }
    Run();
    return 0;
}

}  // namespace moxi
