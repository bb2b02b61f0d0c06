// What Glimmer Hollow costs: the game in a window of 1280 x 800 on an X server of its own (Xvfb
// with openbox), while the firefly flies by itself; the same enlarged on a screen of 3840 x 2160,
// which has no graphics processor; and the game that fills such a screen. moxi has one processor
// core for itself, the X server another one, where there are two.
//
//   game_bench [--seconds N] [--update FILE]
//
// N: how long the game is watched in each setting (6). All of it takes about a minute. --update
// also replaces the table in FILE, between the two marker lines.

#include <sched.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bench/running_game.h"
#include "bench/table.h"
#include "tests/support/desktop_session.h"
#include "tests/support/x11_client.h"
#include "tools/asm/assembler.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kBeginMarker = "<!-- game_bench begins -->";
constexpr const char* kEndMarker = "<!-- game_bench ends -->";
constexpr const char* kTitle = "Glimmer Hollow";
// The key "5" has the firefly fly by itself, "6" notes the number of pictures drawn so far.
constexpr unsigned kDemoKey = 14;
constexpr unsigned kMarkKey = 15;
// The game makes large pictures when it needs them first; so long after the start all have been
// made.
constexpr int kWarmUpMs = 2000;
// How long the game waits, in virtual time, before the firefly flies without a key.
constexpr int kUntilDemoMs = 9000;

// The game with two keys for measuring: one begins the firefly's flight, each press of the other
// appends the number of pictures to a list. The firefly goes on flying, which other keys would end.
constexpr const char* kMeasuredGame = R"(
measured:
        LINK    0, 0
        CMP.L   [FP+12], #12            ; MSG_DOWN
        BNE     @game
        CMP.L   [FP+16], #'5'
        BNE     @mark
        CALL    start_demo
        RETURN  0
@mark:
        CMP.L   [FP+16], #'6'
        BNE     @game
        MOVE.L  R0, [marks]
        LSL.L   R0, #2
        MOVE.L  [R0+mark_frames], [frames]
        ADD.L   [marks], #1
        RETURN  0
@game:
        PUSH.L  [FP+24]
        PUSH.L  [FP+20]
        PUSH.L  [FP+16]
        PUSH.L  [FP+12]
        CALL    start, 16
        RETURN  0

        .include "glimmer.mxs"

        .bss
        .align  4
marks:          .space 4
mark_frames:    .space 4 * 16
)";

struct MeasuredGame {
    std::string folder;
    unsigned frames = 0;  // addresses of variables
    unsigned marks = 0;
    unsigned markFrames = 0;
    unsigned screenWidth = 0;
    unsigned screenHeight = 0;
};

MeasuredGame MakeGame(const std::string& folder) {
    const fs::path sources = fs::path(MOXI_SOURCE_DIR) / "games" / "glimmer";
    AssembleOptions options;
    options.includeFolders = {
        sources.string(),
        (fs::path(MOXI_BIN_DIR).parent_path() / "share" / "moxi" / "library").string()};
    const AssembleResult assembled = Assemble(kMeasuredGame, "measured.mxs", options);
    if (!assembled.ok) {
        Fail(FormatErrors(assembled));
    }
    const fs::path game = fs::path(folder) / kTitle;
    fs::create_directory(game);
    // Copied, not linked: a game may not read what lies outside its folder.
    fs::copy(sources / "resources", game, fs::copy_options::recursive);
    std::ofstream(game / "MAIN.MX", std::ios::binary)
        .write(reinterpret_cast<const char*>(assembled.bytes.data()),
               static_cast<std::streamsize>(assembled.bytes.size()));
    return {game.string(),
            SymbolValue(assembled, "frames"),
            SymbolValue(assembled, "marks"),
            SymbolValue(assembled, "mark_frames"),
            SymbolValue(assembled, "screen_width"),
            SymbolValue(assembled, "screen_height")};
}

unsigned LongAt(const std::string& image, unsigned address) {
    unsigned value = 0;
    std::ifstream file(image, std::ios::binary);
    file.seekg(address);
    file.read(reinterpret_cast<char*>(&value), sizeof value);
    return file ? value : 0;
}

// From now on the process runs on this core alone, if there is one of that number.
void Pin(pid_t process, int core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    sched_setaffinity(process, sizeof cores, &cores);
}

struct WindowFigures {
    double framesPerSecond = 0;
    double msPerFrame = 0;  // processor time
    double load = 0;        // of one core, in percent
};

std::string Row(const char* format, auto... values) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

// How the game is shown: the screen, what the file of preferences says, and what the window's size
// is then for the game.
struct Setting {
    const char* screen;
    const char* preferences;
    unsigned width = 1280;
    unsigned height = 800;
};

