// Keys, buttons and the pointer as the engine's events.

#include "moxi_parts.h"

#include "config.h"

#include "d_event.h"
#include "doomkeys.h"
#include "doomstat.h"
#include "engine.h"
#include "i_input.h"
#include "i_timer.h"
#include "i_video.h"
#include "m_config.h"
#include "m_controls.h"
#include "m_menu.h"

int vanilla_keyboard_mapping = 1;
float mouse_acceleration = 2.0f;
int mouse_threshold = 10;
// The pointer cannot be held fast, and a player who points at things does not want to walk by it.
static int novert = 1;

// --- Keys

typedef struct {
    short code, key;
} keyRow;

static const keyRow keyRows[] = {
    {MOXI_KEY_BACKSPACE, KEY_BACKSPACE},
    {MOXI_KEY_TAB, KEY_TAB},
    {MOXI_KEY_RETURN, KEY_ENTER},
    {MOXI_KEY_SHIFT, KEY_RSHIFT},
    {MOXI_KEY_COMMAND, KEY_RCTRL},
    {MOXI_KEY_OPTION, KEY_RALT},
    {MOXI_KEY_CAPS_LOCK, KEY_CAPSLOCK},
    {MOXI_KEY_ESCAPE, KEY_ESCAPE},
    {MOXI_KEY_SPACE, ' '},
    {MOXI_KEY_PAGE_UP, KEY_PGUP},
    {MOXI_KEY_PAGE_DOWN, KEY_PGDN},
    {MOXI_KEY_END, KEY_END},
    {MOXI_KEY_HOME, KEY_HOME},
    {MOXI_KEY_LEFT, KEY_LEFTARROW},
    {MOXI_KEY_UP, KEY_UPARROW},
    {MOXI_KEY_RIGHT, KEY_RIGHTARROW},
    {MOXI_KEY_DOWN, KEY_DOWNARROW},
    {MOXI_KEY_INSERT, KEY_INS},
    {MOXI_KEY_DELETE, KEY_DEL},
    {MOXI_KEY_PAD_TIMES, KEYP_MULTIPLY},
    {MOXI_KEY_PAD_PLUS, KEYP_PLUS},
    {MOXI_KEY_PAD_MINUS, KEYP_MINUS},
    {MOXI_KEY_PAD_POINT, KEYP_PERIOD},
    {MOXI_KEY_PAD_DIVIDE, KEYP_DIVIDE},
    {MOXI_KEY_F1 + 10, KEY_F11},
    {MOXI_KEY_NUM_LOCK, KEY_NUMLOCK},
    {MOXI_KEY_SEMICOLON, ';'},
    {MOXI_KEY_EQUALS, KEY_EQUALS},
    {MOXI_KEY_COMMA, ','},
    {MOXI_KEY_MINUS, KEY_MINUS},
    {MOXI_KEY_PERIOD, '.'},
    {MOXI_KEY_SLASH, '/'},
    {MOXI_KEY_BACKQUOTE, '`'},
    {MOXI_KEY_OPEN, '['},
    {MOXI_KEY_BACKSLASH, '\\'},
    {MOXI_KEY_CLOSE, ']'},
    {MOXI_KEY_QUOTE, '\''},
};

static const short padKeys[] = {KEYP_0, KEYP_1, KEYP_2, KEYP_3, KEYP_4,
                                KEYP_5, KEYP_6, KEYP_7, KEYP_8, KEYP_9};

// 0 for a key that the engine does not know.
static int KeyOf(int code) {
    if (code >= '0' && code <= '9') return code;
    if (code >= 'A' && code <= 'Z') return code - 'A' + 'a';
    if (code >= MOXI_KEY_PAD_0 && code <= MOXI_KEY_PAD_9) return padKeys[code - MOXI_KEY_PAD_0];
    if (code >= MOXI_KEY_F1 && code < MOXI_KEY_F1 + 10) return KEY_F1 + code - MOXI_KEY_F1;
    for (size_t i = 0; i < sizeof keyRows / sizeof *keyRows; ++i) {
        if (keyRows[i].code == code) return keyRows[i].key;
    }
    return 0;
}

// A press waits until the text that it types has come, which is the next message.
static event_t press;
static bool isPressed;

static void PostPress(void) {
    if (isPressed) D_PostEvent(&press);
    isPressed = false;
}

