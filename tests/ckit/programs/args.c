// Arguments, the environment, both outputs, and an end with a status.
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static void AtExit(void) {
    printf("at exit");
}

int main(int count, char** arguments) {
    for (int i = 0; i < count; ++i) printf("%d: [%s]\n", i, arguments[i]);
    printf("home: %s\n", getenv("HOME") == NULL ? "(none)" : getenv("HOME"));
    fprintf(stderr, "on ");
    printf("in between, %s\n", isatty(1) ? "line by line" : "not");
    fprintf(stderr, "error\n");
    printf("\n");
    atexit(AtExit);
    exit(count + 40);
}