WindowFigures MeasureWindow(int watched, const Setting& setting) {
    XSession session;
    if (!session.Start(setting.screen)) {
        Fail("Xvfb, openbox or xdotool is missing");
    }
    Pin(session.server, 1);
    Pin(session.manager, 1);
    const Folder folder;
    const MeasuredGame measured = MakeGame(folder.path);
    const std::string image = folder.path + "/image";
    const std::string preferences = folder.path + "/preferences";
    std::ofstream(preferences) << setting.preferences;
    double seconds = 0;
    double processor = 0;
    {
        const RunningGame game({"taskset", "-c", "0", std::string(MOXI_BIN_DIR) + "/moxi", "--mute",
                                "--data-folder", folder.path + "/data", "--preferences",
                                preferences, "--dump-image", image, measured.folder},
                               kTitle);
        PressX11Key(kDemoKey);
        SleepMs(kWarmUpMs);
        const auto start = std::chrono::steady_clock::now();
        const double before = game.ProcessorTime();
        PressX11Key(kMarkKey);
        SleepMs(watched * 1000);
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        processor = game.ProcessorTime() - before;
        seconds = passed.count();
        PressX11Key(kMarkKey);
        SleepMs(1000);  // large pictures may keep the key waiting
    }
    if (LongAt(image, measured.marks) != 2) {
        Fail(Row("the game took the measuring key %u times instead of twice, with the preferences ",
                 LongAt(image, measured.marks)) +
             setting.preferences);
    }
    if (LongAt(image, measured.screenWidth) != setting.width ||
        LongAt(image, measured.screenHeight) != setting.height) {
        Fail(Row("the window is %u x %u and not %u x %u", LongAt(image, measured.screenWidth),
                 LongAt(image, measured.screenHeight), setting.width, setting.height));
    }
    const double frames =
        LongAt(image, measured.markFrames + 4) - LongAt(image, measured.markFrames);
    return {frames / seconds, processor / 1e6 / frames, processor / 1e9 / seconds * 100};
}

struct HeadlessRun {
    double seconds = 0;
    double frames = 0;
};

// Plays the game headless from its start to this virtual time, on the first core.
HeadlessRun PlayHeadless(const MeasuredGame& measured, const std::string& folder, int seconds) {
    const std::string image = folder + "/image";
    const auto start = std::chrono::steady_clock::now();
    const pid_t process =
        StartProcess({"taskset", "-c", "0", std::string(MOXI_BIN_DIR) + "/moxi", "--headless",
                      "--data-folder", folder + "/data", "--dump-image", image, "--run-ms",
                      std::to_string(seconds * 1000), measured.folder},
                     "");
    if (process < 0) {
        Fail("moxi does not start");
    }
    waitpid(process, nullptr, 0);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return {passed.count(), static_cast<double>(LongAt(image, measured.frames))};
}

// Real milliseconds for a picture without a window: the difference of two runs leaves out the
// start, the title and the end.
double MeasureHeadless(int seconds) {
    const Folder folder;
    const MeasuredGame measured = MakeGame(folder.path);
    const int first = kUntilDemoMs / 1000;
    const HeadlessRun before = PlayHeadless(measured, folder.path, first);
    const HeadlessRun after = PlayHeadless(measured, folder.path, first + seconds);
    if (after.frames <= before.frames) {
        Fail("the game draws nothing");
    }
    return (after.seconds - before.seconds) * 1000 / (after.frames - before.frames);
}

std::string Measure(int seconds) {
    const WindowFigures window = MeasureWindow(seconds, {"1400x900x24", ""});
    const double headless = MeasureHeadless(seconds);
    const std::string processor =
        OutputOf("sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1");
    std::string table =
        Row("Processor: %s; moxi on one core, Xvfb on another.\n\n", processor.c_str());
    table += "| What | Measured | Goal |\n|---|---:|---:|\n";
    table += Row("| pictures a second | %.1f | 60 |\n", window.framesPerSecond);
    table += Row("| processor time of a picture | %.2f ms | < 16.67 ms |\n", window.msPerFrame);
    table += Row("| share of one core | %.1f %% | |\n", window.load);
    table += Row("| real time of a picture, headless | %.2f ms | |\n", headless);
    constexpr Setting kLarge[] = {
        {"3840x2160x24", "scale = 2\n"},
        {"3840x2160x24", "scale = fit-fractional\n"},
        {"3840x2160x24", "scale = fit-fractional\nfilter = smooth\n"},
        {"3840x2160x24", "scale = 3\nfull-screen = yes\n", 1280, 720},
        {"3840x2160x24", "scale = 1\nfull-screen = yes\n", 3840, 2160},
    };
    constexpr const char* kNames[] = {
        "enlarged by 2 steps, 2560 x 1600", "enlarged by 2.7, 3456 x 2160, sharp",
        "enlarged by 2.7, 3456 x 2160, smooth", "enlarged by 3 steps, full screen of 3840 x 2160",
        "full screen of 3840 x 2160, not enlarged"};
    for (std::size_t i = 0; i < std::size(kLarge); ++i) {
        const WindowFigures large = MeasureWindow(seconds, kLarge[i]);
        table += Row("| %s: pictures a second | %.1f | 60 |\n", kNames[i], large.framesPerSecond);
        table += Row("| %s: processor time of a picture | %.2f ms | < 16.67 ms |\n", kNames[i],
                     large.msPerFrame);
    }
    return table;
}

int Main(int argc, char** argv) {
    TableOptions options = ReadTableOptions(argc, argv, "--seconds", 6);
    options.number = std::min(options.number, 40);  // the demo's length
    ShowTable(options, kBeginMarker, kEndMarker, Measure(options.number));
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
