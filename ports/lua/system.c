// What Lua asks its system for in a way that this C library answers otherwise than most.

#include "system.h"

#include <errno.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#undef strftime
#undef fwrite
#undef fread

// A year beyond 9999 has no sign before it, which this C library puts there. Lua asks for one
// conversion at a time.
size_t LuaDate(char* text, size_t room, const char* format, const struct tm* date) {
    size_t length = strftime(text, room, format, date);
    // There the sign is that of the time zone.
    if (strchr(format, 'z') != NULL) return length;
    for (char* sign = strchr(text, '+'); sign != NULL && length > 0; sign = strchr(sign, '+')) {
        memmove(sign, sign + 1, strlen(sign));
        --length;
    }
    return length;
}

bool LuaTemporaryName(char* name) {
    mkdir("/tmp", 0777);
    strcpy(name, "/tmp/lua_XXXXXX");
    const int file = mkstemp(name);
    if (file >= 0) close(file);
    return file >= 0;
}

size_t LuaWrite(const void* data, size_t size, size_t count, FILE* file) {
    const size_t written = fwrite(data, size, count, file);
    if (written < count && !__fwritable(file)) errno = EBADF;
    return written;
}

size_t LuaRead(void* data, size_t size, size_t count, FILE* file) {
    const size_t read = fread(data, size, count, file);
    if (read < count && !__freadable(file)) errno = EBADF;
    return read;
}

int LuaGet(FILE* file) {
    const int byte = getc(file);
    if (byte == EOF && !__freadable(file)) errno = EBADF;
    return byte;
}
