// What a player feels of the window: what an idle game costs, how much of the window a redraw
// touches, how long a key press takes to the screen. The real program in a real window on an X
// server of its own (Xvfb with openbox).
//
//   desktop_bench [--seconds N] [--update FILE]
//
// N: how long the idle game is watched (10). --update also replaces the table in FILE, between the
// two marker lines.

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/running_game.h"
#include "bench/table.h"
#include "tests/support/desktop_session.h"
#include "tests/support/x11_client.h"
#include "tools/asm/assembler.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kBeginMarker = "<!-- desktop_bench begins -->";
constexpr const char* kEndMarker = "<!-- desktop_bench ends -->";
constexpr int kWindowWidth = 1000;
constexpr int kWindowHeight = 600;
constexpr int kPresses = 200;
// The module draws a rectangle of 30 x 40 at 10, 20 when this key is pressed ("6").
constexpr unsigned kDrawKey = 15;
constexpr int kDrawnX = 10;
constexpr int kDrawnY = 20;
constexpr unsigned kOtherColour = 0x123456;

// moxi, silent, with this game.
std::vector<std::string> Command(const std::string& folder, const std::string& game) {
    return {std::string(MOXI_BIN_DIR) + "/moxi", "--mute", "--data-folder", folder + "/data", game};
}

// Share of one processor core over this time, in percent.
double Load(const RunningGame& game, int seconds) {
    const auto start = std::chrono::steady_clock::now();
    const double before = game.ProcessorTime();
    SleepMs(seconds * 1000);
    const std::chrono::duration<double, std::nano> passed =
        std::chrono::steady_clock::now() - start;
    return 100 * (game.ProcessorTime() - before) / passed.count();
}

std::string MakeMessageModule(const std::string& folder) {
    const std::string source = std::string(MOXI_SOURCE_DIR) + "/tests/window/messages.mxs";
    std::ifstream file(source);
    std::ostringstream text;
    text << file.rdbuf();
    const AssembleResult assembled = Assemble(text.str(), source);
    if (!assembled.ok) {
        Fail(FormatErrors(assembled));
    }
    const std::string game = folder + "/Bench";
    fs::create_directory(game);
    std::ofstream(game + "/MAIN.MX", std::ios::binary)
        .write(reinterpret_cast<const char*>(assembled.bytes.data()),
               static_cast<std::streamsize>(assembled.bytes.size()));
    return game;
}

// Sorted, in milliseconds.
std::vector<double> KeyToScreen(const RunningGame& game) {
    std::mt19937 random(1);
    std::vector<double> times;
    for (int i = 0; i < kPresses; ++i) {
        PaintX11Window(game.window, kDrawnX, kDrawnY, 30, 40, kOtherColour);
        SleepMs(20 + static_cast<int>(random() % 20));  // at any moment of the ticks
        const long taken = KeyToPixel(game.window, kDrawKey, kDrawnX, kDrawnY, kOtherColour);
        if (taken < 0) {
            Fail("a key press does not reach the screen");
        }
        times.push_back(static_cast<double>(taken) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times;
}

long TouchedPixels(const RunningGame& game) {
    PaintX11Window(game.window, 0, 0, kWindowWidth, kWindowHeight, kOtherColour);
    SleepMs(200);
    const long before = OtherX11Pixels(game.window, kWindowWidth, kWindowHeight, kOtherColour);
    if (before != 0) {
        Fail("the window redraws itself");
    }
    PressX11Key(kDrawKey);
    SleepMs(200);
    return OtherX11Pixels(game.window, kWindowWidth, kWindowHeight, kOtherColour);
}

std::string Row(const char* format, auto... values) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

std::string Processor() {
    return OutputOf("sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1");
}

std::string Measure(int seconds) {
    XSession session;
    if (!session.Start("1400x900x24")) {
        Fail("Xvfb, openbox or xdotool is missing");
    }
    const Folder folder;
    double still = 0;
    long touched = 0;
    std::vector<double> times;
    {
        const RunningGame game(Command(folder.path, MakeMessageModule(folder.path)), "Bench");
        still = Load(game, seconds);
        touched = TouchedPixels(game);
        times = KeyToScreen(game);
    }
    const fs::path demo = fs::path(MOXI_BIN_DIR).parent_path() / "share" / "moxi" / "demo";
    const RunningGame game(Command(folder.path, demo.string()), "MOXI Demo");
    const double moving = Load(game, seconds);

    std::string table =
        Row("Processor: %s; Xvfb and openbox on the same machine.\n\n", Processor().c_str());
    table += "| What | Measured | Goal |\n|---|---:|---:|\n";
    table += Row("| an idle game with a timer of 20 ms, of one core | %.2f %% | < 2 %% |\n", still);
    table += Row("| the demo, which is animated, of one core | %.2f %% | |\n", moving);
    table += Row("| pixels that a redraw of 30 x 40 touches | %ld | 1200 |\n", touched);
    table += Row("| key press to screen, median of %d | %.2f ms | |\n", kPresses,
                 times[times.size() / 2]);
    table += Row("| key press to screen, 99 of 100 | %.2f ms | < 21.67 ms |\n",
                 times[times.size() * 99 / 100]);
    table += Row("| key press to screen, longest | %.2f ms | |\n", times.back());
    return table;
}

int Main(int argc, char** argv) {
    const TableOptions options = ReadTableOptions(argc, argv, "--seconds", 10);
    ShowTable(options, kBeginMarker, kEndMarker, Measure(options.number));
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