void KeyDown(int code) {
    PostPress();
    // The engine's use of F12, another player's eyes, needs another player.
    if (code == MOXI_KEY_F12) {
        ChangePixelShape();
        return;
    }
    const int key = KeyOf(code);
    press = (event_t){.type = ev_keydown, .data1 = key, .data2 = key};
    isPressed = key != 0;
}

void Typed(int character) {
    if (isPressed && character >= ' ' && character < 127) press.data3 = character;
    PostPress();
}

void KeyUp(int code) {
    PostPress();
    event_t event = {.type = ev_keyup, .data1 = KeyOf(code)};
    if (event.data1 != 0) D_PostEvent(&event);
}

// --- The mouse

enum { kWheelUp = 1 << 3, kWheelDown = 1 << 4 };
enum {
    kEdge = 24,          // pixels at the window's sides
    kEdgeTurn = 50,      // and how fast the player turns while the pointer is there
    kEdgeTics = 70,      // after the last move of the mouse
    kReach = 4,          // a window's width is most of a turn
    kLongestMove = 200,  // more is a pointer that has come back at another place
};

static int held;
static int pointerX = -1, pointerY;
static int movedX, movedY;
static int edgeTics;

static void PostButtons(int buttons) {
    event_t event = {.type = ev_mouse, .data1 = buttons};
    D_PostEvent(&event);
}

static int BitOf(int button) {
    if (button == MOXI_BUTTON_LEFT) return 1;
    if (button == MOXI_BUTTON_RIGHT) return 2;
    return button == MOXI_BUTTON_MIDDLE ? 4 : 0;
}

void ButtonDown(int button, int direction) {
    if (!usemouse) return;
    PostPress();
    if (button == MOXI_WHEEL) {
        PostButtons(held | (direction > 0 ? kWheelUp : kWheelDown));
        PostButtons(held);
        return;
    }
    held |= BitOf(button);
    PostButtons(held);
}

void ButtonUp(int button) {
    held &= ~BitOf(button);
    if (usemouse) PostButtons(held);
}

static bool IsMove(int distance) {
    return distance > -kLongestMove && distance < kLongestMove;
}

void PointerAt(int x, int y) {
    const int byX = x - pointerX, byY = y - pointerY;
    if (pointerX >= 0 && IsMove(byX) && IsMove(byY)) {
        movedX += byX;
        movedY += byY;
        edgeTics = kEdgeTics;
    }
    pointerX = x;
    pointerY = y;
}

// The pointer stops at the side of the screen, and the player turns on.
static int EdgeTurn(void) {
    if (edgeTics == 0) return 0;
    --edgeTics;
    if (pointerX < kEdge) return -kEdgeTurn;
    return pointerX >= ViewWidth() - kEdge ? kEdgeTurn : 0;
}

static int Accelerated(int distance) {
    if (distance < 0) return -Accelerated(-distance);
    if (distance <= mouse_threshold) return distance;
    return (int)((float)(distance - mouse_threshold) * mouse_acceleration) + mouse_threshold;
}

static bool IsPlaying(void) {
    return gamestate == GS_LEVEL && !demoplayback && !menuactive && !paused;
}

void GatherInput(void) {
    PostPress();
    if (IsPlaying() && usemouse) {
        const int x = Accelerated(movedX * kReach) + EdgeTurn();
        const int y = novert ? 0 : -Accelerated(movedY);
        event_t event = {.type = ev_mouse, .data1 = held, .data2 = x, .data3 = y};
        if (x != 0 || y != 0) D_PostEvent(&event);
    }
    movedX = movedY = 0;
}

// --- What the engine asks for

// Called before the settings are read: what stands here holds until they say otherwise.
void I_BindInputVariables(void) {
    mousebspeed = -1;
    mousebnextweapon = 3;
    mousebprevweapon = 4;
    M_BindFloatVariable("mouse_acceleration", &mouse_acceleration);
    M_BindIntVariable("mouse_threshold", &mouse_threshold);
    M_BindIntVariable("vanilla_keyboard_mapping", &vanilla_keyboard_mapping);
    M_BindIntVariable("novert", &novert);
}

void I_StartTextInput(int left, int top, int right, int bottom) {
    (void)left, (void)top, (void)right, (void)bottom;
}

void I_StopTextInput(void) {}
