// Standard output and error. The log takes whole lines, so a line is kept until its end comes.

#include <stdlib.h>
#include <string.h>

#include "runtime.h"

typedef struct {
    char* text;
    size_t length, room;
} line;

static line lines[2];
static char firstRoom[2][256];

static void Log(line* unfinished) {
    unfinished->text[unfinished->length] = 0;
    moxi_debug_print(unfinished->text);
    unfinished->length = 0;
}

// Room for so many further bytes and a NUL. Without memory the line is cut in two.
static bool MakeRoom(line* unfinished, size_t bytes, int stream) {
    if (unfinished->text == NULL) {
        unfinished->text = firstRoom[stream];
        unfinished->room = sizeof firstRoom[stream];
    }
    const size_t needed = unfinished->length + bytes + 1;
    if (needed <= unfinished->room) return true;
    size_t room = unfinished->room;
    while (room < needed) room *= 2;
    char* const old = unfinished->text == firstRoom[stream] ? NULL : unfinished->text;
    char* const text = (char*)realloc(old, room);
    if (text == NULL) return false;
    if (old == NULL) memcpy(text, unfinished->text, unfinished->length);
    unfinished->text = text;
    unfinished->room = room;
    return true;
}

// A NUL would end the line's text before its end; it is left out.
static void Append(line* unfinished, const char* text, size_t length, int stream) {
    if (!MakeRoom(unfinished, length, stream)) {
        Log(unfinished);
        if (length >= unfinished->room) length = unfinished->room - 1;
    }
    for (size_t i = 0; i < length; ++i) {
        if (text[i] != 0) unfinished->text[unfinished->length++] = text[i];
    }
}

static void Write(const char* text, size_t length, int stream) {
    line* const unfinished = &lines[stream];
    while (length > 0) {
        const char* const end = (const char*)memchr(text, '\n', length);
        const size_t part = end == NULL ? length : (size_t)(end - text);
        Append(unfinished, text, part, stream);
        if (end == NULL) return;
        if (unfinished->text == NULL) MakeRoom(unfinished, 0, stream);
        Log(unfinished);
        text += part + 1;
        length -= part + 1;
    }
}

error WriteLog(int stream, const __wasi_ciovec_t* parts, size_t count, size_t* written) {
    *written = 0;
    for (size_t i = 0; i < count; ++i) {
        Write((const char*)parts[i].buf, parts[i].buf_len, stream);
        *written += parts[i].buf_len;
    }
    return __WASI_ERRNO_SUCCESS;
}

void FlushLog(void) {
    for (int stream = 0; stream < 2; ++stream) {
        if (lines[stream].length > 0) Log(&lines[stream]);
    }
}
