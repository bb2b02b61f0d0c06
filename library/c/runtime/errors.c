// <err.h>: what went wrong, on standard error, with the program's name in front. The C library has
// the header and not the functions.

#include <err.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char kProgramName[] = "MAIN.MX";

void vwarnx(const char* format, va_list values) {
    fprintf(stderr, "%s: ", kProgramName);
    if (format != NULL) vfprintf(stderr, format, values);
    fputc('\n', stderr);
}

void vwarn(const char* format, va_list values) {
    const char* const reason = strerror(errno);
    fprintf(stderr, "%s: ", kProgramName);
    if (format != NULL) {
        vfprintf(stderr, format, values);
        fputs(": ", stderr);
    }
    fprintf(stderr, "%s\n", reason);
}

_Noreturn void verr(int status, const char* format, va_list values) {
    vwarn(format, values);
    exit(status);
}

_Noreturn void verrx(int status, const char* format, va_list values) {
    vwarnx(format, values);
    exit(status);
}

void warn(const char* format, ...) {
    va_list values;
    va_start(values, format);
    vwarn(format, values);
    va_end(values);
}

void warnx(const char* format, ...) {
    va_list values;
    va_start(values, format);
    vwarnx(format, values);
    va_end(values);
}

_Noreturn void err(int status, const char* format, ...) {
    va_list values;
    va_start(values, format);
    verr(status, format, values);
}

_Noreturn void errx(int status, const char* format, ...) {
    va_list values;
    va_start(values, format);
    verrx(status, format, values);
}
