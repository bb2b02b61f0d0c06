#include "app/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "base/log.h"
#include "base/read_file.h"
#include "base/version.h"

namespace moxi {

namespace {

constexpr int kWrongCommandLine = 2;
// A day of events, one a millisecond.
constexpr u64 kLargestScript = u64{4} << 30;

std::string OneLine(std::string text) {
    for (char& c : text) {
        if (c == '\n' || c == '\r') {
            c = ' ';
        }
    }
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return WithoutControls(text);
}

bool TwoDigits(const std::string& text, size_t at, u32& value) {
    if (at + 2 > text.size() || text[at] < '0' || text[at] > '9' || text[at + 1] < '0' ||
        text[at + 1] > '9') {
        return false;
    }
    value = static_cast<u32>((text[at] - '0') * 10 + text[at + 1] - '0');
    return true;
}

// "YYYY-MM-DD hh:mm:ss", a date that exists.
bool ParseDate(const std::string& text, DateTime& date) {
    u32 century = 0;
    u32 year = 0;
    const bool shape = text.size() == 19 && text[4] == '-' && text[7] == '-' && text[10] == ' ' &&
                       text[13] == ':' && text[16] == ':' && TwoDigits(text, 0, century) &&
                       TwoDigits(text, 2, year) && TwoDigits(text, 5, date.month) &&
                       TwoDigits(text, 8, date.day) && TwoDigits(text, 11, date.hour) &&
                       TwoDigits(text, 14, date.minute) && TwoDigits(text, 17, date.second);
    if (!shape) {
        return false;
    }
    date.year = century * 100 + year;
    constexpr u32 kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (date.month < 1 || date.month > 12 || date.hour > 23 || date.minute > 59 ||
        date.second > 59) {
        return false;
    }
    const bool leap = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
    const u32 days = kDays[date.month - 1] + (date.month == 2 && leap ? 1 : 0);
    return date.day >= 1 && date.day <= days;
}

// Decimal digits and nothing else; at most 2^40.
std::string CheckMilliseconds(const std::string& text) {
    constexpr u64 kMost = u64{1} << 40;
    u64 value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && stop == end && value <= kMost) {
        return "";
    }
    return "Value " + text + " not in range 0 to " + std::to_string(kMost);
}

// A percentage in decimal digits.
std::string CheckVolume(const std::string& text) {
    u32 value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && stop == end && value <= 100) {
        return "";
    }
    return "Value " + text + " not in range 0 to 100";
}

// A number of steps, or "fit".
std::string CheckScale(const std::string& text) {
    constexpr u32 kMost = 16;
    u32 value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    const bool isNumber = error == std::errc() && stop == end && value >= 1 && value <= kMost;
    return isNumber || text == "fit" ? "" : "Value " + text + " is neither 1 to 16 nor fit";
}

// A number of bytes, with K, M, G or T a power of 1,024 as many.
bool ParseSize(const std::string& text, u64& bytes) {
    constexpr std::string_view kUnits = "KMGT";
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, bytes);
    if (error != std::errc()) {
        return false;
    }
    if (stop == end) {
        return true;
    }
    const std::size_t unit = kUnits.find(static_cast<char>(*stop & ~0x20));
    if (unit == std::string_view::npos || stop + 1 != end) {
        return false;
    }
    const u32 shift = 10 * (static_cast<u32>(unit) + 1);
    if (bytes > ~u64{0} >> shift) {
        return false;
    }
    bytes <<= shift;
    return true;
}

// The texts of the options that stand for something else, as they were given.
struct RawOptions {
    std::string desktop;
    std::string script;
    std::string runMilliseconds;
    std::string date;
    std::string dataLimit;
};

