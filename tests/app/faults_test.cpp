// What goes wrong around a game: no memory, a full or read-only disk, folders that vanish, a second
// start of the same game. Through the program itself.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <thread>

#include "tests/support/calling_module.h"
#include "tests/support/headless_run.h"
#include "vm/guard.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

constexpr u32 kNone = 0xFFFFFFFF;

// A game of service calls with its folders.
struct Game {
    TemporaryFolder folder;
    std::string path = folder.path + "/game";
    std::string data = folder.path + "/data";
    u32 results = 0;  // the address of the first

    explicit Game(const CallingModule& calls) { Make(Assemble(calls.Source(), "calls.mxs")); }
    explicit Game(const std::string& source) { Make(Assemble(source, "game.mxs")); }
    void Make(const AssembleResult& assembled) {
        EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
        fs::create_directories(path + "/MUSIC");
        WriteTextFile(path + "/MAIN.MX",
                      std::string(assembled.bytes.begin(), assembled.bytes.end()));
        const std::string seeds = std::string(MOXI_SOURCE_DIR) + "/fuzz/corpus/";
        fs::copy(seeds + "smf/two_tracks", path + "/MUSIC/A.MID");
        fs::copy(seeds + "wav/plain", path + "/A.WAV");
        fs::copy(seeds + "png/plain", path + "/A.PNG");
        fs::copy(seeds + "settings/two_sections", path + "/S.INI");
        results = SymbolValue(assembled, CallingModule::kResults);
    }

    ProgramResult Run(Strings options = {}, const std::string& program = "moxi") const {
        Strings arguments = {"--headless", "--dump-image", "image"};
        if (std::find(options.begin(), options.end(), "--data-folder") == options.end()) {
            arguments.insert(arguments.end(), {"--data-folder", data});
        }
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(path);
        return RunProgram(program, arguments, folder.path);
    }
    u32 Result(u32 call) const {
        const std::string image = ReadTextFile(folder.path + "/image");
        u32 value = 0;
        if (image.size() < results + CallingModule::kResultSize * call + 4) {
            return 0x5A5A5A5A;
        }
        std::memcpy(&value, image.data() + results + CallingModule::kResultSize * call, 4);
        return value;
    }
};

// One of everything that takes memory of the host.
CallingModule EveryService() {
    CallingModule calls;
    const std::string name = calls.Text("SAVE/A.DAT");
    const u32 handle = calls.Call(SYS_FILE_OPEN, {name, "0x8302"});
    calls.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), calls.Text("text"), "4"});
    calls.Call(SYS_FILE_WRITE_BASE64, {CallingModule::Result(handle), calls.Text("Man"), "3"});
    calls.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
    const std::string found = calls.Room(1024);
    calls.Call(SYS_FIND_FIRST, {calls.Text("*"), found, "0", "0"});
    calls.Call(SYS_FIND_NEXT, {found, "0", "0"});
    calls.Call(SYS_FILE_MOVE, {name, calls.Text("SAVE/B.DAT")});
    calls.Call(SYS_MAKE_FOLDER, {calls.Text("SAVE/C")});
    calls.Call(SYS_FILE_DELETE, {calls.Text("SAVE/B.DAT")});
    calls.Call(SYS_SETTINGS_LOAD, {calls.Text("S.INI")});
    calls.Call(SYS_SETTINGS_ADD_SECTION, {calls.Text("Section")});
    calls.Call(SYS_SETTINGS_APPEND_STRING, {calls.Text("Key"), calls.Text(std::string(3000, 'x'))});
    calls.Call(SYS_SETTINGS_SAVE, {calls.Text("S.INI")});
    calls.Call(SYS_APPEND_FORMAT, {found, calls.Text("%d"), "4", "7"});
    calls.Call(SYS_DEBUG_PRINT, {calls.Text("a line of the log")});
    const u32 image = calls.Call(SYS_LOAD_IMAGE, {calls.Text("A.PNG")});
    calls.Call(SYS_SCALED_BLIT, {"0", "0", "0", "50", "50", CallingModule::Result(image), "0", "0",
                                 "3", "2", "1000", "1000"});
    calls.Call(SYS_SAVE_IMAGE, {CallingModule::Result(image), calls.Text("B.PNG"), "1"});
    calls.Call(SYS_SAVE_IMAGE, {CallingModule::Result(image), calls.Text("B.BMP"), "0"});
    calls.Call(SYS_POLYLINE, {"0", found, "8", "0xFF00FF00"});
    calls.Call(SYS_DRAW_TEXT,
               {"0", calls.Text("Some words"), "5", "5", "200", "30", "0", "0", "0xFF102030"});
    calls.Call(SYS_ADJUST_COLOURS, {"0", "0", "0", "40", "40", "10", "20", "30", "40"});
    calls.Call(SYS_ELLIPSE, {"0", "0", "0", "40", "40", "0xFF0000FF", "0xFF00FF00"});
    calls.Call(SYS_PLAY_SOUND, {calls.Text("A.WAV")});
    calls.Call(SYS_PLAY_MUSIC, {calls.Text("../MUSIC/A.MID")});
    calls.Call(SYS_SOUND_LENGTH, {calls.Text("A.WAV")});
    calls.Call(SYS_TIMER, {"50"});
    calls.Call(SYS_WRITE_CLIPBOARD, {calls.Text("clipboard")});
    calls.Call(SYS_READ_CLIPBOARD, {found, "100"});
    calls.Call(SYS_WINDOW_TITLE, {calls.Text("A title")});
    calls.Call(SYS_OPEN_WEB, {calls.Text("https://example.org/")});
    calls.Call(SYS_WAIT, {"1"});
    return calls;
}

