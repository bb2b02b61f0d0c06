// A main that takes one or three parameters, or gives nothing. The C library calls one that takes
// two and gives a status; wasm does not let a function be called as one of another type. Compiled
// once for each form, with MAIN_PARAMETERS and MAIN_RESULTS; mxcc links the one that fits.

#include <stdlib.h>

#include "runtime.h"

#if MAIN_PARAMETERS == 0
#define PARAMETERS void
#define ARGUMENTS
#elif MAIN_PARAMETERS == 1
#define PARAMETERS int
#define ARGUMENTS (int)count
#elif MAIN_PARAMETERS == 2
#define PARAMETERS int, char**
#define ARGUMENTS (int)count, arguments
#else
#define PARAMETERS int, char**, char**
#define ARGUMENTS (int)count, arguments, arguments + count
#endif

// The compiler has another name for a main with two parameters, whatever it gives.
#if MAIN_PARAMETERS == 2
#define MAIN __asm__("__main_argc_argv")
#else
#define MAIN __asm__("main")
#endif

#if MAIN_RESULTS == 0
extern void OddMain(PARAMETERS) MAIN;
#else
extern int OddMain(PARAMETERS) MAIN;
#endif

extern error SYSTEM(args_sizes_get)(size_t* count, size_t* bytes);
extern error SYSTEM(args_get)(char** arguments, char* text);

// In place of the C library's, which gets the arguments and calls the usual main.
int __main_void(void) {
    size_t count = 0;
    size_t bytes = 0;
    if (SYSTEM(args_sizes_get)(&count, &bytes) != __WASI_ERRNO_SUCCESS) return EXIT_FAILURE;
    // The null pointer behind the arguments is the empty environment, too.
    char** const arguments = (char**)calloc(count + 1, sizeof *arguments);
    char* const text = (char*)malloc(bytes);
    if (arguments == NULL || text == NULL) return EXIT_FAILURE;
    if (SYSTEM(args_get)(arguments, text) != __WASI_ERRNO_SUCCESS) return EXIT_FAILURE;
#if MAIN_RESULTS == 0
    OddMain(ARGUMENTS);
    return EXIT_SUCCESS;
#else
    return OddMain(ARGUMENTS);
#endif
}
