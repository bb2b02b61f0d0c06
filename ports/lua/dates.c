// strftime as Lua's programs know it: a year beyond 9999 has no sign before it, which this C library
// puts there.

#include <string.h>
#include <time.h>

#undef strftime
size_t LuaDate(char* text, size_t room, const char* format, const struct tm* date);

// Lua asks for one conversion at a time.
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