// --- Memory

constexpr const char* kFailing = "MOXI_FAILING_ALLOCATION";
constexpr const char* kRest = "MOXI_FAILING_REST";
constexpr const char* kAllocations = "MOXI_ALLOCATIONS";
constexpr const char* kNoMemory = "fatal: Terminating: insufficient memory. So sorry.\n";

// A run in which one allocation fails, or all from it on, ends in order.
void ExpectOrderlyEnd(const Game& game, const Strings& options, u64 number, bool rest) {
    SCOPED_TRACE("allocation " + std::to_string(number) + (rest ? " and all later ones" : ""));
    fs::remove_all(game.data);
    setenv(kFailing, std::to_string(number).c_str(), 1);
    if (rest) {
        setenv(kRest, "1", 1);
    }
    const ProgramResult result = game.Run(options, "moxi_faults");
    unsetenv(kFailing);
    unsetenv(kRest);
    EXPECT_LE(result.status, 2) << result.errors;
    if (result.status == 1) {
        EXPECT_NE(result.errors.find(kNoMemory), std::string::npos) << result.errors;
    }
    EXPECT_EQ(result.errors.find("terminate called"), std::string::npos);
}

TEST(Faults, EveryAllocationOfARunMayFail) {
    const Game game(EveryService());
    WriteTextFile(game.folder.path + "/script",
                  "10 key-down 00 \"a\"\n20 resize 300 200\n30 clipboard \"text\"\n"
                  "40 screenshot shot.png\n50 expose 0 0 10 10\n60 post 14 1 2 3\n");
    const Strings options = {"--script",    "script",   "--run-ms",      "200",
                             "--record",    "record",   "--dump-screen", "screen.png",
                             "--dump-view", "view.png", "--desktop",     "400x300"};
    const std::string count = game.folder.path + "/count";
    setenv(kAllocations, count.c_str(), 1);
    const ProgramResult whole = game.Run(options, "moxi_faults");
    unsetenv(kAllocations);
    ASSERT_EQ(whole.status, 0) << whole.errors;
    const u64 allocations = std::stoull(ReadTextFile(count));
    ASSERT_GT(allocations, 500u);
    // MOXI_EVERY_ALLOCATION=1 tries them all, which takes minutes.
    const u64 step = getenv("MOXI_EVERY_ALLOCATION") != nullptr ? 1 : allocations / 25 + 1;
    for (u64 number = 1 + step / 2; number <= allocations; number += step) {
        ExpectOrderlyEnd(game, options, number, false);
        ExpectOrderlyEnd(game, options, number, true);
    }
}

