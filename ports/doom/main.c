// The host's messages: the window, input, and the engine's pictures when their time has come.

#include "moxi_parts.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "config.h"

#include "d_loop.h"
#include "engine.h"
#include "i_timer.h"

// The host delivers a message every 5 ms: every other one is left for input.
enum { kTick = 10, kWidth = 960, kHeight = 720, kMostArguments = 64, kDeepestFolder = 64 };

static bool isStarted, isMinimized;

// --- Files

const char* PlayedName(const char* file) {
    static char name[MOXI_PATH_SIZE + 4 * kDeepestFolder];
    static char folder[MOXI_PATH_SIZE];
    // Up to the root of all folders, from wherever: nothing lies above it.
    name[0] = 0;
    for (int i = 0; i < kDeepestFolder; ++i) strcat(name, "../");
    moxi_data_folder(folder);
    const size_t length = strlen(name);
    snprintf(name + length, sizeof name - length, "%s%s", folder + 1, file);
    return name;
}

bool WriteData(const char* name, const void* bytes, size_t size) {
    const moxi_file file = moxi_file_open(name, MOXI_FILE_NEW);
    if (file == MOXI_NO_FILE) return false;
    const bool written = moxi_file_write(file, bytes, (uint32_t)size) == size;
    moxi_file_close(file);
    return written;
}

// --- Time

static uint32_t beginning;

int I_GetTimeMS(void) {
    return (int)(moxi_milliseconds() - beginning);
}

int I_GetTime(void) {
    return (int)((uint64_t)(moxi_milliseconds() - beginning) * TICRATE / 1000);
}

// Short waits are for the next tic, which is looked for again at once.
void I_Sleep(int milliseconds) {
    if (milliseconds < 10) return;
    moxi_wait((uint32_t)milliseconds / 10);
    moxi_wait(0);
}

void I_WaitVBL(int count) {
    I_Sleep(count * 1000 / 70);
}

void I_InitTimer(void) {
    beginning = moxi_milliseconds();
}

// --- Beginning and end

_Noreturn void FailProgram(const char* text) {
    fflush(stdout);
    moxi_show_message(text);
    exit(1);
}

_Noreturn void EndProgram(void) {
    fflush(stdout);
    moxi_stop();
}

// The lines of the resource ARGS.TXT, as for a program with a `main`.
static int ReadArguments(char** arguments) {
    static char text[4096];
    FILE* const file = fopen("ARGS.TXT", "r");
    if (file == NULL) return 0;
    const size_t size = fread(text, 1, sizeof text - 1, file);
    fclose(file);
    text[size] = 0;
    int count = 0;
    for (char* line = strtok(text, "\r\n"); line && count < kMostArguments;
         line = strtok(NULL, "\r\n")) {
        arguments[count++] = line;
    }
    return count;
}

static void Start(void) {
    static char* arguments[kMostArguments];
    isStarted = true;
    StartEngine(ReadArguments(arguments), arguments);
    moxi_timer(kTick);
}

static void SetWindow(void) {
    const moxi_size room = moxi_visible_size();
    moxi_window window = {0};
    window.width = kWidth < room.width ? kWidth : room.width;
    window.height = kHeight < room.height ? kHeight : room.height;
    window.x = (room.width - window.width) / 2;
    window.y = (room.height - window.height) / 2;
    moxi_set_window(&window);
}

// A frame waits for its tic in a loop; it is asked for when that tic is there.
static void OnTick(void) {
    static int lastTic = -1;
    if (!isStarted || isMinimized) return;
    if (I_GetTime() == lastTic && !singletics) return;
    D_RunFrame();
    lastTic = I_GetTime();
}

// Buttons have codes that no key has.
static bool IsButton(int code) {
    return code == MOXI_BUTTON_LEFT || code == MOXI_BUTTON_RIGHT || code == MOXI_BUTTON_MIDDLE ||
           code >= MOXI_BUTTON_FOURTH;
}

static void OnDown(int p1, int p2) {
    if (IsButton(p1)) {
        ButtonDown(p1, p2);
    } else {
        KeyDown(p1);
    }
}

static void OnUp(int p1) {
    if (IsButton(p1)) {
        ButtonUp(p1);
    } else {
        KeyUp(p1);
    }
}

static void OnSize(int width, int height) {
    SetView(width, height);
    if (!isStarted) Start();
}

int moxi_message(int message, int p1, int p2, int p3) {
    (void)p3;
    switch (message) {
        case MOXI_MSG_START1: SetWindow(); break;
        case MOXI_MSG_CLOSE: RunEndings(); return 1;
        case MOXI_MSG_SIZE: OnSize(p1, p2); break;
        case MOXI_MSG_MINIMIZE: isMinimized = p1 != 0; break;
        case MOXI_MSG_TICK: OnTick(); break;
        case MOXI_MSG_DOWN: OnDown(p1, p2); break;
        case MOXI_MSG_UP: OnUp(p1); break;
        case MOXI_MSG_CHAR: Typed(p1 & 0xFF); break;
        case MOXI_MSG_POINTER: PointerAt(p1, p2); break;
        case MOXI_MSG_MUSICDONE: MusicDone(); break;
        default: break;
    }
    return 0;
}
