#pragma once
// The menu: items with an action and a key equivalent, loaded from the interface file
// MainMenu.plist among the host's own resources.

#include <string>

// Loads the interface file. False when it is missing or broken; `reason` says why.
bool LoadMenu(const std::string& path, std::string& reason);

// Performs the action of the item whose key equivalent is this text with the modifier keys that
// are held now; false when there is none.
bool PerformKeyEquivalent(const std::string& text);

void ResetMenu();
