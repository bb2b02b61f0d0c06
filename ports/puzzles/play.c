#include "play.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bars.h"
#include "chooser.h"
#include "dialogue.h"
#include "help.h"
#include "preferences.h"
#include "saving.h"

board* played;
int playedIndex = -1;

static bool hasGame;
static box place;       // where the picture is on the window
static int heldButton;  // LEFT_BUTTON and so on while it is held on the puzzle, else 0
static int dialogueKind;

// Making a game can take a while. It is put off to the next tick, when the window says so.
static enum { kNothing, kNewGame, kSolve } pending;

bool HasBoard(void) {
    return played != NULL && hasGame;
}

// --- On the window

void LayOutPlay(void) {
    if (played == NULL || window.bitmap == 0) return;
    LayOutBars();
    if (hasGame) {
        const box room = Inset(PuzzleRoom(), unit / 2);
        FitBoard(played, room.right - room.left, room.bottom - room.top);
        const surface* const picture = &played->picture;
        place.left = (room.left + room.right - picture->width) / 2;
        place.top = (room.top + room.bottom - picture->height) / 2;
        place.right = place.left + picture->width;
        place.bottom = place.top + picture->height;
    }
    Redraw();
}

void RecolourPlay(void) {
    if (played == NULL) return;
    RecolourBoard(played);
    LayOutPlay();
}

void MapPlay(void) {
    if (played != NULL) MapBoard(played);
}

static void Draw(void) {
    FillBox((box){0, 0, window.width, window.height},
            played != NULL ? BoardGround(played) : theme.ground);
    if (HasBoard()) {
        TakeDirty(played);
        CopySurface(&window, place.left, place.top, &played->picture,
                    (box){0, 0, played->picture.width, played->picture.height});
    }
    DrawBars(pending != kNothing ? "One moment\xE2\x80\xA6" : NULL);
}

void ShowPlay(void) {
    if (!HasBoard() || !IsOnTop(&playView)) return;
    const box dirty = TakeDirty(played);
    if (dirty.right > dirty.left) {
        CopySurface(&window, place.left + dirty.left, place.top + dirty.top, &played->picture,
                    dirty);
        Present((box){place.left + dirty.left, place.top + dirty.top, place.left + dirty.right,
                      place.top + dirty.bottom});
    }
    if (BarsHaveChanged()) PresentBars();
}

// --- The game

void KeepPlay(void) {
    if (HasBoard()) SaveGame(played, playedIndex);
}

static void MakeGame(void) {
    midend_new_game(played->me);
    hasGame = true;
    LayOutPlay();
    KeepPlay();
}

static void PutOff(int what) {
    pending = what;
    Redraw();
}

static void Solve(void) {
    const char* const wrong = midend_solve(played->me);
    if (wrong != NULL) OpenNotice("Solve", wrong, "OK", NULL);
    KeepPlay();
}

static void FinishPending(void) {
    const int what = pending;
    pending = kNothing;
    if (what == kNewGame) MakeGame();
    if (what == kSolve) Solve();
    if (what != kNothing) Redraw();
}

static void Title(void) {
    char title[96];
    snprintf(title, sizeof title, "%s \xE2\x80\x93 Puzzles", catalogue[playedIndex].name);
    moxi_window_title(title);
}

void OpenPuzzle(int index) {
    if (played == NULL || playedIndex != index) {
        KeepPlay();
        FreeBoard(played);
        played = NewBoard(gamelist[index]);
        playedIndex = index;
        pending = kNothing;
        heldButton = 0;
        hasGame = LoadGame(played, index) == NULL;
        if (!hasGame) {
            // A file that could not be read may have left something behind.
            FreeBoard(played);
            played = NewBoard(gamelist[index]);
            PutOff(kNewGame);
        }
    }
    kept.last = index;
    SavePreferences();
    Title();
    ShowView(&playView);
    LayOutPlay();
    played->lastTime = moxi_milliseconds();
}

static void Leave(void) {
    KeepPlay();
    kept.last = -1;
    SavePreferences();
    moxi_window_title("Puzzles");
    SelectPuzzle(playedIndex);
    ShowView(&chooserView);
}

void PlayKey(int button) {
    if (!HasBoard() || pending != kNothing) return;
    bool handled = false;
    if (!midend_process_key(played->me, 0, 0, button, &handled)) {
        Leave();
        return;
    }
    KeepPlay();
}

// --- Actions

