// The engine's beginning and end, and what it asks of a system but for pictures, input and sound.

#include "engine.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "config.h"
#include "d_iwad.h"
#include "d_loop.h"
#include "d_main.h"
#include "doomstat.h"
#include "g_game.h"
#include "i_system.h"
#include "i_video.h"
#include "m_argv.h"
#include "m_config.h"
#include "m_menu.h"
#include "m_misc.h"
#include "r_main.h"
#include "v_video.h"

enum { kZoneSize = 16 << 20, kWholeWidth = 10 };

boolean HasArgument(const char* name) {
    return M_CheckParm(name) > 0;
}

static void RequireData(void) {
    GameMission_t mission;
    if (D_FindIWAD(IWAD_MASK_DOOM, &mission) != NULL) return;
    FailProgram(
        "There is no game data. Install Debian's package freedoom and copy freedoom1.wad or "
        "freedoom2.wad from /usr/share/games/doom into this game's folder, or build the game with "
        "ports/doom/build, which fetches it.");
}

void StartEngine(int count, char** arguments) {
    // Nothing but the game's folder is looked through for further data.
    static char name[] = "./doom", noFurtherData[] = "-noautoload";
    myargc = count + 2;
    myargv = calloc((size_t)myargc + 1, sizeof *myargv);
    if (myargv == NULL) FailProgram("There is not enough memory.");
    myargv[0] = name;
    memcpy(myargv + 1, arguments, (size_t)count * sizeof *arguments);
    myargv[count + 1] = noFurtherData;
    M_SetExeDir();
    RequireData();
    // All of the window's width, unless the settings say otherwise.
    screenblocks = kWholeWidth;
    D_DoomMain();
}

void StartLoop(const char* description) {
    if (demorecording) G_BeginRecording();
    main_loop_started = true;
    I_SetWindowTitle(description);
    I_InitGraphics();
    // One tic for each picture, whatever the clock says.
    if (HasArgument("-states")) {
        singletics = true;
        nodrawers = HasArgument("-nodraw");
    }
    TryRunTics();
    V_RestoreBuffer();
    R_ExecuteSetViewSize();
    D_StartGameLoop();
}

// --- The end

typedef struct ending {
    atexit_func_t call;
    boolean evenAfterErrors;
    struct ending* next;
} ending;

static ending* endings;
static boolean isEnding;

void I_AtExit(atexit_func_t call, boolean evenAfterErrors) {
    ending* const entry = malloc(sizeof *entry);
    if (entry == NULL) return;
    *entry = (ending){call, evenAfterErrors, endings};
    endings = entry;
}

static void CallEndings(boolean afterError) {
    if (isEnding) return;
    isEnding = true;
    for (ending* entry = endings; entry != NULL; entry = entry->next) {
        if (!afterError || entry->evenAfterErrors) entry->call();
    }
    fflush(stdout);
}

void RunEndings(void) {
    CallEndings(false);
}

void I_Quit(void) {
    CallEndings(false);
    EndProgram();
}

void I_Error(const char* format, ...) {
    char text[512];
    va_list values;
    va_start(values, format);
    vsnprintf(text, sizeof text, format, values);
    va_end(values);
    // What goes wrong while the program ends changes nothing any more.
    if (isEnding) EndProgram();
    CallEndings(true);
    FailProgram(text);
}

// --- Memory

byte* I_ZoneBase(int* size) {
    const int at = M_CheckParmWithArgs("-mb", 1);
    *size = kZoneSize;
    if (at > 0) *size = atoi(myargv[at + 1]) << 20;
    byte* const zone = *size > 0 ? malloc((size_t)*size) : NULL;
    if (zone == NULL) I_Error("There is not enough memory for the game (%d bytes).", *size);
    return zone;
}

void* I_Realloc(void* block, size_t size) {
    void* const grown = realloc(block, size);
    if (size != 0 && grown == NULL) I_Error("There is not enough memory (%zu bytes).", size);
    return grown;
}

// Some old demos read from address 0, where the system that they were made on had these bytes.
boolean I_GetMemoryValue(unsigned int offset, void* value, int size) {
    static const unsigned char lowest[] = {0x9E, 0x0F, 0xC9, 0x00, 0x65,
                                           0x04, 0x70, 0x00, 0x16, 0x00};
    if (size < 0 || offset > sizeof lowest || (size_t)size > sizeof lowest - offset) return false;
    memcpy(value, lowest + offset, (size_t)size);
    return true;
}

// --- Texts of the start

// No terminal: lines alone, and no bars that grow.
boolean I_ConsoleStdout(void) {
    return false;
}

void I_PrintBanner(const char* text) {
    puts(text);
}

void I_PrintDivider(void) {}

void I_PrintStartupBanner(const char* description) {
    printf("%s, by %s: free software under the GNU General Public License, without any warranty.\n",
           description, PACKAGE_STRING);
}

void I_Tactile(int on, int off, int total) {
    (void)on, (void)off, (void)total;
}

// --- A tic

void I_StartFrame(void) {}

void I_StartTic(void) {
    GatherInput();
    TellState();
}
