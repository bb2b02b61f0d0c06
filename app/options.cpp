#include "app/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <variant>

#include "app/option_values.h"
#include "base/log.h"
#include "base/read_file.h"
#include "base/version.h"

namespace moxi {

namespace {

constexpr int kWrongCommandLine = 2;
// A day of events, one a millisecond.
constexpr u64 kLargestScript = u64{4} << 30;

// The options together with the texts of those whose values are worked out later.
struct GivenOptions : Options {
    std::string desktop;
    std::string script;
    std::string runMilliseconds;
    std::string date;
    std::string dataLimitText;
    std::string musicVolumeText;
    std::string soundVolumeText;
    bool noTranslate = false;
};

// --- One row for each

using Target = std::variant<bool GivenOptions::*, std::string GivenOptions::*,
                            std::vector<std::string> GivenOptions::*>;

struct Row {
    const char* name;
    const char* value;  // what the help shows for its value; null for a flag
    const char* help;
    Target target;
    std::array<const char*, 2> needs = {};  // it makes no sense without one of these
    std::string (*check)(const std::string&) = CheckFilled;
};

template <class T>
constexpr Target To(T Options::*member) {
    return static_cast<T GivenOptions::*>(member);
}

template <class T>
constexpr Target To(T GivenOptions::*member) {
    return member;
}

using Given = GivenOptions;
constexpr std::array<const char*, 2> kNothing = {};
constexpr std::array<const char*, 2> kHeadless = {"--headless"};
constexpr std::array<const char*, 2> kNew = {"--new"};

// In the order of the help.
constexpr Row kRows[] = {
    {"--data-folder", "DIR", "use DIR as the data folder", To(&Options::dataFolder)},
    {"--mute", nullptr, "no sound device is opened", To(&Options::mute)},
    {"--music-volume", "N", "how loud music is, 0 to 100", To(&Given::musicVolumeText), kNothing,
     CheckVolume},
    {"--sound-volume", "N", "how loud sounds are, 0 to 100", To(&Given::soundVolumeText), kNothing,
     CheckVolume},
    {"--preferences", "FILE", "use FILE for the panel's preferences (headless: else none)",
     To(&Options::preferences)},
    {"--soundfont", "FILE", "SoundFont for MIDI", To(&Options::soundfont)},
    {"--full-screen", nullptr, "start in full screen", To(&Options::fullScreen)},
    {"--scale", "N|fit", "enlarge the view, 1 to 16 times or to fit the screen",
     To(&Options::scale), kNothing, CheckScale},
    {"--headless", nullptr, "no window, no sound device, virtual clock", To(&Options::headless)},
    {"--desktop", "WxH[,WxH..]", "headless: the screens, main screen first", To(&Given::desktop),
     kHeadless},
    {"--script", "FILE", "headless: desktop events to play", To(&Given::script), kHeadless},
    {"--run-ms", "N", "headless: end after N ms", To(&Given::runMilliseconds), kHeadless,
     CheckMilliseconds},
    {"--date", "\"YYYY-MM-DD hh:mm:ss\"", "headless: local date and time at the start",
     To(&Given::date), kHeadless},
    {"--dump-image", "FILE", "at exit: the module image", To(&Options::dumpImage)},
    {"--dump-screen", "FILE", "at exit: the screen bitmap as a PNG", To(&Options::dumpScreen)},
    {"--dump-view", "FILE", "at exit: what the view shows as a PNG", To(&Options::dumpView)},
    {"--dump-ui", "FILE", "headless: at exit, the controls of the panel or the shelf, as text",
     To(&Options::dumpUi), kHeadless},
    {"--trace", "FILE", "write each executed instruction, as text", To(&Options::trace)},
    {"--record", "FILE", "write the desktop events as an event script", To(&Options::record)},
    {"--render-audio", "FILE", "headless: what would have been heard, as a WAV file",
     To(&Options::renderAudio), kHeadless},
    {"--no-sandbox", nullptr, "do not restrict what the process may reach", To(&Options::unlocked)},
    {"--no-translate", nullptr, "run everything in the interpreter", To(&Given::noTranslate)},
    {"--open-urls", nullptr, "open addresses without asking", To(&Options::openUrls)},
    {"--data-limit", "SIZE", "how much the data folder may hold, 500M for one (default 1G)",
     To(&Given::dataLimitText)},
    {"--debug", nullptr, "author's kit: the debugger, in the terminal", To(&Options::debug)},
    {"--profile", "FILE", "author's kit: count where the instructions go", To(&Options::profile)},
    {"--watch", nullptr, "author's kit: start again when MAIN.MX or a .lua file changes",
     To(&Options::watch)},
    {"--bundle", "OUT", "author's kit: make a folder with the game and moxi", To(&Options::bundle)},
    {"--pack", "GAME OUT", "author's kit: make an archive, OUT, with GAME", To(&Options::pack)},
    {"--with-symbols",
     nullptr,
     "with --bundle and --pack: MAIN.SYM too",
     To(&Options::withSymbols),
     {"--bundle", "--pack"}},
    {"--new", "FOLDER", "author's kit: begin a game in a new folder", To(&Options::newGame)},
    {"--c", nullptr, "with --new: a game in C", To(&Options::newInC), kNew},
    {"--lua", nullptr, "with --new: a game in Lua", To(&Options::newInLua), kNew},
};

void AddRow(CLI::App& app, const Row& row, GivenOptions& given) {
    if (const auto* const flag = std::get_if<bool GivenOptions::*>(&row.target)) {
        app.add_flag(row.name, given.*(*flag), row.help);
        return;
    }
    const auto* const texts = std::get_if<std::vector<std::string> GivenOptions::*>(&row.target);
    CLI::Option* const option =
        texts != nullptr
            ? app.add_option(row.name, given.*(*texts), row.help)->expected(2)
            : app.add_option(row.name, given.*std::get<std::string GivenOptions::*>(row.target),
                             row.help);
    option->type_name(row.value)->check(CLI::Validator(row.check, ""));
}

void AddRows(CLI::App& app, GivenOptions& given) {
    app.add_option(
           "GAME", given.game,
           "game folder, application bundle, MAIN.MX, archive (.mxz, .zip) or WASM-4 cartridge")
        ->check(CLI::Validator(CheckFilled, ""));
    for (const Row& row : kRows) {
        AddRow(app, row, given);
    }
    app.set_version_flag("--version", std::string("moxi ") + kVersionText);
}

// --- What is wrong

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

bool IsGiven(const CLI::App& app, const char* name) {
    const CLI::Option* const option = app.get_option_no_throw(name);
    return option != nullptr && option->count() > 0;
}

// Too few values or too many of them.
std::string WrongNumberOfValues(const CLI::App& app, const std::string& what) {
    const std::string name = what.substr(0, what.find(':'));
    for (const Row& row : kRows) {
        if (row.name != name || row.value == nullptr) {
            continue;
        }
        const bool isOne =
            !std::holds_alternative<std::vector<std::string> GivenOptions::*>(row.target);
        const CLI::Option* const option = app.get_option_no_throw(name);
        const bool isTwice = isOne && option != nullptr && option->count() > 1;
        return isTwice ? name + " is there more than once" : name + " needs " + row.value;
    }
    return what;
}

// Words that are no option, or one too many.
std::string UnknownWord(const CLI::App& app, const std::string& what) {
    const std::vector<std::string> words = app.remaining();
    if (words.empty()) {
        return what;
    }
    const std::string& word = words.front();
    return word + (word.starts_with('-') ? ": there is no such option"
                                         : ": there is one GAME, and it is named before");
}

// "", or an option that lacks another one or that another one rules out.
std::string WhyNotTogether(const CLI::App& app, const GivenOptions& given) {
    for (const Row& row : kRows) {
        const auto [first, second] = row.needs;
        if (first == nullptr || !IsGiven(app, row.name) || IsGiven(app, first) ||
            (second != nullptr && IsGiven(app, second))) {
            continue;
        }
        return std::string(row.name) + " needs " + first +
               (second != nullptr ? std::string(" or ") + second : "");
    }
    if (given.newInC && given.newInLua) {
        return "--c and --lua: a game is in one of them";
    }
    if (!IsGiven(app, "--new")) {
        return "";
    }
    if (given.newGame.starts_with('-')) {
        return "--new needs FOLDER: " + given.newGame + " is none";
    }
    if (!given.game.empty()) {
        return "--new makes one folder and takes no GAME: " + given.game;
    }
    return "";
}

// --- What they stand for

std::string ReadScript(const std::string& path, std::vector<ScriptEvent>& script) {
    std::string text;
    if (!ReadWholeFile(path, kLargestScript, text).empty()) {
        return path + ": cannot be read";
    }
    const std::string error = ParseScript(text, script);
    return error.empty() ? "" : path + ":" + error;
}

std::string ReadHeadlessOptions(const GivenOptions& given, HeadlessOptions& headless) {
    if (!given.desktop.empty() && !ParseScreenSizes(given.desktop, headless.screens)) {
        return "--desktop: no list of screen sizes WxH[,WxH..]: " + given.desktop;
    }
    if (!given.date.empty()) {
        DateTime date;
        if (!ParseDate(given.date, date)) {
            return "--date: no date and time YYYY-MM-DD hh:mm:ss: " + given.date;
        }
        headless.date = date;
    }
    if (!given.runMilliseconds.empty()) {
        headless.runMilliseconds = NumberOf(given.runMilliseconds);
    }
    return given.script.empty() ? "" : ReadScript(given.script, headless.script);
}

std::optional<u32> VolumeOf(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(static_cast<u32>(NumberOf(text)));
}

std::string ReadValues(GivenOptions& given) {
    if (!given.dataLimitText.empty() && !ParseSize(given.dataLimitText, given.dataLimit)) {
        return "--data-limit: no size in bytes, K, M, G or T: " + given.dataLimitText;
    }
    given.musicVolume = VolumeOf(given.musicVolumeText);
    given.soundVolume = VolumeOf(given.soundVolumeText);
    // The debugger writes where its user says while the game runs.
    given.sandbox = !given.unlocked && !given.debug;
    given.translate = !given.noTranslate;
    given.dataFolder = AbsolutePath(given.dataFolder);
    given.preferences = AbsolutePath(given.preferences);
    return ReadHeadlessOptions(given, given.headlessOptions);
}

}  // namespace

int RefuseCommandLine(const std::string& what) {
    std::fprintf(stderr, "moxi: %s\n", OneLine(what).c_str());
    return kWrongCommandLine;
}

std::optional<int> ParseCommandLine(int argc, const char* const* argv, Options& options) {
    CLI::App app("Runs 2-D games that are compiled to a module image, MAIN.MX.", "moxi");
    GivenOptions given;
    static_cast<Options&>(given) = options;
    AddRows(app, given);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ArgumentMismatch& error) {
        return RefuseCommandLine(WrongNumberOfValues(app, error.what()));
    } catch (const CLI::ExtrasError& error) {
        return RefuseCommandLine(UnknownWord(app, error.what()));
    } catch (const CLI::ParseError& error) {
        return RefuseCommandLine(error.what());
    }
    std::string problem = WhyNotTogether(app, given);
    if (problem.empty()) {
        problem = ReadValues(given);
    }
    if (!problem.empty()) {
        return RefuseCommandLine(problem);
    }
    options = given;
    return std::nullopt;
}

void PrintUsage() {
    std::fputs("usage: moxi [options] GAME (moxi --help lists the options)\n", stderr);
}

}  // namespace moxi