std::optional<int> ReadHeadlessOptions(const RawOptions& raw, HeadlessOptions& headless) {
    if (!raw.desktop.empty() && !ParseScreenSizes(raw.desktop, headless.screens)) {
        return RefuseCommandLine("--desktop: no list of screen sizes WxH[,WxH..]: " + raw.desktop);
    }
    if (!raw.date.empty()) {
        DateTime date;
        if (!ParseDate(raw.date, date)) {
            return RefuseCommandLine("--date: no date and time YYYY-MM-DD hh:mm:ss: " + raw.date);
        }
        headless.date = date;
    }
    if (raw.script.empty()) {
        return std::nullopt;
    }
    std::string text;
    if (!ReadWholeFile(raw.script, kLargestScript, text).empty()) {
        return RefuseCommandLine(raw.script + ": cannot be read");
    }
    const std::string error = ParseScript(text, headless.script);
    if (!error.empty()) {
        return RefuseCommandLine(raw.script + ":" + error);
    }
    return std::nullopt;
}

std::string Absolute(const std::string& path) {
    std::error_code error;
    if (path.empty()) {
        return path;
    }
    std::string absolute = std::filesystem::absolute(path, error).lexically_normal().string();
    // Without a trailing "/", but for the root.
    if (absolute.size() > 1 && absolute.back() == '/') {
        absolute.pop_back();
    }
    return absolute;
}

}  // namespace

int RefuseCommandLine(const std::string& what) {
    std::fprintf(stderr, "moxi: %s\n", OneLine(what).c_str());
    return kWrongCommandLine;
}

