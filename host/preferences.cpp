#include "host/preferences.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "base/output_files.h"
#include "base/read_file.h"
#include "desktop/folders.h"
#include "host/home.h"
#include "host/preference_names.h"

namespace moxi {

Preferences preferences;

namespace {

// People write this file: a larger one is something else.
constexpr u64 kLargestFile = u64{1} << 20;
constexpr size_t kLongestQuote = 60;
constexpr u32 kMostComplaints = 20;

constexpr std::string_view kAsking = "ask-before-opening";

using Lines = std::vector<std::string>;

// A change that is not in the file yet. Without a value the preference goes; without a name all of
// the section's do.
struct Edit {
    std::string section;  // the game's heading, "" for all games
    std::string name;
    std::optional<std::string> value;
};

struct State {
    std::string path;
    std::string screenshotFolder;  // at the start
    Lines lines;                   // of the file, with the edits
    std::vector<Edit> edits;
    std::map<std::string, std::string> ofRun;
    std::string section;  // of this game; "" as long as none is known
    bool savesWhatAsksLess = false;
};

State state;

// --- Lines

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

enum class LineKind : u8 { Nothing, Heading, Value, Broken };

struct Line {
    LineKind kind = LineKind::Nothing;
    std::string_view name = {};  // or the section
    std::string_view value = {};
};

Line ParseLine(std::string_view text) {
    text = Trimmed(text);
    if (text.empty() || text[0] == '#') {
        return {};
    }
    constexpr std::string_view kGame = "[game ";
    if (text[0] == '[') {
        if (text.substr(0, kGame.size()) != kGame || text.back() != ']') {
            return {.kind = LineKind::Broken};
        }
        const std::string_view game =
            Trimmed(text.substr(kGame.size(), text.size() - kGame.size() - 1));
        // Without a name it would be the section of all games.
        return {.kind = game.empty() ? LineKind::Broken : LineKind::Heading, .name = game};
    }
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        return {.kind = LineKind::Broken};
    }
    return {.kind = LineKind::Value,
            .name = Trimmed(text.substr(0, equals)),
            .value = Trimmed(text.substr(equals + 1))};
}

Lines SplitLines(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// Calls `take` for each value with its section, or with no section where its heading is broken.
template <class Take>
void ForEachLine(const Lines& lines, Take take) {
    std::optional<std::string> section = "";
    for (size_t i = 0; i < lines.size(); ++i) {
        const Line line = ParseLine(lines[i]);
        if (line.kind == LineKind::Heading) {
            section = line.name;
        }
        // What stands below a heading that nobody understands is for nobody.
        if (line.kind == LineKind::Broken && Trimmed(lines[i])[0] == '[') {
            section.reset();
        }
        take(i, line, section);
    }
}

// --- Reading

std::string Quoted(std::string_view text) {
    text = Trimmed(text);
    return text.size() <= kLongestQuote ? std::string(text)
                                        : std::string(text.substr(0, kLongestQuote)) + "...";
}

void Complain(const Lines& lines) {
    u32 complaints = 0;
    ForEachLine(lines, [&](size_t i, const Line& line, const std::optional<std::string>& section) {
        std::string problem;
        Preferences scratch;
        if (line.kind == LineKind::Broken) {
            problem = "cannot be understood: " + Quoted(lines[i]);
        }
        if (line.kind == LineKind::Value) {
            problem = ReadPreference(scratch, line.name, line.value);
            if (problem.empty() && section != "" && !CanBeOfOneGame(line.name)) {
                problem = std::string(line.name) + " is for all games alike";
            }
        }
        if (problem.empty() || ++complaints > kMostComplaints) {
            return;
        }
        SystemLog(FormatText("%s:%zu: ", state.path.c_str(), i + 1) + problem);
    });
    if (complaints > kMostComplaints) {
        SystemLog(FormatText("%s: %u more lines cannot be understood", state.path.c_str(),
                             complaints - kMostComplaints));
    }
}

void ReadSection(Preferences& into, const std::string& wanted) {
    ForEachLine(state.lines, [&](size_t, const Line& line, const auto& section) {
        if (line.kind != LineKind::Value || section != wanted) {
            return;
        }
        if (wanted.empty() || CanBeOfOneGame(line.name)) {
            ReadPreference(into, line.name, line.value);
        }
    });
}

void Recompute() {
    preferences = StoredPreferences(PreferenceScope::ThisGame);
    for (const auto& [name, value] : state.ofRun) {
        ReadPreference(preferences, name, value);
    }
}

// A path that begins with "~/" lies in the home folder; "" where there is none.
std::string WithHome(const std::string& path) {
    std::string whole = path;
    if (whole.substr(0, 2) == "~/") {
        const std::string home = HomeFolder();
        whole = home.empty() ? "" : home + whole.substr(1);
    }
    while (whole.size() > 1 && whole.back() == '/') {
        whole.pop_back();
    }
    return whole;
}

// Whether the path, links resolved, has a component that begins with a dot; below the home folder
// only the components behind it count.
bool IsHidden(const std::string& path) {
    std::error_code error;
    const std::string real = std::filesystem::weakly_canonical(path, error).string();
    const std::string home =
        HomeFolder().empty() ? "" : std::filesystem::weakly_canonical(HomeFolder(), error).string();
    const bool isAtHome = !home.empty() && real.compare(0, home.size() + 1, home + "/") == 0;
    return error || real.find("/.", isAtHome ? home.size() : 0) != std::string::npos;
}

// --- What may not be lowered

// By game, "" for all games: whether the player is asked before web addresses are opened.
std::map<std::string, bool> Asking(const std::string& text) {
    std::map<std::string, bool> asking;
    ForEachLine(SplitLines(text), [&](size_t, const Line& line, const auto& section) {
        Preferences read;
        if (line.kind == LineKind::Value && section && line.name == kAsking &&
            ReadPreference(read, line.name, line.value).empty()) {
            asking[*section] = read.askBeforeOpening;
        }
    });
    asking.try_emplace("", true);
    return asking;
}

bool Asks(const std::map<std::string, bool>& asking, const std::string& game) {
    const auto own = asking.find(game);
    return own != asking.end() ? own->second : asking.at("");
}

// --- Changes

std::string SectionOf(PreferenceScope scope) {
    return scope == PreferenceScope::ThisGame ? state.section : "";
}

// Where a new line of the section goes: after its last line that says something.
size_t EndOfSection(Lines& lines, const std::string& wanted) {
    std::optional<size_t> end;
    if (wanted.empty()) {
        end = 0;
    }
    ForEachLine(lines, [&](size_t i, const Line& line, const auto& section) {
        if (section == wanted && line.kind != LineKind::Nothing) {
            end = i + 1;
        }
    });
    if (end) {
        return *end;
    }
    if (!lines.empty() && !Trimmed(lines.back()).empty()) {
        lines.emplace_back();
    }
    lines.push_back("[game " + wanted + "]");
    return lines.size();
}

void Apply(Lines& lines, const Edit& edit) {
    std::vector<size_t> places;
    ForEachLine(lines, [&](size_t i, const Line& line, const auto& section) {
        if (line.kind != LineKind::Value || section != edit.section) {
            return;
        }
        Preferences scratch;
        const bool all =
            edit.name.empty() && ReadPreference(scratch, line.name, line.value).empty();
        if (all || line.name == edit.name) {
            places.push_back(i);
        }
    });
    if (!edit.value) {
        for (; !places.empty(); places.pop_back()) {
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(places.back()));
        }
        return;
    }
    const std::string text = edit.name + " = " + *edit.value;
    // Of two lines the last one counts.
    if (!places.empty()) {
        lines[places.back()] = text;
        return;
    }
    const size_t end = EndOfSection(lines, edit.section);
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(end), text);
}