// Sanitizers need address space of their own.
TEST(Faults, TheProcessesAddressSpaceMayBeAnySize) {
    if (kCheckedAccess) {
        GTEST_SKIP() << "a build with sanitizers";
    }
    const Game game(EveryService());
    constexpr u64 kMegabyte = u64{1} << 20;
    u32 finished = 0;
    u32 refused = 0;
    for (u64 megabytes = 4100; megabytes < 4700; megabytes += 25) {
        SCOPED_TRACE(megabytes);
        rlimit before;
        getrlimit(RLIMIT_AS, &before);
        const rlimit small = {megabytes * kMegabyte, before.rlim_max};
        setrlimit(RLIMIT_AS, &small);
        const ProgramResult result = game.Run({"--run-ms", "50"});
        setrlimit(RLIMIT_AS, &before);
        if (result.status == 0) {
            ++finished;
        } else {
            ++refused;
            EXPECT_EQ(result.status, 1) << result.errors;
            EXPECT_NE(result.errors.find("fatal: "), std::string::npos) << result.errors;
        }
    }
    EXPECT_GT(finished, 0u);
    EXPECT_GT(refused, 0u);
}

// Opening a pipe would wait for somebody who writes into it.
TEST(Faults, ANamedPipeIsNoFile) {
    const Game game(EveryService());
    fs::remove(game.path + "/MAIN.MX");
    ASSERT_EQ(mkfifo((game.path + "/MAIN.MX").c_str(), 0600), 0);
    const ProgramResult result = game.Run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "fatal: MAIN.MX file not found\n");
}

// --- The data folder

TEST(Faults, WhereNothingCanBeWrittenEveryWriteSaysSo) {
    CallingModule calls;
    const u32 opened = calls.Call(SYS_FILE_OPEN, {calls.Text("SAVE/A.DAT"), "0x8302"});
    const u32 written =
        calls.Call(SYS_FILE_WRITE, {CallingModule::Result(opened), calls.Text("x"), "1"});
    const u32 made = calls.Call(SYS_MAKE_FOLDER, {calls.Text("SAVE")});
    const u32 loaded = calls.Call(SYS_SETTINGS_LOAD, {calls.Text("S.INI")});
    const u32 saved = calls.Call(SYS_SETTINGS_SAVE, {calls.Text("S.INI")});
    const u32 image = calls.Call(SYS_LOAD_IMAGE, {calls.Text("A.PNG")});
    const u32 stored =
        calls.Call(SYS_SAVE_IMAGE, {CallingModule::Result(image), calls.Text("B.PNG"), "1"});
    const Game game(calls);
    // Nobody, not even root, makes a folder there.
    const ProgramResult result = game.Run({"--data-folder", "/proc/moxi-data"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors,
              "log: data cannot be written to /proc/moxi-data/: No such file or directory\n");
    EXPECT_EQ(game.Result(opened), kNone);
    EXPECT_EQ(game.Result(written), 0u);
    EXPECT_EQ(game.Result(made), kNone);
    EXPECT_EQ(game.Result(loaded), 1u);
    EXPECT_EQ(game.Result(saved), 0u);
    EXPECT_NE(game.Result(image), 0u);
    EXPECT_EQ(game.Result(stored), 0u);
}

TEST(Faults, OnAFullDiskAWriteComesShort) {
    CallingModule calls;
    const u32 opened = calls.Call(SYS_FILE_OPEN, {calls.Text("A.DAT"), "0x8302"});
    const std::string bytes = calls.Room(20000);
    const u32 first = calls.Call(SYS_FILE_WRITE, {CallingModule::Result(opened), bytes, "4096"});
    const u32 second = calls.Call(SYS_FILE_WRITE, {CallingModule::Result(opened), bytes, "20000"});
    const u32 third = calls.Call(SYS_FILE_WRITE, {CallingModule::Result(opened), bytes, "1"});
    calls.Call(SYS_SETTINGS_LOAD, {calls.Text("S.INI")});
    calls.Call(SYS_SETTINGS_ADD_SECTION, {calls.Text("Long")});
    for (int i = 0; i < 4; ++i) {
        calls.Call(SYS_SETTINGS_APPEND_STRING,
                   {calls.Text("K"), calls.Text(std::string(3000, 'x'))});
    }
    const u32 saved = calls.Call(SYS_SETTINGS_SAVE, {calls.Text("NEW.INI")});
    const u32 image = calls.Call(SYS_NEW_BITMAP, {"200", "200"});
    const u32 stored =
        calls.Call(SYS_SAVE_IMAGE, {CallingModule::Result(image), calls.Text("B.BMP"), "0"});
    const Game game(calls);
    fs::create_directories(game.data);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {10000, before.rlim_max};
    // The dump of the image does not fit either.
    setrlimit(RLIMIT_FSIZE, &small);
    const ProgramResult cut = game.Run();
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(cut.status, 0);
    EXPECT_EQ(cut.errors, "log: image: cannot be written\n");
    EXPECT_EQ(fs::file_size(game.data + "/A.DAT"), 10000u);
    EXPECT_FALSE(fs::exists(game.data + "/B.BMP") && fs::file_size(game.data + "/B.BMP") > 10000u);
    // With room the same calls tell what they did.
    EXPECT_EQ(game.Run().status, 0);
    EXPECT_EQ(game.Result(first), 4096u);
    EXPECT_EQ(game.Result(second), 20000u);
    EXPECT_EQ(game.Result(third), 1u);
    EXPECT_EQ(game.Result(saved), 1u);
    EXPECT_EQ(game.Result(stored), 1u);
}

TEST(Faults, WhenTheVeryLastByteIsGoneAWriteGives0) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "no /dev/full";
    }
    CallingModule calls;
    const u32 opened = calls.Call(SYS_FILE_OPEN, {calls.Text("A.DAT"), "0x8002"});
    const u32 written =
        calls.Call(SYS_FILE_WRITE, {CallingModule::Result(opened), calls.Text("x"), "1"});
    const u32 loaded = calls.Call(SYS_SETTINGS_LOAD, {calls.Text("S.INI")});
    const u32 saved = calls.Call(SYS_SETTINGS_SAVE, {calls.Text("A.DAT")});
    const Game game(calls);
    fs::create_directories(game.data);
    fs::create_symlink("/dev/full", game.data + "/A.DAT");
    fs::create_symlink("/dev/full", game.data + "/debug.log");
    // A device is a file only where an author wants no walls.
    const ProgramResult result = game.Run({"--no-sandbox"});
    EXPECT_EQ(result.status, 0);
    // Once, however many writes fail.
    EXPECT_EQ(result.errors,
              "log: no sandbox: the game may do what you may do\n"
              "log: data cannot be written to " +
                  game.data + "/: No space left on device\n");
    EXPECT_EQ(game.Result(opened), 0u);
    EXPECT_EQ(game.Result(written), 0u);
    EXPECT_EQ(game.Result(loaded), 1u);
    EXPECT_EQ(game.Result(saved), 0u);
}

