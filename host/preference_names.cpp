#include "host/preference_names.h"

#include <charconv>

#include "base/log.h"
#include "host/gamepad.h"
#include "host/key_names.h"

namespace moxi {

namespace {

// --- Forms of values. A reader returns "" or what the value would have to be.

std::string ReadNumber(std::string_view text, u32 most, u32& value) {
    u32 number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number > most) {
        return FormatText("a number from 0 to %u", most);
    }
    value = number;
    return "";
}

std::string ReadVolume(std::string_view text, u32& value) {
    return ReadNumber(text, 100, value);
}

std::string ReadYesOrNo(std::string_view text, bool& value) {
    if (text != "yes" && text != "no") {
        return "yes or no";
    }
    value = text == "yes";
    return "";
}

std::string ReadScale(std::string_view text, u32& value) {
    if (text == "automatic") {
        value = kScaleAutomatic;
    } else if (text == "fit") {
        value = kScaleFit;
    } else if (text == "fit-fractional") {
        value = kScaleFitFractional;
    } else if (u32 steps = 0; ReadNumber(text, kMostScale, steps).empty() && steps > 0) {
        value = steps;
    } else {
        return FormatText("automatic, fit, fit-fractional or a number from 1 to %u", kMostScale);
    }
    return "";
}

std::string WriteScale(u32 scale) {
    switch (scale) {
        case kScaleAutomatic: return "automatic";
        case kScaleFit: return "fit";
        case kScaleFitFractional: return "fit-fractional";
        default: return std::to_string(scale);
    }
}

std::string ReadFilter(std::string_view text, ScaleFilter& value) {
    if (text != "sharp" && text != "smooth") {
        return "sharp or smooth";
    }
    value = text == "sharp" ? ScaleFilter::Sharp : ScaleFilter::Smooth;
    return "";
}

std::string ReadFolder(std::string_view text, std::string& value) {
    if (!text.empty() && text[0] != '/' && text.substr(0, 2) != "~/") {
        return "a path that begins with / or ~/";
    }
    value = text;
    return "";
}

std::string YesOrNo(bool value) {
    return value ? "yes" : "no";
}

// --- Names

struct Row {
    const char* name;
    std::string (*read)(Preferences&, std::string_view);
    std::string (*write)(const Preferences&);
};

template <u32 Preferences::*member>
constexpr Row Volume(const char* name) {
    return {name, [](Preferences& p, std::string_view text) { return ReadVolume(text, p.*member); },
            [](const Preferences& p) { return std::to_string(p.*member); }};
}

template <bool Preferences::*member>
constexpr Row Switch(const char* name) {
    return {name,
            [](Preferences& p, std::string_view text) { return ReadYesOrNo(text, p.*member); },
            [](const Preferences& p) { return YesOrNo(p.*member); }};
}

constexpr size_t kLongestName = 60;
constexpr std::string_view kScreenshotFolder = "screenshot-folder";

constexpr Row kRows[] = {
    Volume<&Preferences::musicVolume>("music-volume"),
    Volume<&Preferences::soundVolume>("sound-volume"),
    Switch<&Preferences::mute>("mute"),
    Switch<&Preferences::fullScreen>("full-screen"),
    {"scale", [](Preferences& p, std::string_view text) { return ReadScale(text, p.scale); },
     [](const Preferences& p) { return WriteScale(p.scale); }},
    {"filter", [](Preferences& p, std::string_view text) { return ReadFilter(text, p.filter); },
     [](const Preferences& p) {
         return std::string(p.filter == ScaleFilter::Sharp ? "sharp" : "smooth");
     }},
    Switch<&Preferences::pauseWhenInactive>("pause-when-inactive"),
    Switch<&Preferences::askBeforeOpening>("ask-before-opening"),
    {kScreenshotFolder.data(),
     [](Preferences& p, std::string_view text) { return ReadFolder(text, p.screenshotFolder); },
     [](const Preferences& p) { return p.screenshotFolder; }},
    Switch<&Preferences::reducedMotion>("reduced-motion"),
    Switch<&Preferences::largeText>("large-text"),
};

const Row* RowOf(std::string_view name) {
    for (const Row& row : kRows) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

// "key.w" and "pad.a": the map, and the name in it. Null for other names.
template <class Record>
auto* MapOf(Record& of, std::string_view& name) {
    decltype(&of.keyMap) map = nullptr;
    if (name.substr(0, 4) == "key.") {
        map = &of.keyMap;
    }
    if (name.substr(0, 4) == "pad.") {
        map = &of.padMap;
    }
    if (map != nullptr) {
        name.remove_prefix(4);
    }
    return map;
}

// "" or what is wrong with what the player has chosen for a key, or for a control of the gamepad.
std::string WhyNoKeyChoice(std::string_view key, std::string_view as) {
    if (!KeyNamed(key)) {
        return ": there is no such key";
    }
    return KeyNamed(as) ? "" : " has to be the name of a key";
}

std::string WhyNoPadChoice(std::string_view control, std::string_view action) {
    if (!IsPadControl(control)) {
        return ": a gamepad has no such control";
    }
    return IsPadAction(action) ? "" : " has to be the name of a key or of another action";
}

}  // namespace

std::string ReadPreference(Preferences& into, std::string_view name, std::string_view value) {
    // As much of it as a line of the log can take.
    const std::string whole(name.substr(0, kLongestName));
    if (const Row* const row = RowOf(name)) {
        const std::string expected = row->read(into, value);
        return expected.empty() ? "" : whole + " has to be " + expected;
    }
    auto* const map = MapOf(into, name);
    if (map == nullptr || name.empty()) {
        return "there is no preference " + whole;
    }
    const std::string problem =
        map == &into.keyMap ? WhyNoKeyChoice(name, value) : WhyNoPadChoice(name, value);
    if (!problem.empty()) {
        return whole + problem;
    }
    (*map)[std::string(name)] = value;
    return "";
}

std::string WritePreference(const Preferences& of, std::string_view name) {
    if (const Row* const row = RowOf(name)) {
        return row->write(of);
    }
    const auto* const map = MapOf(of, name);
    if (map == nullptr) {
        return "";
    }
    const auto found = map->find(std::string(name));
    return found != map->end() ? found->second : "";
}

bool CanBeOfOneGame(std::string_view name) {
    return name != kScreenshotFolder;
}

}  // namespace moxi