void Change(const Edit& edit) {
    Apply(state.lines, edit);
    state.edits.push_back(edit);
    Recompute();
}

}  // namespace

std::string UsersPreferenceFile() {
    const std::string config = BaseFolder("XDG_CONFIG_HOME", ".config");
    if (config.empty()) {
        return "";
    }
    const std::string path = config + "/moxi/preferences";
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

void ReadPreferences(const std::string& path, bool isNamed) {
    state = {};
    state.path = path;
    std::error_code error;
    if (!path.empty() && std::filesystem::exists(path, error)) {
        std::string text;
        const std::string problem = ReadWholeFile(path, kLargestFile, text);
        if (!problem.empty()) {
            SystemLog(path + ": " + problem);
            // The path leads to something that is no file of ours: it is never replaced.
            state.path.clear();
        }
        state.lines = SplitLines(text);
        Complain(state.lines);
    } else if (isNamed) {
        SystemLog(path + ": not there yet, made by the first change of a preference");
    }
    Recompute();
    state.screenshotFolder = WithHome(preferences.screenshotFolder);
    if (!state.screenshotFolder.empty() && IsHidden(state.screenshotFolder)) {
        SystemLog("no folder for screenshots, for it is hidden: " + state.screenshotFolder);
        state.screenshotFolder.clear();
    }
}

std::string ScreenshotFolder() {
    return state.screenshotFolder.empty() ? folders.pictures : state.screenshotFolder;
}

const std::string& PreferenceFile() {
    return state.path;
}

void ChoosePreferencesOf(const std::string& game) {
    state.section = Trimmed(WithoutControls(game));
    // A name of blanks would be the section of all games.
    if (state.section.empty() && !game.empty()) {
        state.section = "(no name)";
    }
    Recompute();
}

bool SetPreference(PreferenceScope scope, const std::string& name, const std::string& value) {
    Preferences scratch;
    if (value.find('\n') != std::string::npos) {
        return false;
    }
    if (!ReadPreference(scratch, name, value).empty()) {
        return false;
    }
    if (scope == PreferenceScope::ThisGame && !CanBeOfOneGame(name)) {
        return false;
    }
    state.ofRun.erase(name);
    Change({SectionOf(scope), name, value});
    return true;
}

void ForgetPreference(PreferenceScope scope, const std::string& name) {
    state.ofRun.erase(name);
    Change({SectionOf(scope), name, {}});
}

void ForgetAllPreferences(PreferenceScope scope) {
    state.ofRun.clear();
    Change({SectionOf(scope), "", {}});
}

bool SetPreferenceForRun(const std::string& name, const std::string& value) {
    Preferences scratch;
    if (!ReadPreference(scratch, name, value).empty()) {
        return false;
    }
    state.ofRun[name] = value;
    Recompute();
    return true;
}

Preferences StoredPreferences(PreferenceScope scope) {
    Preferences found;
    ReadSection(found, "");
    if (scope == PreferenceScope::ThisGame && !state.section.empty()) {
        ReadSection(found, state.section);
    }
    return found;
}

bool IsThisGamesOwn(const std::string& name) {
    bool own = false;
    ForEachLine(state.lines, [&](size_t, const Line& line, const auto& section) {
        if (line.kind == LineKind::Value && !state.section.empty() && section == state.section &&
            line.name == name) {
            own = true;
        }
    });
    return own;
}

std::string PreferenceText(const Preferences& of, const std::string& name) {
    return WritePreference(of, name);
}

bool AsksLess(const std::string& before, const std::string& after) {
    const std::map<std::string, bool> was = Asking(before);
    const std::map<std::string, bool> is = Asking(after);
    const auto isLess = [&](const auto& of) { return Asks(was, of.first) && !Asks(is, of.first); };
    return std::any_of(was.begin(), was.end(), isLess) || std::any_of(is.begin(), is.end(), isLess);
}

namespace {

std::string Joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

// What may not be lowered for good is lowered for this run.
void ApplyUnlessItLowers(Lines& lines, const Edit& edit) {
    Lines changed = lines;
    Apply(changed, edit);
    if (state.savesWhatAsksLess || !AsksLess(Joined(lines), Joined(changed))) {
        lines = changed;
    } else if (!edit.value) {
        Apply(changed, {edit.section, std::string(kAsking), "yes"});
        lines = changed;
    } else {
        state.ofRun[std::string(kAsking)] = preferences.askBeforeOpening ? "yes" : "no";
        SystemLog(
            "ask-before-opening = no holds for this run; to keep it, choose it on the shelf or "
            "write "
            "it into " +
            state.path);
    }
}

}  // namespace

void SaveWhatAsksLess() {
    state.savesWhatAsksLess = true;
}

bool SavePreferences() {
    if (state.edits.empty()) {
        return true;
    }
    if (state.path.empty()) {
        state.edits.clear();
        return true;
    }
    // Another game may have written it meanwhile.
    std::string text;
    if (!ReadOwnFile(state.path, kLargestFile, text) && errno != ENOENT) {
        // Writing the file anew would lose what it holds.
        SystemLog(state.path + ": cannot be read");
        return false;
    }
    Lines lines = SplitLines(text);
    for (const Edit& edit : state.edits) {
        ApplyUnlessItLowers(lines, edit);
    }
    if (!ReplaceFile(state.path, Joined(lines))) {
        SystemLog(state.path + ": cannot be written");
        return false;
    }
    state.edits.clear();
    state.lines = lines;
    Recompute();
    return true;
}

void ResetPreferences() {
    state = {};
    preferences = {};
}

}  // namespace moxi