// --- The resources folder

TEST(Faults, AGameOutlivesItsResourcesFolder) {
    CallingModule calls;
    // Reading the terminal waits until the folder is gone.
    calls.Call(SYS_FILE_OPEN, {calls.Text("READY"), "0x8302"});
    const u32 terminal = calls.Call(SYS_FILE_OPEN, {calls.Text("TERMINAL"), "0x8000"});
    const std::string buffer = calls.Room(1024);
    const u32 waited = calls.Call(SYS_FILE_READ, {CallingModule::Result(terminal), buffer, "4"});
    const u32 opened = calls.Call(SYS_FILE_OPEN, {calls.Text("S.INI"), "0x8000"});
    const u32 sized = calls.Call(SYS_FILE_SIZE, {calls.Text("A.WAV")});
    const u32 found = calls.Call(SYS_FIND_FIRST, {calls.Text("*.WAV"), buffer, "0", "0"});
    const u32 image = calls.Call(SYS_LOAD_IMAGE, {calls.Text("A.PNG")});
    const u32 loaded = calls.Call(SYS_SETTINGS_LOAD, {calls.Text("S.INI")});
    const u32 length = calls.Call(SYS_SOUND_LENGTH, {calls.Text("A.WAV")});
    calls.Call(SYS_PLAY_SOUND, {calls.Text("A.WAV")});
    calls.Call(SYS_PLAY_MUSIC, {calls.Text("../MUSIC/A.MID")});
    const u32 playing = calls.Call(SYS_MUSIC_PLAYING);
    calls.Call(SYS_FILE_DELETE, {calls.Text("A.WAV")});
    const u32 written = calls.Call(SYS_FILE_OPEN, {calls.Text("A.DAT"), "0x8302"});
    const Game game(calls);
    fs::create_directories(game.data);
    const int end = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(grantpt(end), 0);
    ASSERT_EQ(unlockpt(end), 0);
    fs::create_symlink(ptsname(end), game.data + "/TERMINAL");
    std::atomic<bool> hasEnded = false;
    std::thread remover([&] {
        while (!fs::exists(game.data + "/READY") && !hasEnded) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        fs::remove_all(game.path);
        EXPECT_EQ(write(end, "gone\n", 5), 5);
    });
    // A terminal is a file only where an author wants no walls.
    const ProgramResult result = game.Run({"--no-sandbox"});
    hasEnded = true;
    remover.join();
    close(end);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(game.Result(waited), 4u);
    EXPECT_EQ(game.Result(opened), kNone);
    EXPECT_EQ(game.Result(sized), kNone);
    EXPECT_EQ(game.Result(found), kNone);
    EXPECT_EQ(game.Result(image), 0u);
    EXPECT_EQ(game.Result(loaded), 0u);
    EXPECT_EQ(game.Result(length), 0u);
    EXPECT_EQ(game.Result(playing), 0u);
    EXPECT_NE(game.Result(written), kNone);
}