std::optional<int> ParseCommandLine(int argc, const char* const* argv, Options& options) {
    CLI::App app("Runs 2-D games that are compiled to a module image, MAIN.MX.", "moxi");
    RawOptions raw;
    const CLI::Validator filled(
        [](const std::string& value) { return value.empty() ? "the value is empty" : ""; }, "");
    app.add_option(
           "GAME", options.game,
           "game folder, application bundle, MAIN.MX, archive (.mxz, .zip) or WASM-4 cartridge")
        ->check(filled);
    app.add_option("--data-folder", options.dataFolder, "use DIR as the data folder")
        ->type_name("DIR")
        ->check(filled);
    app.add_flag("--mute", options.mute, "no sound device is opened");
    app.add_option("--music-volume", options.musicVolume, "how loud music is, 0 to 100")
        ->type_name("N")
        ->check(CLI::Validator(CheckVolume, ""));
    app.add_option("--sound-volume", options.soundVolume, "how loud sounds are, 0 to 100")
        ->type_name("N")
        ->check(CLI::Validator(CheckVolume, ""));
    app.add_option("--preferences", options.preferences,
                   "use FILE for the panel's preferences (headless: else none)")
        ->type_name("FILE")
        ->check(filled);
    app.add_option("--soundfont", options.soundfont, "SoundFont for MIDI")
        ->type_name("FILE")
        ->check(filled);
    app.add_flag("--full-screen", options.fullScreen, "start in full screen");
    app.add_option("--scale", options.scale, "enlarge the view, 1 to 16 times or to fit the screen")
        ->type_name("N|fit")
        ->check(CLI::Validator(CheckScale, ""));
    app.add_flag("--headless", options.headless, "no window, no sound device, virtual clock");
    std::vector<CLI::Option*> headlessOnly;
    headlessOnly.push_back(
        app.add_option("--desktop", raw.desktop, "headless: the screens, main screen first")
            ->type_name("WxH[,WxH..]")
            ->check(filled));
    headlessOnly.push_back(
        app.add_option("--script", raw.script, "headless: desktop events to play")
            ->type_name("FILE")
            ->check(filled));
    CLI::Option* const runMs =
        app.add_option("--run-ms", raw.runMilliseconds, "headless: end after N ms")
            ->type_name("N")
            ->check(CLI::Validator(CheckMilliseconds, ""));
    headlessOnly.push_back(runMs);
    headlessOnly.push_back(
        app.add_option("--date", raw.date, "headless: local date and time at the start")
            ->type_name("\"YYYY-MM-DD hh:mm:ss\"")
            ->check(filled));
    app.add_option("--dump-image", options.dumpImage, "at exit: the module image")
        ->type_name("FILE")
        ->check(filled);
    app.add_option("--dump-screen", options.dumpScreen, "at exit: the screen bitmap as a PNG")
        ->type_name("FILE")
        ->check(filled);
    app.add_option("--dump-view", options.dumpView, "at exit: what the view shows as a PNG")
        ->type_name("FILE")
        ->check(filled);
    headlessOnly.push_back(
        app.add_option("--dump-ui", options.dumpUi,
                       "headless: at exit, the controls of the panel or the shelf, as text")
            ->type_name("FILE")
            ->check(filled));
    app.add_option("--trace", options.trace, "write each executed instruction, as text")
        ->type_name("FILE")
        ->check(filled);
    app.add_option("--record", options.record, "write the desktop events as an event script")
        ->type_name("FILE")
        ->check(filled);
    headlessOnly.push_back(app.add_option("--render-audio", options.renderAudio,
                                          "headless: what would have been heard, as a WAV file")
                               ->type_name("FILE")
                               ->check(filled));
    app.add_flag("--no-sandbox", options.unlocked, "do not restrict what the process may reach");
    bool noTranslate = false;
    app.add_flag("--no-translate", noTranslate, "run everything in the interpreter");
    app.add_flag("--open-urls", options.openUrls, "open addresses without asking");
    app.add_option("--data-limit", raw.dataLimit,
                   "how much the data folder may hold, 500M for one (default 1G)")
        ->type_name("SIZE")
        ->check(filled);
    app.add_flag("--debug", options.debug, "author's kit: the debugger, in the terminal");
    app.add_option("--profile", options.profile, "author's kit: count where the instructions go")
        ->type_name("FILE")
        ->check(filled);
    app.add_flag("--watch", options.watch,
                 "author's kit: start again when MAIN.MX or a .lua file changes");
    app.add_option("--bundle", options.bundle, "author's kit: make a folder with the game and moxi")
        ->type_name("OUT")
        ->check(filled);
    app.add_option("--pack", options.pack, "author's kit: make an archive, OUT, with GAME")
        ->type_name("GAME OUT")
        ->expected(2)
        ->check(filled);
    CLI::Option* const symbols = app.add_flag("--with-symbols", options.withSymbols,
                                              "with --bundle and --pack: MAIN.SYM too");
    CLI::Option* const newGame =
        app.add_option("--new", options.newGame, "author's kit: begin a game in a new folder")
            ->type_name("FOLDER")
            ->check(filled);
    CLI::Option* const inC =
        app.add_flag("--c", options.newInC, "with --new: a game in C")->needs(newGame);
    app.add_flag("--lua", options.newInLua, "with --new: a game in Lua")
        ->needs(newGame)
        ->excludes(inC);
    app.set_version_flag("--version", std::string("moxi ") + kVersionText);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        return RefuseCommandLine(error.what());
    }
    if (!raw.dataLimit.empty() && !ParseSize(raw.dataLimit, options.dataLimit)) {
        return RefuseCommandLine("--data-limit: no size in bytes, K, M, G or T: " + raw.dataLimit);
    }
    if (symbols->count() > 0 && options.pack.empty() && options.bundle.empty()) {
        return RefuseCommandLine("--with-symbols needs --bundle or --pack");
    }
    if (newGame->count() > 0 && options.newGame.starts_with('-')) {
        return RefuseCommandLine("--new: no folder's name: " + options.newGame);
    }
    if (newGame->count() > 0 && !options.game.empty()) {
        return RefuseCommandLine("--new makes one folder and takes no GAME: " + options.game);
    }
    // The debugger writes where its user says while the game runs.
    options.sandbox = !options.unlocked && !options.debug;
    options.translate = !noTranslate;
    for (const CLI::Option* const option : headlessOnly) {
        if (option->count() > 0 && !options.headless) {
            return RefuseCommandLine(option->get_name() + " needs --headless");
        }
    }
    if (runMs->count() > 0) {
        options.headlessOptions.runMilliseconds = std::stoull(raw.runMilliseconds);
    }
    options.dataFolder = Absolute(options.dataFolder);
    options.preferences = Absolute(options.preferences);
    return ReadHeadlessOptions(raw, options.headlessOptions);
}

void PrintUsage() {
    std::fputs("usage: moxi [options] GAME (moxi --help lists the options)\n", stderr);
}

}  // namespace moxi
