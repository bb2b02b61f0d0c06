// What Lua asks its system for in a way that this C library answers otherwise than most.

#include "system.h"

#include <errno.h>
#include <float.h>
#include <math.h>
#include <stdarg.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#undef snprintf
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

// With the smallest number that has a 1 before the point added, this one has the same digits behind
// it; the 1 is taken off again from what was written.
static int FormatTiny(char* text, size_t room, const char* format, double number) {
    const int length = snprintf(text, room, format, number + copysign(DBL_MIN, number));
    char* const end = strpbrk(text, ".pP");
    if (end != NULL && end > text) --end[-1];
    return length;
}

int LuaFormat(char* text, size_t room, const char* format, ...) {
    va_list values;
    va_start(values, format);
    int length;
    const size_t last = strlen(format) - 1;
    if (format[last] == 'a' || format[last] == 'A') {
        const double number = va_arg(values, double);
        const bool isTiny = fabs(number) < DBL_MIN && number != 0.0;
        length =
            isTiny ? FormatTiny(text, room, format, number) : snprintf(text, room, format, number);
    } else {
        length = vsnprintf(text, room, format, values);
    }
    va_end(values);
    return length;
}
