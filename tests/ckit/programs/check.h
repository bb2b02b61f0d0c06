// A line for each condition that does not hold; the program's status is their number.
#pragma once
#include <stdio.h>
static int problems;
#define CHECK(condition)                                                \
    do {                                                                \
        if (!(condition)) {                                             \
            printf("%s:%d: %s\n", __FILE_NAME__, __LINE__, #condition); \
            ++problems;                                                 \
        }                                                               \
    } while (0)
