#include "surface/shelf.h"

#include <algorithm>
#include <filesystem>

#include "desktop/desktop.h"
#include "host/bundle.h"
#include "host/game_info.h"
#include "host/gamepad.h"
#include "host/preferences.h"
#include "host/surface.h"
#include "host/view.h"
#include "host/window_place.h"
#include "surface/add_game.h"
#include "surface/panel.h"
#include "surface/shapes.h"
#include "surface/shown.h"
#include "surface/words.h"

namespace moxi {

namespace {

constexpr const char* kSearch = "search";
constexpr const char* kAdd = "add-game";
constexpr const char* kPreferences = "preferences";
constexpr Colour kGround = {17, 19, 24};
// How often is looked whether the game that was started has ended.
constexpr u64 kLookMicroseconds = 100'000;
constexpr u8 kTabKey = 0x30;
constexpr u8 kReturnKey = 0x24;

struct Shelf {
    ShelfActions actions = {};
    std::vector<ShelfGame> games;
    std::string search;
    std::string message;  // in the place of what is said of a game
    bool adding = false;
    std::string path;     // in the field, while adding
    std::string problem;  // with it
    std::string playing;  // the game's name
    TimerId look = 0;
    Surface surface;
    Canvas canvas;
    bool shift = false;
    bool command = false;
    bool option = false;
};

Shelf shelf;

// As large as the window has room for, and no smaller than the points of the view are.
double ScaleOf(ViewSize size) {
    const double point = static_cast<double>(size.width) / std::max(desktop.viewSize().width, 1);
    return SurfaceScale(size.width, size.height, preferences.largeText, std::max(point, 1.0));
}

const ShelfGame* GameOf(const std::string& path) {
    const auto found =
        std::find_if(shelf.games.begin(), shelf.games.end(),
                     [&path](const ShelfGame& game) { return game.record.path == path; });
    return found != shelf.games.end() ? &*found : nullptr;
}

// --- Controls

std::string FootText() {
    if (!shelf.message.empty()) {
        return shelf.message;
    }
    const ShelfGame* const game = GameOf(shelf.surface.focus);
    std::string about = game != nullptr ? AboutGame(*game) : "";
    if (!about.empty() || shelf.games.empty()) {
        return about;
    }
    return Words("Return plays, Delete takes a game off the shelf, typing searches");
}

void AddHead(Surface& surface, double margin) {
    constexpr double kButton = 150;
    constexpr double kPreferencesButton = 116;
    // Where there is no room for the button there is still its key.
    const bool hasPreferences = surface.width >= 500;
    const double buttons = kButton + (hasPreferences ? kPreferencesButton + 4 : 0);
    Control& search = AddControl(surface, Role::Field, kSearch, Words("Search"));
    search.part = Part::Head;
    search.value = shelf.search;
    search.detail = search.name;
    const double right = surface.width - margin;
    const double most = right - buttons - margin - 110;
    const double width = std::min(320.0, std::max(most, 80.0));
    search.box = {right - buttons - 4 - width, margin, width, kControlHeight};
    if (hasPreferences) {
        Control& panel = AddControl(surface, Role::Button, kPreferences, Words("Preferences"));
        panel.part = Part::Head;
        panel.box = {right - buttons, margin + 2, kPreferencesButton, kControlHeight - 4};
    }
    Control& add = AddControl(surface, Role::Button, kAdd, Words("Add a game..."));
    add.part = Part::Head;
    add.box = {right - kButton, margin + 2, kButton, kControlHeight - 4};
    surface.title = Words("Games");
    surface.titleBox = {margin + 4, margin, std::max(search.box.x - margin - 4, 0.0),
                        kControlHeight};
}

void BuildGrid(ViewSize size) {
    Surface& surface = shelf.surface;
    BeginControls(surface, size.width, size.height, ScaleOf(size));
    const double margin = surface.width < 500 ? 8 : 16;
    constexpr double kFoot = 30;
    AddHead(surface, margin);
    surface.frame = {};
    const double top = margin + kControlHeight + 10;
    surface.view = {margin, top, surface.width - 2 * margin - 6,
                    std::max(surface.height - top - kFoot, 20.0)};
    const std::vector<const ShelfGame*> games = GamesFor(shelf.games, shelf.search);
    AddCards(surface, games, desktop.localDateTime());
    if (games.empty()) {
        Control& none = AddControl(
            surface, Role::Note, "none",
            shelf.games.empty()
                ? Words("There is no game yet. Drop a game's folder or archive on this window.")
                : Words("No game has these words."));
        none.lines = WrapText({.size = kSmallTextSize}, none.name, surface.view.width - 2 * kPad);
        none.box = {0, 0, surface.view.width, 80};
        surface.bodyHeight = 80;
    }
    EndControls(surface);
    Control& foot = AddControl(surface, Role::Label, "about", FootText());
    foot.part = Part::Foot;
    foot.lines = {foot.name};
    foot.box = {margin - kPad + 4, surface.height - kFoot,
                surface.width - 2 * margin + 2 * kPad - 8, kFoot};
}

void Build(ViewSize size) {
    if (shelf.adding) {
        return BuildAddGame(shelf.surface, size.width, size.height, ScaleOf(size), shelf.path,
                            shelf.problem);
    }
    BuildGrid(size);
}

void PaintPlaying() {
    const Surface& surface = shelf.surface;
    Darken(shelf.canvas, 0.6);
    std::string text = Words("Playing %1");
    text.replace(text.find("%1"), 2, shelf.playing);
    const double s = surface.scale;
    const TextLook look = {.size = kTitleSize * s, .bold = true};
    const double room = shelf.canvas.width - 40 * s;
    const double width = std::min(TextWidth(look, text), room);
    PaintText(shelf.canvas, (shelf.canvas.width - width) / 2, shelf.canvas.height / 2.0, room, look,
              text, {255, 255, 255});
}

void Draw() {
    const ViewSize size = desktop.windowPixels();
    if (size.width <= 0 || size.height <= 0) {
        return;
    }
    if (PanelIsOpen()) {
        return DrawPanel();
    }
    Build(size);
    ResizeCanvas(shelf.canvas, size.width, size.height);
    FillBox(shelf.canvas, shelf.canvas.clip, kGround);
    PaintSurface(shelf.surface, shelf.canvas);
    if (!shelf.playing.empty()) {
        PaintPlaying();
    }
    ShowSurface(shelf.surface, shelf.canvas);
}

// --- What the player wants

void ReadGames() {
    shelf.games = shelf.actions.games();
}

void LookForEnd() {
    if (shelf.actions.isPlaying()) {
        return;
    }
    desktop.stopTimer(shelf.look);
    shelf.look = 0;
    shelf.playing.clear();
    ReadGames();
    shelf.surface.scroll = 0;
    desktop.showWindow();
    Draw();
}

void Play(const ShelfGame& game) {
    shelf.message = InPlayersWords(shelf.actions.play(game.record.path));
    if (!shelf.message.empty() || !shelf.actions.isPlaying()) {
        return;
    }
    shelf.playing = game.record.name;
    shelf.look = desktop.startTimer(kLookMicroseconds, LookForEnd);
}

void Remove(const ShelfGame& game) {
    std::string message = Words("%1 is off the shelf. Its files are where they were.");
    const size_t at = message.find("%1");
    if (at != std::string::npos) {
        message.replace(at, 2, game.record.name);
    }
    // The focus goes to the game beside it.
    const auto& controls = shelf.surface.controls;
    std::string next;
    for (size_t i = 0; i < controls.size(); ++i) {
        if (controls[i].id != game.record.path) {
            continue;
        }
        if (i + 1 < controls.size() && controls[i + 1].card) {
            next = controls[i + 1].id;
        }
        if (next.empty() && i > 0 && controls[i - 1].card) {
            next = controls[i - 1].id;
        }
    }
    const std::string path = game.record.path;
    shelf.actions.remove(path);
    std::erase_if(shelf.games,
                  [&path](const ShelfGame& other) { return other.record.path == path; });
    shelf.surface.focus = next;
    shelf.message = message;
}

// Gives a field the focus, with the caret at its text's end.
void FocusField(const char* id) {
    shelf.surface.focus = id;
    if (Control* const field = FindControl(shelf.surface, id)) {
        field->caret = std::string::npos;
    }
}

void Search(const std::string& text) {
    shelf.search = text;
    shelf.surface.scroll = 0;
}

void OpenAdding(const std::string& path) {
    shelf.adding = true;
    shelf.path = path;
    shelf.problem.clear();
    shelf.surface.scroll = 0;
    FocusField(kPathField);
}

void CloseAdding() {
    shelf.adding = false;
    shelf.surface.scroll = 0;
    shelf.surface.focus = kAdd;
}

void AddGame(const std::string& path) {
    const std::string plain = PlainPath(path);
    shelf.problem = InPlayersWords(shelf.actions.add(plain));
    if (!shelf.problem.empty()) {
        if (!shelf.adding) {
            shelf.message = shelf.problem;
        }
        return;
    }
    CloseAdding();
    shelf.search.clear();
    shelf.message.clear();
    ReadGames();
    std::error_code error;
    shelf.surface.focus = std::filesystem::canonical(plain, error);
}

const ShelfGame* FirstFound() {
    const std::vector<const ShelfGame*> found = GamesFor(shelf.games, shelf.search);
    return found.empty() ? nullptr : found.front();
}

void DoInGrid(const Want& want) {
    const ShelfGame* game = GameOf(want.id);
    switch (want.kind) {
        case WantKind::Press:
            if (want.id == kAdd) {
                return OpenAdding("~/");
            }
            if (want.id == kPreferences) {
                return TogglePanel();
            }
            if (want.id == kSearch) {
                game = FirstFound();
            }
            if (game != nullptr) {
                Play(*game);
            }
            return;
        case WantKind::Change: return Search(FindControl(shelf.surface, kSearch)->value);
        case WantKind::Delete:
            if (game != nullptr) {
                Remove(*game);
            }
            return;
        case WantKind::Type:
            FocusField(kSearch);
            if (want.text.empty() || static_cast<u8>(want.text[0]) < ' ') {
                return;
            }
            return Search(shelf.search + want.text);
        case WantKind::Leave:
            Search("");
            shelf.surface.focus.clear();
            return;
        case WantKind::Nothing: return;
    }
}

void DoInAdding(const Want& want) {
    switch (want.kind) {
        case WantKind::Press:
            if (want.id == kCancelButton) {
                return CloseAdding();
            }
            if (want.id == kAddButton || want.id == kPathField) {
                return AddGame(shelf.path);
            }
            // A completion: a folder is gone into, a file is added.
            shelf.path = want.id;
            shelf.surface.scroll = 0;
            if (want.id.back() != '/') {
                return AddGame(shelf.path);
            }
            FocusField(kPathField);
            return;
        case WantKind::Change:
            shelf.path = FindControl(shelf.surface, kPathField)->value;
            shelf.problem.clear();
            return;
        case WantKind::Leave: return CloseAdding();
        default: return;
    }
}

// The Tab key in the field goes on with the path, as in a terminal.
bool CompletePath(const SurfaceInput& input) {
    const bool isTab = input.kind == SurfaceInputKind::KeyDown && input.code == kTabKey;
    if (!shelf.adding || !isTab || input.shift || shelf.surface.focus != kPathField) {
        return false;
    }
    const std::string completed = Completed(shelf.path);
    if (completed == shelf.path) {
        return false;
    }
    shelf.path = completed;
    FocusField(kPathField);
    return true;
}

void Take(SurfaceInput input) {
    if (!shelf.playing.empty()) {
        return;
    }
    input.shift = shelf.shift;
    input.command = shelf.command;
    input.option = shelf.option;
    if (PanelIsOpen()) {
        PanelInput(input);
    } else if (!CompletePath(input)) {
        const Want want = HandleInput(shelf.surface, input);
        if (want.kind != WantKind::Nothing) {
            shelf.message.clear();
        }
        if (shelf.adding) {
            DoInAdding(want);
        } else {
            DoInGrid(want);
        }
    }
    Draw();
}

// --- Events

void Key(u8 code, const std::string& text) {
    // The menu's key equivalents that a shelf has.
    if (shelf.command && (text == "q" || text == "Q")) {
        return desktop.terminate();
    }
    if (shelf.command && (text == "w" || text == "W")) {
        return desktop.closeWindow();
    }
    if (shelf.command && text == "," && shelf.playing.empty()) {
        TogglePanel();
        return Draw();
    }
    if (shelf.option && code == kReturnKey) {
        return desktop.toggleFullScreen();
    }
    Take({.kind = SurfaceInputKind::KeyDown, .code = code, .text = text});
}

// The guide button opens the panel, as it does in a game.
void Pad(PadButton button, bool down) {
    if (button != PadButton::Guide) {
        return PadButtonChanged(button, down);
    }
    if (down && shelf.playing.empty()) {
        TogglePanel();
        Draw();
    }
}

void Launch() {
    ReadGames();
    SetWindowIcon(OwnResource("moxi.png"));
    desktop.showWindow();
    RestoreWindowPlace(desktop.setWindowFrame);
    Draw();
}

// Enlarged by the desktop's density, a screen may have fewer points than the window would like.
WindowFrame FirstFrame() {
    constexpr i32 kTitleBar = 32;
    WindowFrame frame = {100, 100, 1000, 600};
    const std::vector<Screen> screens = desktop.screens();
    if (screens.empty()) {
        return frame;
    }
    const WindowFrame& room = screens.front().visibleFrame;
    frame.width = std::min(frame.width, room.width);
    frame.height = std::min(frame.height, std::max(room.height - kTitleBar, 1));
    frame.x = std::min(frame.x, room.x + room.width - frame.width);
    frame.y = std::min(frame.y, std::max(room.y + room.height - kTitleBar - frame.height, room.y));
    return frame;
}

}  // namespace

DesktopEvents EventsOfShelf(const ShelfActions& actions) {
    shelf.actions = actions;
    DesktopEvents events = desktopEvents;
    events.didFinishLaunching = Launch;
    events.windowWillClose = NoteLastWindowPlace;
    events.windowWillEnterFullScreen = NoteWindowPlace;
    events.windowDidResize = [] { Draw(); };
    events.viewFrameDidChange = [] { Draw(); };
    events.drawRect = [](ViewRect) { Draw(); };
    events.expose = [](ViewRect) { Draw(); };
    events.keyDown = Key;
    events.textInput = [](const std::string& text) {
        Take({.kind = SurfaceInputKind::Text, .text = text});
    };
    events.flagsChanged = [](bool shift, bool command, bool option) {
        shelf.shift = shift;
        shelf.command = command;
        shelf.option = option;
    };
    events.mouseDown = [](u32 button, i32 x, i32 y, i32) {
        Take({.kind = SurfaceInputKind::PointerDown, .x = x, .y = y, .button = button});
    };
    events.mouseUp = [](u32 button, i32 x, i32 y) {
        Take({.kind = SurfaceInputKind::PointerUp, .x = x, .y = y, .button = button});
    };
    events.mouseMoved = [](i32 x, i32 y) {
        Take({.kind = SurfaceInputKind::PointerMove, .x = x, .y = y});
    };
    events.mouseDragged = [](u32, i32 x, i32 y) {
        Take({.kind = SurfaceInputKind::PointerMove, .x = x, .y = y});
    };
    events.scrollWheel = [](double, double deltaY, i32 x, i32 y) {
        constexpr double kDeltaOfNotch = 0.1;
        Take({.kind = SurfaceInputKind::Wheel, .x = x, .y = y, .wheel = deltaY / kDeltaOfNotch});
    };
    events.padButton = Pad;
    events.padAxis = PadAxisChanged;
    events.fileDropped = [](const std::string& path) {
        if (!shelf.playing.empty()) {
            return;
        }
        ClosePanel();
        shelf.message.clear();
        AddGame(path);
        Draw();
    };
    events.screenshot = WriteScreenshot;
    return events;
}

void StartShelf() {
    UseSurfacePadMap(true);
    StartPanel({.onShelf = true});
    desktop.createWindow(FirstFrame());
    desktop.setWindowTitle("MOXI");
}

}  // namespace moxi
