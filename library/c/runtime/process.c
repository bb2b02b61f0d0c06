// The start and the end of a program, its arguments and its environment.

#include <stdlib.h>
#include <string.h>

#include "runtime.h"

// --- Arguments: the program's name, then one a line of ARGS.TXT

static const char kProgramName[] = "MAIN.MX";
static const char kArgumentsFile[] = "ARGS.TXT";

static char* argumentText;  // each with its NUL, one behind the other
static size_t argumentBytes;
static size_t argumentCount;

// The file's text behind the program's name; null when there is no memory.
static char* ReadArguments(size_t* length) {
    const uint32_t size = moxi_file_size(kArgumentsFile);
    const size_t room = sizeof kProgramName + (size == FAILED ? 0 : size) + 1;
    char* const text = (char*)malloc(room);
    if (text == NULL) return NULL;
    memcpy(text, kProgramName, sizeof kProgramName);
    *length = sizeof kProgramName;
    if (size == FAILED) return text;
    const moxi_file file = moxi_file_open(kArgumentsFile, MOXI_FILE_FOR_READING);
    if (file == MOXI_NO_FILE) return text;
    *length += moxi_file_read(file, text + sizeof kProgramName, size);
    moxi_file_close(file);
    if (*length > sizeof kProgramName && text[*length - 1] != '\n') text[(*length)++] = '\n';
    return text;
}

static error LoadArguments(void) {
    if (argumentText != NULL) return __WASI_ERRNO_SUCCESS;
    size_t length = 0;
    char* const text = ReadArguments(&length);
    if (text == NULL) return __WASI_ERRNO_NOMEM;
    // Ends of lines become ends of texts, in place.
    size_t to = sizeof kProgramName;
    argumentCount = 1;
    for (size_t from = to; from < length; ++from) {
        const bool endsLine = text[from] == '\n';
        if (text[from] == '\r' && from + 1 < length && text[from + 1] == '\n') continue;
        text[to++] = endsLine ? 0 : text[from];
        if (endsLine) ++argumentCount;
    }
    argumentText = text;
    argumentBytes = to;
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(args_sizes_get)(size_t* count, size_t* bytes) {
    const error problem = LoadArguments();
    *count = argumentCount;
    *bytes = argumentBytes;
    return problem;
}

error SYSTEM(args_get)(char** arguments, char* text) {
    const error problem = LoadArguments();
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    memcpy(text, argumentText, argumentBytes);
    for (size_t i = 0; i < argumentCount; ++i) {
        arguments[i] = text;
        text += strlen(text) + 1;
    }
    return __WASI_ERRNO_SUCCESS;
}

// --- The environment is empty.

error SYSTEM(environ_sizes_get)(size_t* count, size_t* bytes) {
    *count = 0;
    *bytes = 0;
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(environ_get)(char** variables, char* text) {
    (void)variables;
    (void)text;
    return __WASI_ERRNO_SUCCESS;
}

// --- The end. A status is eight bits, as everywhere.

_Noreturn void SYSTEM(proc_exit)(uint32_t code) {
    FlushLog();
    const uint32_t status = code & 0xFF;
    if (status != 0) {
        char text[24] = "exit status ";
        moxi_append_number(text, "%u", (int32_t)status);
        moxi_debug_print(text);
    }
    moxi_stop();
}

_Noreturn void abort(void) {
    FlushLog();
    __builtin_trap();
}
