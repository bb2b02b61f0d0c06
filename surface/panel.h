#pragma once
// The panel: the player's preferences over the paused game, or over the shelf. What is changed
// holds at once, and is saved when the panel closes.

#include "host/surface.h"

namespace moxi {

struct PanelOptions {
    bool noSound = false;  // the run has no sound device, whatever the player chooses
    bool moves = false;    // it may fade in, which takes time that a headless run has not
    bool onShelf = false;  // there is no game to be paused and to have preferences of its own
};

void StartPanel(const PanelOptions& options);

void TogglePanel();
void ClosePanel();
bool PanelIsOpen();
void PanelInput(const SurfaceInput& input);
// Draws it and shows it.
void DrawPanel();

void ResetPanel();

}  // namespace moxi
