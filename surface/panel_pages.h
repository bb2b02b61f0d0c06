#pragma once
// The pages of the panel: which controls there are, and what becomes of what the player wants.

#include <string>

#include "host/preferences.h"
#include "surface/controls.h"

namespace moxi {

enum class PanelPage : u8 { Sound, Picture, Game, Keys, Gamepad };

// What the panel waits for besides controls.
enum class Capture : u8 {
    Nothing,
    Key,        // the key that the player wants to use
    PlaysAs,    // what it plays as
    PadAction,  // what the control of the gamepad does
};

struct PanelState {
    PanelPage page = PanelPage::Sound;
    PreferenceScope scope = PreferenceScope::AllGames;
    Capture capture = Capture::Nothing;
    std::string captured = {};  // the key's or the control's name
    bool asksReset = false;     // whether to forget everything
    bool noSound = false;
    bool onShelf = false;
    std::string folderText = {};  // of the field, which may be no folder yet
};

// Adds the controls of the state's page and lays them out.
void AddPanelControls(Surface& surface, const PanelState& state);

// Does what the player wants. False when the panel is to be closed.
bool ServeWant(Surface& surface, PanelState& state, const Want& want);

// A key that the panel waits for. False when it waits for none, and the key is one for controls.
bool TakeCapturedKey(PanelState& state, u8 code);

// Turns to a page; its fields show what holds now.
void OpenPage(PanelState& state, PanelPage page);

}  // namespace moxi
