#include "host/menu.h"

#include <bitset>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <vector>

#include "base/output_files.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "host/keyboard.h"
#include "host/plist.h"
#include "host/preferences.h"
#include "host/surface.h"
#include "host/view.h"
#include "vm/diagnostics.h"

namespace moxi {

namespace {

struct Action {
    const char* name;
    void (*perform)();
};

// The view as a PNG in the user's pictures folder, named after the game and the time. A second one
// within the second, or within the hour that the clock is put back by, gets a number.
void SaveScreenshot() {
    const std::string folder = ScreenshotFolder();
    if (folder.empty()) {
        SystemLog("screenshot: there is no home folder to keep it in");
        return;
    }
    const DateTime now = desktop.localDateTime();
    const std::string name =
        folder + "/" +
        FormatText("MOXI %s %4.4u-%2.2u-%2.2u %2.2u.%2.2u.%2.2u", folders.gameName.c_str(),
                   now.year, now.month, now.day, now.hour, now.minute, now.second);
    // A new user has none yet; in the sandbox it is made by the helper that opens the file.
    std::error_code error;
    std::filesystem::create_directory(folder, error);
    constexpr u32 kMostOfASecond = 1000;
    std::string path = name + ".png";
    for (u32 i = 2; !outputFiles.makeNew(path) && errno == EEXIST && i < kMostOfASecond; ++i) {
        path = name + FormatText(" %u.png", i);
    }
    SystemLog(WriteScreenshot(path) ? "screenshot: " + path : "screenshot: cannot write " + path);
}

// Mutes or unmutes this run alone; the panel is where a choice is saved.
void ToggleMute() {
    SetPreferenceForRun("mute", preferences.mute ? "no" : "yes");
    audioOut.setMuted(preferences.mute);
}

void TogglePanel() {
    hostSlots.togglePanel();
}

constexpr Action kActions[] = {
    {"showPreferences:", TogglePanel},
    {"terminate:", [] { desktop.terminate(); }},
    {"performClose:", [] { desktop.closeWindow(); }},
    {"performMiniaturize:", [] { desktop.minimizeWindow(); }},
    {"toggleFullScreen:",
     [] {
         if (const auto whole = desktop.fittedScreen()) {
             desktop.setFittedScreen(!*whole);
         } else {
             desktop.toggleFullScreen();
         }
     }},
    {"toggleMute:", ToggleMute},
    {"saveScreenshot:", [] { SaveScreenshot(); }},
};

struct MenuItem {
    std::string title;
    void (*perform)() = nullptr;
    u32 modifiers = 0;  // of the button-and-modifier word
    std::string key;    // lower-case text
};

std::vector<MenuItem> menuItems;
// Keys that the menu has taken and that are still held.
constinit std::bitset<128> takenKeys;

std::string LowerCase(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

bool TakePrefix(std::string& text, const std::string& prefix) {
    if (text.rfind(prefix, 0) != 0) {
        return false;
    }
    text.erase(0, prefix.size());
    return true;
}

// "Command-Shift-M" into modifiers and key; an item may also have none.
void ParseKeyEquivalent(std::string text, MenuItem& item) {
    for (bool found = true; found;) {
        found = true;
        if (TakePrefix(text, "Command-")) {
            item.modifiers |= kCommandBit;
        } else if (TakePrefix(text, "Shift-")) {
            item.modifiers |= kShiftBit;
        } else if (TakePrefix(text, "Option-")) {
            item.modifiers |= kOptionBit;
        } else {
            found = false;
        }
    }
    item.key = text == "Return" ? "\r" : LowerCase(text);
}

bool ParseItem(pugi::xml_node dictionary, MenuItem& item, std::string& reason) {
    const auto title = PlistString(dictionary, "Title");
    const auto action = PlistString(dictionary, "Action");
    if (!title || !action) {
        reason = "a menu item lacks its title or action";
        return false;
    }
    item.title = *title;
    for (const Action& known : kActions) {
        if (*action == known.name) {
            item.perform = known.perform;
        }
    }
    if (item.perform == nullptr) {
        reason = "unknown action " + *action;
        return false;
    }
    ParseKeyEquivalent(PlistString(dictionary, "KeyEquivalent").value_or(""), item);
    return true;
}

// The item that has this key equivalent; null when there is none.
const MenuItem* ItemOfKey(u8 code, const std::string& text, u32 modifiers) {
    const std::string key = LowerCase(text);
    // Asked for only where it can matter: the layouts may have to be read for it.
    const std::string latin =
        modifiers != 0 && !text.empty() ? LowerCase(desktop.latinText(code, text)) : key;
    for (const MenuItem& item : menuItems) {
        if (item.key.empty() || item.modifiers != modifiers) {
            continue;
        }
        if (item.key == key || item.key == latin) {
            return &item;
        }
    }
    return nullptr;
}

}  // namespace

bool LoadMenu(const std::string& path, std::string& reason) {
    pugi::xml_document document;
    pugi::xml_node dictionary;
    if (!LoadPlist(path, document, dictionary)) {
        reason = "it is missing or no property list";
        return false;
    }
    if (PlistString(dictionary, "ApplicationDelegate") != "moxiAppDelegate") {
        reason = "it names no known application delegate";
        return false;
    }
    std::vector<MenuItem> items;
    for (const pugi::xml_node child : PlistValue(dictionary, "Menu").children("dict")) {
        MenuItem item;
        if (!ParseItem(child, item, reason)) {
            return false;
        }
        items.push_back(item);
    }
    menuItems = items;
    return true;
}

bool PerformKeyEquivalent(u8 code, const std::string& text) {
    const size_t place = code & 127;
    if (takenKeys.test(place)) {
        return true;
    }
    const u32 held = buttonsAndModifiers & (kShiftBit | kCommandBit | kOptionBit);
    if (!PerformMenuKey(code, text, held)) {
        return false;
    }
    takenKeys.set(place);
    return true;
}

bool PerformMenuKey(u8 code, const std::string& text, u32 modifiers) {
    const MenuItem* const item = ItemOfKey(code, text, modifiers);
    if (item == nullptr) {
        return false;
    }
    item->perform();
    return true;
}

bool IsPanelKey(u8 code, const std::string& text, u32 modifiers) {
    // A key without modifier keys is the game's, and need not be looked up among the items.
    if (modifiers == 0) {
        return false;
    }
    const MenuItem* const item = ItemOfKey(code, text, modifiers);
    return item != nullptr && item->perform == TogglePanel;
}

void ReleaseMenuKey(u8 code) {
    takenKeys.reset(code & 127);
}

void ReleaseMenuKeys() {
    takenKeys.reset();
}

void moxiView::keyDown(u8 code, const std::string& text) {
    if (!PerformKeyEquivalent(code, text)) {
        KeyDown(code, text);
    }
}

void moxiView::keyUp(u8 code, const std::string& text) {
    ReleaseMenuKey(code);
    KeyUp(code, text);
}

void moxiView::flagsChanged(bool shift, bool command, bool option) {
    const u32 now =
        (shift ? kShiftBit : 0) | (command ? kCommandBit : 0) | (option ? kOptionBit : 0);
    if ((now & ~buttonsAndModifiers) != 0) {
        ReleaseMenuKeys();
    }
    FlagsChanged(shift, command, option);
}

void ResetMenu() {
    menuItems.clear();
    takenKeys.reset();
}

}  // namespace moxi
