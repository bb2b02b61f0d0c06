#pragma once
// The menu: items with an action and a key equivalent, loaded from the interface file
// MainMenu.plist among the host's own resources.

#include <string>

#include "base/types.h"

namespace moxi {

// Loads the interface file. False when it is missing or broken; `reason` says why.
bool LoadMenu(const std::string& path, std::string& reason);

// Performs the action of the item whose key equivalent is this key's text, or where that is not
// Latin the key's Latin character, with the modifier keys that are held now; false when there is
// none. A key that the menu has taken is the menu's until it is released, and does not repeat.
bool PerformKeyEquivalent(u8 code, const std::string& text);
// The same with these modifier keys held, for a key that the host keeps from the game.
bool PerformMenuKey(u8 code, const std::string& text, u32 modifiers);
// Whether the key opens and closes the panel. The panel is no business of the game, so its key is
// taken before anything else.
bool IsPanelKey(u8 code, const std::string& text, u32 modifiers);
void ReleaseMenuKey(u8 code);
// Another modifier key has gone down: what comes is a new combination.
void ReleaseMenuKeys();

void ResetMenu();

}  // namespace moxi