static const char* AcceptConfiguration(config_item* items) {
    const char* const wrong = midend_set_config(played->me, dialogueKind, items);
    if (wrong == NULL) PutOff(kNewGame);
    return wrong;
}

static void Configure(int kind) {
    char* title;
    dialogueKind = kind;
    config_item* const items = midend_get_config(played->me, kind, &title);
    OpenDialogue(title, items, AcceptConfiguration);
    sfree(title);
}

static void Copy(char* text) {
    if (text == NULL) return;
    moxi_write_clipboard(text);
    sfree(text);
}

static void Paste(void) {
    enum { kRoom = 1 << 16 };
    char* const text = calloc(1, kRoom);
    moxi_read_clipboard(text, kRoom);
    char* start = text;
    start += strspn(start, " \t\r\n");
    start[strcspn(start, " \t\r\n")] = 0;
    const char* const wrong =
        *start == 0 ? "The clipboard holds no game." : midend_game_id(played->me, start);
    if (wrong != NULL) {
        OpenNotice("Paste a game", wrong, "OK", NULL);
    } else {
        PutOff(kNewGame);
    }
    free(text);
}

static void ChoosePreset(int number) {
    struct preset_menu* const presets = midend_get_presets(played->me, NULL);
    game_params* const params = preset_menu_lookup_by_id(presets, number);
    if (params == NULL) return;
    midend_set_params(played->me, params);
    PutOff(kNewGame);
}

void ToggleFullScreen(void) {
    moxi_window frame;
    moxi_get_window(&frame);
    frame.full_screen = !frame.full_screen;
    moxi_set_window(&frame);
}

static void OpenMenus(int action) {
    if (action == kActTypes) OpenTypes();
    if (action == kActGame) OpenGameMenu();
}

static void DoGameAction(int action) {
    switch (action) {
        case kActNew: PutOff(kNewGame); break;
        case kActRestart:
            midend_restart_game(played->me);
            KeepPlay();
            break;
        case kActSolve: PutOff(kSolve); break;
        case kActUndo: PlayKey(UI_UNDO); break;
        case kActRedo: PlayKey(UI_REDO); break;
        case kActSettings: Configure(CFG_SETTINGS); break;
        case kActDescription: Configure(CFG_DESC); break;
        case kActSeed: Configure(CFG_SEED); break;
        case kActCopyId: Copy(midend_get_game_id(played->me)); break;
        case kActCopySeed: Copy(midend_get_random_seed(played->me)); break;
        case kActCopyText:
            if (midend_can_format_as_text_now(played->me)) Copy(midend_text_format(played->me));
            break;
        case kActPaste: Paste(); break;
        default: OpenMenus(action); break;
    }
}

void DoAction(int action) {
    Redraw();
    switch (action) {
        case kActChooser: Leave(); return;
        case kActHelp: OpenHelp(playedIndex); return;
        case kActPreferences: OpenPreferences(); return;
        case kActFullScreen: ToggleFullScreen(); return;
        case kActFavourite:
            kept.favourite[playedIndex] = !kept.favourite[playedIndex];
            SavePreferences();
            return;
        default: break;
    }
    if (!HasBoard() || pending != kNothing) return;
    if (action >= kActPreset) {
        ChoosePreset(action - kActPreset);
    } else {
        DoGameAction(action);
    }
}

// --- Mouse

static int ButtonFor(int button, int held) {
    if (button == MOXI_BUTTON_MIDDLE || (held & MOXI_HELD_SHIFT)) return MIDDLE_BUTTON;
    if (button == MOXI_BUTTON_RIGHT || (held & MOXI_HELD_OPTION)) return RIGHT_BUTTON;
    return LEFT_BUTTON;
}

static void Mouse(int x, int y, int button) {
    bool handled = false;
    if (!midend_process_key(played->me, x - place.left, y - place.top, button, &handled)) Leave();
}

static void Press(int x, int y, int button) {
    if (PressBars(x, y)) return;
    if (!HasBoard() || pending != kNothing || heldButton != 0 || !Inside(place, x, y)) return;
    heldButton = ButtonFor(button, (int)moxi_held_buttons(0xFFFF));
    Mouse(x, y, heldButton);
    KeepPlay();
}

static void Release(int x, int y, int button) {
    (void)button;
    if (heldButton == 0 || !HasBoard()) return;
    const int released = heldButton;
    heldButton = 0;
    Mouse(x, y, released - LEFT_BUTTON + LEFT_RELEASE);
    KeepPlay();
}

