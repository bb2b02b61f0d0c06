#include "surface/panel_pages.h"

#include <iterator>

#include "base/log.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "host/gamepad.h"
#include "host/key_names.h"
#include "surface/apply.h"
#include "surface/form.h"
#include "surface/labels.h"
#include "surface/words.h"

namespace moxi {

namespace {

struct PageName {
    PanelPage page;
    const char* id;
    const char* english;
};

constexpr PageName kPages[] = {
    {PanelPage::Sound, "page-sound", ForTranslation("Sound")},
    {PanelPage::Picture, "page-picture", ForTranslation("Picture")},
    {PanelPage::Game, "page-game", ForTranslation("Game")},
    {PanelPage::Keys, "page-keys", ForTranslation("Keys")},
    {PanelPage::Gamepad, "page-gamepad", ForTranslation("Gamepad")},
};

// What a preference has to show: what holds now, but for all games what is stored for them.
Preferences Shown(const PanelState& state, const std::string& name) {
    const bool other = state.scope == PreferenceScope::AllGames && IsThisGamesOwn(name);
    return other ? StoredPreferences(PreferenceScope::AllGames) : preferences;
}

std::string ShownText(const PanelState& state, const std::string& name) {
    return PreferenceText(Shown(state, name), name);
}

// --- Controls of preferences: the id is the preference's name.

void AddVolume(Surface& surface, const PanelState& state, const std::string& name,
               const char* label) {
    Control& slider = AddControl(surface, Role::Slider, name, label);
    const Preferences shown = Shown(state, name);
    slider.percent = name == "music-volume" ? shown.musicVolume : shown.soundVolume;
    slider.value = FormatText("%u %%", slider.percent);
}

Control& AddSwitch(Surface& surface, const PanelState& state, const std::string& name,
                   const char* label) {
    Control& check = AddControl(surface, Role::Check, name, label);
    check.on = ShownText(state, name) == "yes";
    return check;
}

void AddChoice(Surface& surface, const std::string& name, const char* label,
               const std::string& value) {
    AddControl(surface, Role::Choice, name, label).value = value;
}

void AddNote(Surface& surface, const std::string& id, const std::string& text) {
    AddControl(surface, Role::Note, id, text);
}

// --- Values of choices, in their order

constexpr const char* kScales[] = {"automatic",     "1", "2", "3", "4", "5", "6", "7", "8", "fit",
                                   "fit-fractional"};
constexpr const char* kFilters[] = {"sharp", "smooth"};

std::string ScaleLabel(const std::string& value) {
    if (value == "automatic") {
        return Words("Automatic");
    }
    if (value == "fit") {
        return Words("Fill, whole steps");
    }
    if (value == "fit-fractional") {
        return Words("Fill");
    }
    return Filled(Words("%s times"), value);
}

template <size_t n>
std::string NextOf(const char* const (&values)[n], const std::string& now, i32 step) {
    size_t at = 0;
    while (at < n && now != values[at]) {
        ++at;
    }
    if (at == n) {
        return values[0];
    }
    return values[(at + n + static_cast<size_t>(step)) % n];
}

// --- Pages

void AddScope(Surface& surface, const PanelState& state) {
    const bool all = state.scope == PreferenceScope::AllGames;
    AddChoice(surface, "scope", Words("These settings are for"),
              all ? Words("All games") : folders.gameName);
}

void AddSoundPage(Surface& surface, const PanelState& state) {
    AddVolume(surface, state, "music-volume", Words("Music volume"));
    AddVolume(surface, state, "sound-volume", Words("Sound volume"));
    AddSwitch(surface, state, "mute", Words("Mute"));
    if (state.noSound) {
        AddNote(surface, "no-sound", Words("This run was started without sound."));
    }
}

void AddPicturePage(Surface& surface, const PanelState& state) {
    Control& fullScreen = AddSwitch(surface, state, "full-screen", Words("Full screen"));
    // Also changed by its key, which does not save it.
    if (!state.onShelf) {
        fullScreen.on = desktop.fittedScreen().value_or(desktop.isFullScreen());
    }
    AddChoice(surface, "scale", Words("Scale"), ScaleLabel(ShownText(state, "scale")));
    AddChoice(surface, "filter", Words("Scaling filter"),
              ShownText(state, "filter") == "sharp" ? Words("Sharp") : Words("Smooth"));
    AddControl(surface, Role::Heading, "host-heading", Words("This panel"));
    AddSwitch(surface, state, "large-text", Words("Large text"));
    AddSwitch(surface, state, "reduced-motion", Words("Reduced motion"));
}

void AddGamePage(Surface& surface, const PanelState& state) {
    AddSwitch(surface, state, "pause-when-inactive", Words("Pause when the window is not active"));
    const Control& asks =
        AddSwitch(surface, state, "ask-before-opening", Words("Ask before opening web addresses"));
    // A game that has taken its process over must not decide this for the others.
    if (!state.onShelf && !asks.on) {
        AddNote(surface, "asking-note",
                Words("Turned off here, it holds until this game ends; on the shelf, for good."));
    }
    Control& folder =
        AddControl(surface, Role::Field, "screenshot-folder", Words("Screenshot folder"));
    folder.value = state.folderText;
    folder.detail = folders.pictures;
    AddNote(surface, "folder-note",
            Words("A path that begins with / or ~/, for all games, from the next start on."));
}

void AddKeysPage(Surface& surface, const PanelState& state) {
    AddNote(surface, "keys-note",
            Words("A key can play as another one. Keys that are not listed play as themselves."));
    for (const auto& [key, as] : Shown(state, "").keyMap) {
        if (key == as) {
            continue;
        }
        AddControl(surface, Role::Row, "key." + key, KeyLabel(key)).value =
            Filled(Words("plays as %s"), KeyLabel(as));
    }
    AddControl(surface, Role::Button, "add-key", Words("Add a key"));
}

void AddGamepadPage(Surface& surface, const PanelState& state) {
    const auto& chosen = Shown(state, "").padMap;
    for (const std::string_view name : PadControls()) {
        const std::string control(name);
        const auto found = chosen.find(control);
        const std::string action =
            found != chosen.end() ? found->second : DefaultPadAction(control);
        AddControl(surface, Role::Row, "pad." + control, PadControlLabel(control)).value =
            PadActionLabel(action);
    }
}

void AddPage(Surface& surface, const PanelState& state) {
    if (!state.onShelf) {
        AddScope(surface, state);
    }
    switch (state.page) {
        case PanelPage::Sound: return AddSoundPage(surface, state);
        case PanelPage::Picture: return AddPicturePage(surface, state);
        case PanelPage::Game: return AddGamePage(surface, state);
        case PanelPage::Keys: return AddKeysPage(surface, state);
        case PanelPage::Gamepad: return AddGamepadPage(surface, state);
    }
}

Control& AddFootButton(Surface& surface, const std::string& id, const char* name) {
    Control& button = AddControl(surface, Role::Button, id, name);
    button.part = Part::Foot;
    return button;
}

void AddTabs(Surface& surface, const PanelState& state) {
    for (const PageName& page : kPages) {
        Control& tab = AddControl(surface, Role::Tab, page.id, Words(page.english));
        tab.part = Part::Head;
        tab.on = state.page == page.page;
    }
}

// --- Captures

void AddCapture(Surface& surface, const PanelState& state) {
    switch (state.capture) {
        case Capture::Key:
            AddControl(surface, Role::Heading, "capture",
                       Words("Press the key that you want to use."));
            AddNote(surface, "capture-note", Words("Escape leaves everything as it is."));
            break;
        case Capture::PlaysAs:
            AddControl(
                surface, Role::Heading, "capture",
                Filled(Words("Press the key that %s is to play as."), KeyLabel(state.captured)));
            AddNote(surface, "capture-note", Words("Escape leaves everything as it is."));
            AddFootButton(surface, "remove", Words("Plays as itself"));
            break;
        default:
            AddControl(surface, Role::Heading, "capture",
                       Filled(Words("What does this do: %s?"), PadControlLabel(state.captured)));
            AddNote(surface, "capture-note",
                    Words("Choose, or press a letter, a digit or a function key."));
            for (const std::string_view action : PadActions()) {
                if (action == "pointer" &&
                    state.captured.find_first_of("-+") == std::string::npos) {
                    continue;
                }
                AddControl(surface, Role::Row, "do." + std::string(action), PadActionLabel(action));
            }
            AddFootButton(surface, "remove", Words("As it was at first"));
            break;
    }
    AddFootButton(surface, "cancel", Words("Cancel"));
}

void EndCapture(Surface& surface, PanelState& state) {
    const bool pad = state.capture == Capture::PadAction;
    const std::string id = (pad ? "pad." : "key.") + state.captured;
    state.capture = Capture::Nothing;
    state.captured.clear();
    surface.focus = id == "key." ? "add-key" : id;
}

void Apply(const PanelState& state) {
    if (state.onShelf) {
        ApplyPreferencesToShelf();
    } else {
        ApplyPreferences();
    }
}

// Takes a choice back. Where this game has none of its own, the choice is one for all games; the
// game then gets the plain value as its own.
void Forget(const PanelState& state, const std::string& name, const std::string& plain) {
    const bool stays = state.scope == PreferenceScope::ThisGame && !IsThisGamesOwn(name);
    ForgetPreference(state.scope, name);
    if (stays) {
        SetPreference(state.scope, name, plain);
    }
    Apply(state);
}

void ForgetCaptured(const PanelState& state) {
    if (state.capture == Capture::PadAction) {
        Forget(state, "pad." + state.captured, DefaultPadAction(state.captured));
    } else {
        Forget(state, "key." + state.captured, state.captured);
    }
}

// --- Wants

bool Set(const PanelState& state, const std::string& name, const std::string& value) {
    const bool isSet = SetPreference(state.scope, name, value);
    if (isSet) {
        Apply(state);
    }
    return isSet;
}

// A fitted view begins on the whole screen, whatever is saved, so nothing is.
void SetFullScreen(const PanelState& state, bool wanted) {
    if (!state.onShelf && desktop.fittedScreen()) {
        return desktop.setFittedScreen(wanted);
    }
    Set(state, "full-screen", wanted ? "yes" : "no");
    if (!state.onShelf && desktop.isFullScreen() != wanted) {
        desktop.toggleFullScreen();
    }
}

void ServeChange(Surface& surface, PanelState& state, const Want& want) {
    const Control* const control = FindControl(surface, want.id);
    if (control == nullptr) {
        return;
    }
    if (want.id == "scope") {
        const bool all = state.scope == PreferenceScope::AllGames;
        state.scope = all ? PreferenceScope::ThisGame : PreferenceScope::AllGames;
    } else if (want.id == "scale") {
        Set(state, want.id, NextOf(kScales, ShownText(state, want.id), want.step));
    } else if (want.id == "filter") {
        Set(state, want.id, NextOf(kFilters, ShownText(state, want.id), want.step));
    } else if (want.id == "screenshot-folder") {
        state.folderText = control->value;
        SetPreference(PreferenceScope::AllGames, want.id, control->value);
    } else if (control->role == Role::Slider) {
        Set(state, want.id, std::to_string(control->percent));
    } else if (want.id == "full-screen") {
        SetFullScreen(state, control->on);
    } else if (control->role == Role::Check) {
        Set(state, want.id, control->on ? "yes" : "no");
    }
}

bool HasPrefix(const std::string& text, std::string_view prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool ServePress(Surface& surface, PanelState& state, const std::string& id) {
    for (const PageName& page : kPages) {
        if (id != page.id) {
            continue;
        }
        OpenPage(state, page.page);
        surface.scroll = 0;
    }
    const bool resets = id == "reset";
    if (resets && state.asksReset) {
        ForgetAllPreferences(state.scope);
        Apply(state);
        state.folderText = preferences.screenshotFolder;
    }
    state.asksReset = resets && !state.asksReset;
    if (id == "close") {
        return false;
    }
    if (id == "add-key") {
        state.capture = Capture::Key;
    }
    if (id == "remove") {
        ForgetCaptured(state);
    }
    if (id == "remove" || id == "cancel") {
        EndCapture(surface, state);
    }
    if (HasPrefix(id, "do.")) {
        Set(state, "pad." + state.captured, id.substr(3));
        EndCapture(surface, state);
    }
    if (HasPrefix(id, "key.") || HasPrefix(id, "pad.")) {
        state.capture = HasPrefix(id, "key.") ? Capture::PlaysAs : Capture::PadAction;
        state.captured = id.substr(4);
        surface.focus.clear();
        surface.scroll = 0;
    }
    return true;
}

}  // namespace

void OpenPage(PanelState& state, PanelPage page) {
    state.page = page;
    state.folderText = preferences.screenshotFolder;
}

void AddPanelControls(Surface& surface, const PanelState& state) {
    surface.title = Words("Preferences");
    if (state.capture != Capture::Nothing) {
        AddCapture(surface, state);
    } else {
        AddTabs(surface, state);
        AddPage(surface, state);
        AddFootButton(surface, "close",
                      state.onShelf ? Words("Back to the games") : Words("Back to the game"));
        AddFootButton(surface, "reset",
                      state.asksReset ? Words("Really reset everything?") : Words("Reset"));
    }
    LayOutForm(surface);
}

bool ServeWant(Surface& surface, PanelState& state, const Want& want) {
    switch (want.kind) {
        case WantKind::Change: ServeChange(surface, state, want); return true;
        case WantKind::Press: return ServePress(surface, state, want.id);
        case WantKind::Delete:
            if (!HasPrefix(want.id, "key.")) {
                return true;
            }
            Forget(state, want.id, want.id.substr(4));
            return true;
        case WantKind::Leave:
            if (state.capture == Capture::Nothing) {
                return false;
            }
            EndCapture(surface, state);
            return true;
        default: return true;
    }
}

bool TakeCapturedKey(PanelState& state, u8 code) {
    constexpr u8 kEscape = 0x35;
    const std::string name = NameOfKey(code);
    switch (state.capture) {
        case Capture::Nothing: return false;
        case Capture::Key:
            if (code == kEscape) {
                return false;
            }
            state.capture = Capture::PlaysAs;
            state.captured = name;
            return true;
        case Capture::PlaysAs:
            if (code == kEscape) {
                return false;
            }
            Set(state, "key." + state.captured, name);
            break;
        case Capture::PadAction:
            // Keys with longer names are in the list of actions on the page, where they move the
            // focus.
            if (name.size() > 1 && (name[0] != 'f' || name.size() > 3)) {
                return false;
            }
            Set(state, "pad." + state.captured, name);
            break;
    }
    state.capture = Capture::Nothing;
    return true;
}

}  // namespace moxi