// --- Two starts of a game

// Ten times: a settings file of one section, whose only line is 800 times the letter, is made,
// saved and read back, a picture saved, a line written to debug.log.
std::string SaverSource(char letter, int rounds) {
    std::string source =
        "        .heap 1000000\n        .code\n        LINK 0, 2\n        MOVE.L R0, [FP+12]\n"
        "        CMP.L R0, #1\n        BNE done\n        MOVE.L R12, #" +
        std::to_string(rounds) +
        "\nagain:\n"
        "        MOVE.L R15, #.I load\n        SYS\n        ADD.L [results], R14\n"
        "        MOVE.L R15, #.I clear\n        SYS\n"
        "        MOVE.L R15, #.I section\n        SYS\n"
        "        MOVE.L R15, #.I raw\n        SYS\n"
        "        MOVE.L R15, #.I save\n        SYS\n        ADD.L [results+8], R14\n"
        "        MOVE.L R15, #.I line\n        DEBUGLOG\n"
        "        SUB.L R12, #1\n        BNE again\n"
        "done:   MOVE.B [HDR_RESULT], #1\n        RETURN 2\n        .data\n        .align 4\n"
        "load:   .long 0x0800, file\nclear:  .long 0x080C\nsection: .long 0x0807, name\n"
        "raw:    .long 0x0808, key, value\nsave:   .long 0x0801, file\n"
        "file:   .byte \"SET.INI\", 0\nname:   .byte \"S\", 0\nkey:    .byte \"K\", 0\n"
        "line:   .byte \"a whole line\", 10, 0\nvalue:  .byte \"";
    source += std::string(letter == 'a' ? 800 : 300, letter);
    return source + "\", 0\n        .align 4\nresults: .long 0, 0, 0, 0\n";
}

TEST(Faults, TwoStartsOfAGameAtTheSameTimeLeaveWholeFiles) {
    constexpr int kRounds = 300;
    const Game first(SaverSource('a', kRounds));
    const Game second(SaverSource('b', kRounds));
    const Strings options = {"--data-folder", first.data};
    ProgramResult other;
    std::thread start([&] { other = second.Run(options); });
    const ProgramResult one = first.Run(options);
    start.join();
    EXPECT_EQ(one.status, 0) << one.errors;
    EXPECT_EQ(other.status, 0) << other.errors;
    EXPECT_EQ(first.Result(1), u32{kRounds});
    EXPECT_EQ(second.Result(1), u32{kRounds});
    // Only the very first load of each may have found no file.
    EXPECT_GE(first.Result(0), u32{kRounds} - 1);
    EXPECT_GE(second.Result(0), u32{kRounds} - 1);
    const std::string settings = ReadTextFile(first.data + "/SET.INI");
    const std::string header = settings.substr(11, 5);
    EXPECT_EQ(header, "=S]\nK");
    EXPECT_TRUE(settings.substr(16) == "=" + std::string(800, 'a') + "\n" ||
                settings.substr(16) == "=" + std::string(300, 'b') + "\n")
        << settings;
    const std::string log = ReadTextFile(first.data + "/debug.log");
    u32 lines = 0;
    for (size_t at = 0; at < log.size(); at += 13, ++lines) {
        ASSERT_EQ(log.substr(at, 13), "a whole line\n") << "line " << lines;
    }
    // The log is made by whoever comes first, and one line may fall to the other's making it.
    EXPECT_GE(lines, 2u * kRounds - 1);
}

}  // namespace

}  // namespace moxi
