// The loop of a game: messages in, updates at a fixed rate, pictures out.

#include "game.h"

#include <string.h>

enum { kTick = 8, kMostUpdates = 5, kKeys = 256, kTextRoom = 64 };

// --- Input. What happens between two updates belongs to the later one.

typedef struct {
    bool held[kKeys], pressed[kKeys], released[kKeys];
} switches;

static switches keys;
static switches buttons;
static char typed[kTextRoom];
static int wheel;
static int pointerX, pointerY;

static bool IsCode(int code) {
    return code > 0 && code < kKeys;
}

static void Press(switches* all, int code) {
    if (!IsCode(code)) return;
    // A key that repeats has been pressed once.
    if (!all->held[code]) all->pressed[code] = true;
    all->held[code] = true;
}

static void Release(switches* all, int code) {
    if (!IsCode(code)) return;
    if (all->held[code]) all->released[code] = true;
    all->held[code] = false;
}

static void ForgetChanges(void) {
    memset(keys.pressed, 0, sizeof keys.pressed);
    memset(keys.released, 0, sizeof keys.released);
    memset(buttons.pressed, 0, sizeof buttons.pressed);
    memset(buttons.released, 0, sizeof buttons.released);
    typed[0] = 0;
    wheel = 0;
}

bool key_held(int key) {
    return IsCode(key) && keys.held[key];
}
bool key_pressed(int key) {
    return IsCode(key) && keys.pressed[key];
}
bool key_released(int key) {
    return IsCode(key) && keys.released[key];
}
bool mouse_held(int button) {
    return IsCode(button) && buttons.held[button];
}
bool mouse_pressed(int button) {
    return IsCode(button) && buttons.pressed[button];
}
bool mouse_released(int button) {
    return IsCode(button) && buttons.released[button];
}
int mouse_wheel(void) {
    return wheel;
}
const char* typed_text(void) {
    return typed;
}

float mouse_x(void) {
    int x = pointerX, y = pointerY;
    ToCanvas(&x, &y);
    return (float)x;
}

float mouse_y(void) {
    int x = pointerX, y = pointerY;
    ToCanvas(&x, &y);
    return (float)y;
}

static void PointAt(int p3) {
    pointerX = MOXI_POSITION_X(p3);
    pointerY = MOXI_POSITION_Y(p3);
}

// Buttons 1, 2 and 4 have codes that no key has; the others and the wheel lie beyond 256.
static bool IsMouse(int code) {
    return code == MOUSE_LEFT || code == MOUSE_RIGHT || code == MOUSE_MIDDLE || code >= kKeys;
}

static void OnDown(int code, int p2, int p3) {
    if (IsMouse(code)) PointAt(p3);
    if (code == MOXI_WHEEL) wheel += p2;
    Press(IsMouse(code) ? &buttons : &keys, code);
}

static void OnUp(int code, int p3) {
    if (IsMouse(code)) PointAt(p3);
    Release(IsMouse(code) ? &buttons : &keys, code);
}

static void OnCharacters(int p1, int p2) {
    char text[9] = {0};
    memcpy(text, &p1, 4);
    memcpy(text + 4, &p2, 4);
    // Control characters are keys, not text.
    if ((unsigned char)text[0] < 32 || text[0] == 127) return;
    if (strlen(typed) + strlen(text) < kTextRoom) strcat(typed, text);
}

// --- Time

static bool isSetUp, isMinimized, needsPicture;
static uint32_t lastReading;
static uint32_t owed;  // milliseconds and their 60ths: an update is due for each 1,000
static uint32_t updates;
static int viewWidth;
static enum { kAsItIs, kWindowed, kFull } fullScreenWanted;

float game_time(void) {
    return (float)updates * GAME_STEP;
}

static void Update(void) {
    UpdateTimers();
    UpdateTweens();
    UpdateSpecks();
    update();
    UpdateCamera();
    ++updates;
    ForgetChanges();
    needsPicture = true;
}

static void Show(void) {
    if (!needsPicture || viewWidth <= 0) return;
    needsPicture = false;
    BeginDrawing();
    draw();
    Present();
}

static void OnSize(int width, int height) {
    viewWidth = width;
    SetViewSize(width, height);
    needsPicture = true;
    if (!isSetUp) {
        isSetUp = true;
        setup();
        lastReading = moxi_milliseconds();
        moxi_timer(kTick);
    }
    Show();
}

void game_title(const char* title) {
    moxi_window_title(title);
}

// A program that has one of its own replaces it.
__attribute__((weak)) void setup_window(void) {}

// In the middle of what the desktop leaves free.
void game_window(int width, int height) {
    const moxi_size room = moxi_visible_size();
    moxi_window window = {0};
    window.width = width < room.width ? width : room.width;
    window.height = height < room.height ? height : room.height;
    window.x = (room.width - window.width) / 2;
    window.y = (room.height - window.height) / 2;
    moxi_set_window(&window);
}

bool game_is_full_screen(void) {
    moxi_window window;
    moxi_get_window(&window);
    return window.full_screen != 0;
}

void game_full_screen(bool full) {
    fullScreenWanted = full ? kFull : kWindowed;
}

// Not at once: before the first size has come, full screen is lost again.
static void SwitchFullScreen(void) {
    const int wanted = fullScreenWanted;
    fullScreenWanted = kAsItIs;
    moxi_window window;
    moxi_get_window(&window);
    if (wanted == kAsItIs || (window.full_screen != 0) == (wanted == kFull)) return;
    window.full_screen = wanted == kFull;
    moxi_set_window(&window);
}

static void (*ending)(void);

void game_ending(void (*call)(void)) {
    ending = call;
}

// The window asks more than once.
static void End(void) {
    void (*const call)(void) = ending;
    ending = NULL;
    if (call != NULL) call();
}

void game_quit(void) {
    End();
    moxi_stop();
}

// A game that was held up does not hurry for long to catch up.
static void OnTick(void) {
    const uint32_t reading = moxi_milliseconds();
    const uint32_t gone = reading - lastReading;
    lastReading = reading;
    if (!isSetUp || isMinimized) return;
    if (fullScreenWanted != kAsItIs) SwitchFullScreen();
    owed += (gone < 1000 ? gone : 1000) * GAME_RATE;
    for (int i = 0; i < kMostUpdates && owed >= 1000; ++i) {
        owed -= 1000;
        Update();
    }
    if (owed >= 1000) owed %= 1000;
    Show();
}

// Exported under the name that the machine looks for, but defined under another: a program without
// a game must not find it in the library.
__attribute__((export_name("moxi_message"))) int moxi_game_message(int message, int p1, int p2,
                                                                   int p3) {
    switch (message) {
        case MOXI_MSG_START1: setup_window(); break;
        case MOXI_MSG_CLOSE: End(); return 1;
        case MOXI_MSG_SIZE: OnSize(p1, p2); break;
        case MOXI_MSG_MINIMIZE: isMinimized = p1 != 0; break;
        case MOXI_MSG_TICK: OnTick(); break;
        case MOXI_MSG_DOWN: OnDown(p1, p2, p3); break;
        case MOXI_MSG_UP: OnUp(p1, p3); break;
        case MOXI_MSG_CHAR: OnCharacters(p1, p2); break;
        case MOXI_MSG_POINTER:
            pointerX = p1;
            pointerY = p2;
            break;
        case MOXI_MSG_MUSICDONE: MusicDone(); break;
        default: break;
    }
    return 0;
}
