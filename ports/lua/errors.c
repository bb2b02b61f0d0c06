// Errors: one that nobody catches is logged, and shown as a picture instead of the game.

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "runtime.h"

enum { kRoom = 8192, kAround = 2 };

static char what[64];       // what was being done
static char report[kRoom];  // the error's text, then its traceback
static bool failed;

// --- From the error's object to a text

// As the stand-alone Lua does it.
int DescribeError(lua_State* L) {
    const char* message = lua_tostring(L, 1);
    if (message == NULL) {
        if (luaL_callmeta(L, 1, "__tostring") && lua_type(L, -1) == LUA_TSTRING) {
            message = lua_tostring(L, -1);
        } else {
            message = lua_pushfstring(L, "(error object is a %s value)", luaL_typename(L, 1));
        }
    }
    luaL_traceback(L, L, message, 1);
    return 1;
}

bool HasFailed(void) {
    return failed;
}

void ReportError(const char* during, const char* text) {
    if (failed) return;
    failed = true;
    snprintf(what, sizeof what, "%s", during);
    snprintf(report, sizeof report, "%s", text);
    // The last call is the runtime's own.
    static const char kOwnCall[] = "\n\t[C]: in ?";
    const size_t length = strlen(report), own = strlen(kOwnCall);
    if (length > own && strcmp(report + length - own, kOwnCall) == 0) report[length - own] = 0;
    fprintf(stderr, "Error in %s: %s\n", during, report);
    // The picture wants the window itself: a small canvas has no room for text.
    game_canvas(0, 0);
}

// --- Where it was

typedef struct {
    char file[256];
    int line;  // 0: not known
} place;

// The first "NAME.lua:LINE:" of a text.
static place FindPlace(const char* text) {
    place found = {"", 0};
    for (const char* colon = strchr(text, ':'); colon != NULL; colon = strchr(colon + 1, ':')) {
        const char* start = colon;
        while (start > text && strchr("\n\t '\"[(", start[-1]) == NULL) --start;
        char* end;
        const long line = strtol(colon + 1, &end, 10);
        const size_t length = (size_t)(colon - start);
        if (!isdigit((unsigned char)colon[1]) || *end != ':') continue;
        if (length == 0 || length >= sizeof found.file) continue;
        memcpy(found.file, start, length);
        found.file[length] = 0;
        found.line = (int)line;
        return found;
    }
    return found;
}

// --- The picture

#define PAPER RGB(24, 26, 40)
#define BOARD RGB(36, 40, 60)
#define MARKED RGB(92, 44, 56)
#define QUIET RGB(150, 158, 180)

enum { kMargin = 24, kTitle = 26, kText = 18, kCode = 15, kGap = 12 };

static float nextY;

// What is no letter would not be shown, or in a way that nobody can foresee.
static void CleanCopy(char* to, size_t room, const char* from, size_t length) {
    size_t used = 0;
    for (size_t i = 0; i < length && used + 5 < room; ++i) {
        const unsigned char c = (unsigned char)from[i];
        if (c == '\t') {
            memcpy(to + used, "    ", 4);
            used += 4;
        } else if (c >= 32 && c != 127) {
            to[used++] = (char)c;
        }
    }
    to[used] = 0;
}

// How many bytes of a text fit into a width, cut after a space where there is one.
static size_t Fitting(const char* text, int size, int width) {
    char part[512];
    size_t best = 0, space = 0;
    for (size_t i = 1; i < sizeof part && text[i - 1] != 0; ++i) {
        const bool inCharacter = ((unsigned char)text[i] & 0xC0) == 0x80;
        if (inCharacter) continue;
        memcpy(part, text, i);
        part[i] = 0;
        if (text_width(size, "%s", part) > width) return space > 0 ? space : best > 0 ? best : i;
        best = i;
        if (text[i - 1] == ' ') space = i;
    }
    return best;
}

// A text in as many lines as it needs.
static void DrawWrapped(const char* text, size_t length, int size, colour ink, uint32_t style) {
    char clean[2048];
    CleanCopy(clean, sizeof clean, text, length);
    text_style(style);
    const char* rest = clean;
    do {
        const size_t part = Fitting(rest, size, game_width() - 2 * kMargin);
        draw_text(kMargin, nextY, size, ink, "%.*s", (int)part, rest);
        nextY += (float)size * 1.3f;
        rest += part;
    } while (*rest != 0 && nextY < (float)game_height());
}

static void DrawLines(const char* text, int size, colour ink, uint32_t style) {
    while (*text != 0 && nextY < (float)game_height()) {
        const char* const end = strchr(text, '\n');
        const size_t length = end == NULL ? strlen(text) : (size_t)(end - text);
        DrawWrapped(text, length, size, ink, style);
        text += length + (end != NULL);
    }
}

static void DrawSourceLine(const char* text, int number, bool isMarked) {
    char clean[256];
    CleanCopy(clean, sizeof clean, text, strcspn(text, "\r\n"));
    const float height = kCode * 1.4f;
    draw_box(kMargin, nextY, (float)(game_width() - 2 * kMargin), height,
             isMarked ? MARKED : BOARD);
    text_style(MOXI_TEXT_COURIER | (isMarked ? MOXI_TEXT_BOLD : 0));
    draw_text(kMargin + 8, nextY + 2, kCode, isMarked ? GOLD : QUIET, "%5d  %s", number, clean);
    nextY += height;
}

// The lines around the place.
static void DrawSource(const place* at) {
    FILE* const file = at->line > 0 ? fopen(at->file, "r") : NULL;
    if (file == NULL) return;
    char text[256];
    bool isWhole = true;
    for (int line = 1; line <= at->line + kAround && fgets(text, sizeof text, file) != NULL;) {
        // What is longer than there is room for is cut.
        if (isWhole && line >= at->line - kAround) DrawSourceLine(text, line, line == at->line);
        isWhole = strchr(text, '\n') != NULL;
        if (isWhole) ++line;
    }
    fclose(file);
    nextY += kGap;
}

void DrawError(void) {
    static const char kTraceback[] = "\nstack traceback:\n";
    const char* const calls = strstr(report, kTraceback);
    const size_t length = calls == NULL ? strlen(report) : (size_t)(calls - report);
    char message[kRoom];
    snprintf(message, sizeof message, "%.*s", (int)length, report);
    const place at = FindPlace(report);

    camera_off();
    text_align(ALIGN_LEFT);
    clear_screen(PAPER);
    draw_box(0, 0, (float)game_width(), 56, RED);
    text_style(MOXI_TEXT_BOLD);
    draw_text(kMargin, 14, kTitle, WHITE, "Error in %s", what);
    nextY = 56 + kGap;
    DrawLines(message, kText, WHITE, MOXI_TEXT_BOLD);
    nextY += kGap;
    DrawSource(&at);
    if (calls != NULL) DrawLines(calls + 1, kCode, QUIET, MOXI_TEXT_COURIER);
    draw_box(0, (float)game_height() - 30, (float)game_width(), 30, PAPER);
    text_style(MOXI_TEXT_PLAIN);
    draw_text(kMargin, (float)game_height() - 24, kCode, SKY, "%s",
              "The log has the same text. Escape ends the game; with --watch it starts again when "
              "a file is saved.");
}