static void Point(int x, int y, int held) {
    (void)held;
    PointBars();
    if (heldButton != 0 && HasBoard()) Mouse(x, y, heldButton - LEFT_BUTTON + LEFT_DRAG);
}

static void Wheel(int x, int y, int direction) {
    if (kept.wheelUndoes && heldButton == 0 && Inside(PuzzleRoom(), x, y)) {
        PlayKey(direction > 0 ? UI_UNDO : UI_REDO);
    }
}

// --- Keys

static bool Shortcut(int code, int held) {
    switch (code) {
        case 'N': DoAction(kActNew); return true;
        case 'Z': DoAction(held & MOXI_HELD_SHIFT ? kActRedo : kActUndo); return true;
        case 'Y': DoAction(kActRedo); return true;
        case 'R': DoAction(kActRestart); return true;
        case 'L': DoAction(kActSolve); return true;
        case 'C': DoAction(held & MOXI_HELD_SHIFT ? kActCopySeed : kActCopyId); return true;
        case 'V': DoAction(kActPaste); return true;
        case 'T': DoAction(kActTypes); return true;
        case 'G': DoAction(kActGame); return true;
        case 'D': DoAction(kActFavourite); return true;
        case 'I': DoAction(kActDescription); return true;
        case 'E': DoAction(kActSettings); return true;
        case MOXI_KEY_COMMA:
        case 'P': DoAction(kActPreferences); return true;
        default: return false;
    }
}

// A key that games know by something else than its text, else 0.
static int GameKey(int code) {
    if (code >= MOXI_KEY_PAD_0 && code <= MOXI_KEY_PAD_9) {
        return MOD_NUM_KEYPAD | ('0' + code - MOXI_KEY_PAD_0);
    }
    switch (code) {
        case MOXI_KEY_UP: return CURSOR_UP;
        case MOXI_KEY_DOWN: return CURSOR_DOWN;
        case MOXI_KEY_LEFT: return CURSOR_LEFT;
        case MOXI_KEY_RIGHT: return CURSOR_RIGHT;
        case MOXI_KEY_RETURN: return CURSOR_SELECT;
        case MOXI_KEY_SPACE: return CURSOR_SELECT2;
        case MOXI_KEY_BACKSPACE: return '\b';
        case MOXI_KEY_DELETE: return '\177';
        case MOXI_KEY_TAB: return '\t';
        case MOXI_KEY_HOME: return MOD_NUM_KEYPAD | '7';
        case MOXI_KEY_END: return MOD_NUM_KEYPAD | '1';
        case MOXI_KEY_PAGE_UP: return MOD_NUM_KEYPAD | '9';
        case MOXI_KEY_PAGE_DOWN: return MOD_NUM_KEYPAD | '3';
        default: return 0;
    }
}

static bool Key(int code, int held) {
    if (code == MOXI_KEY_ESCAPE) {
        Leave();
        return true;
    }
    if (code == MOXI_KEY_F1) DoAction(kActHelp);
    if (code == MOXI_KEY_F1 + 1) DoAction(kActNew);
    if ((held & MOXI_HELD_COMMAND) && Shortcut(code, held)) return true;
    int button = GameKey(code);
    if (button == 0) return (held & MOXI_HELD_COMMAND) != 0;
    if (IS_CURSOR_MOVE(button) || IS_CURSOR_SELECT(button)) {
        if (held & MOXI_HELD_SHIFT) button |= MOD_SHFT;
        if (held & MOXI_HELD_COMMAND) button |= MOD_CTRL;
    }
    PlayKey(button);
    return true;
}

static void Typed(const char* text) {
    if (text[0] > ' ' && text[0] < 127 && text[1] == 0) PlayKey(text[0]);
}

// --- Time

static void Tick(void) {
    if (pending != kNothing) FinishPending();
    if (HasBoard()) StepBoard(played);
}

// While something else is on top, time stands still.
int PlayPeriod(void) {
    if (played == NULL) return 0;
    if (!IsOnTop(&playView)) {
        played->lastTime = moxi_milliseconds();
        return 0;
    }
    if (pending != kNothing) return 20;
    return played->timed ? 16 : 0;
}

const view playView = {
    .draw = Draw,
    .point = Point,
    .press = Press,
    .release = Release,
    .wheel = Wheel,
    .key = Key,
    .typed = Typed,
    .tick = Tick,
};
