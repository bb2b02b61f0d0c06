// What the C library does on this machine.
#include <assert.h>
#include <ctype.h>
#include <errno.h>
#include <float.h>
#include <limits.h>
#include <locale.h>
#include <math.h>
#include <setjmp.h>
#include <signal.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>
#include <wchar.h>

#include "check.h"

static const char* Print(const char* format, ...) {
    static char text[500];
    va_list list;
    va_start(list, format);
    vsnprintf(text, sizeof text, format, list);
    va_end(list);
    return text;
}

static void Printing(void) {
    CHECK(strcmp(Print("%d %5.2f %s %x", -7, 3.14159, "text", 255), "-7  3.14 text ff") == 0);
    CHECK(strcmp(Print("%.17g", 0.1), "0.10000000000000001") == 0);
    CHECK(strcmp(Print("%g %e", 1e300, 123456.789), "1e+300 1.234568e+05") == 0);
    CHECK(strcmp(Print("%.3f", 2.0005), "2.001") == 0 ||
          strcmp(Print("%.3f", 2.0005), "2.000") == 0);
    CHECK(strcmp(Print("%a", 1.0), "0x1p+0") == 0);
    CHECK(strcmp(Print("%lld %zu", (long long)INT64_MIN, sizeof(void*)),
                 "-9223372036854775808 4") == 0);
    CHECK(strcmp(Print("%f %f %f", INFINITY, -INFINITY, NAN), "inf -inf nan") == 0);
    CHECK(strcmp(Print("%.20Lg", 1.0L / 3), "0.33333333333333333333") == 0);
    CHECK(strtod("1.7976931348623157e308", NULL) == DBL_MAX);
    CHECK(strtod("4.9e-324", NULL) > 0 && strtod("0x1.8p1", NULL) == 3);
    int day = 0;
    double number = 0;
    char word[10];
    CHECK(sscanf("12 2.5e3 hello", "%d %lf %9s", &day, &number, word) == 3);
    CHECK(day == 12 && number == 2500 && strcmp(word, "hello") == 0);
}

static void Mathematics(void) {
    CHECK(sqrt(2) == 1.4142135623730951 && sqrtf(2) == 1.41421354f);
    CHECK(isnan(sqrt(-1)) && floor(-1.5) == -2 && ceil(-1.5) == -1 && trunc(-1.5) == -1);
    CHECK(rint(2.5) == 2 && nearbyint(3.5) == 4 && round(2.5) == 3);
    CHECK(pow(2, 0.5) == 1.4142135623730951 && exp(1) == M_E && log(M_E) == 1);
    CHECK(sin(1) == 0.8414709848078965 && atan2(1, -1) == 2.356194490192345);
    CHECK(fmod(10, 3) == 1 && hypot(3, 4) == 5 && fma(2, 3, 4) == 10);
    CHECK(signbit(-0.0) && copysign(1, -0.0) == -1);
    CHECK(__builtin_popcountll(0xFF00FF00FF00FF00) == 32 && __builtin_clz(1) == 31);
    volatile float large = 3e9f;
    CHECK((unsigned)large == 3000000000u && (long long)large == 3000000000);
    volatile __int128 wide = (__int128)INT64_MAX * 10;
    CHECK((long long)(wide / 10) == INT64_MAX);
}

static jmp_buf place;

static void Jump(int depth) {
    if (depth == 0) longjmp(place, 17);
    Jump(depth - 1);
}

static void Jumping(void) {
    volatile int passes = 0;
    const int kept = (int)time(NULL) | 1;
    const int value = setjmp(place);
    ++passes;
    if (value == 0) Jump(20);
    CHECK(value == 17 && passes == 2 && kept == ((int)time(NULL) | 1));
    if (setjmp(place) == 0) longjmp(place, 0);
    for (volatile int i = 0; i < 1000; ++i) {
        if (setjmp(place) == 0) Jump(3);
    }
}

static volatile sig_atomic_t signals;
static void OnSignal(int number) {
    signals += number;
}

static void Signals(void) {
    CHECK(signal(SIGINT, OnSignal) == SIG_DFL);
    CHECK(raise(SIGINT) == 0 && signals == SIGINT);
    CHECK(signal(SIGINT, SIG_IGN) == OnSignal || signal(SIGINT, SIG_IGN) == SIG_IGN);
}

static void Memory(void) {
    char* blocks[64];
    for (int i = 0; i < 64; ++i) {
        blocks[i] = (char*)malloc(100000);
        CHECK(blocks[i] != NULL);
        memset(blocks[i], i, 100000);
    }
    for (int i = 0; i < 64; ++i) CHECK(blocks[i][99999] == i);
    for (int i = 0; i < 64; i += 2) free(blocks[i]);
    CHECK((blocks[0] = (char*)calloc(1000, 100)) != NULL && blocks[0][5000] == 0);
    CHECK(malloc(2000000000) == NULL && errno == ENOMEM);
    char text[] = "0123456789";
    memmove(text + 2, text, 5);
    CHECK(strcmp(text, "0101234789") == 0 && memcmp("abc", "abd", 3) < 0);
    CHECK(strlen("five5") == 5 && memchr(text, '4', 10) == text + 6);
    void* aligned = aligned_alloc(256, 512);
    CHECK(((uintptr_t)aligned & 255) == 0);
}

static void Time(void) {
    const time_t now = time(NULL);
    struct tm* const parts = localtime(&now);
    char text[30];
    CHECK(strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", parts) == 19);
    printf("%s\n", text);
    CHECK(mktime(parts) == now);
    struct timespec a, b;
    CHECK(clock_gettime(CLOCK_MONOTONIC, &a) == 0);
    CHECK(usleep(250000) == 0 && usleep(3000) == 0);
    CHECK(clock_gettime(CLOCK_MONOTONIC, &b) == 0);
    const long long gone = (b.tv_sec - a.tv_sec) * 1000000000LL + b.tv_nsec - a.tv_nsec;
    CHECK(gone >= 253000000 && gone < 5000000000);
    CHECK(clock() >= 0 && CLOCKS_PER_SEC >= 1000 && time(NULL) - now < 10);
}

static int Numbers(const void* a, const void* b) {
    return *(const int*)a - *(const int*)b;
}

static void Others(void) {
    int numbers[100];
    srand(5);
    for (int i = 0; i < 100; ++i) numbers[i] = rand() % 1000;
    qsort(numbers, 100, sizeof *numbers, Numbers);
    for (int i = 1; i < 100; ++i) CHECK(numbers[i - 1] <= numbers[i]);
    CHECK(bsearch(&numbers[50], numbers, 100, sizeof *numbers, Numbers) != NULL);
    unsigned char chance[16] = {0};
    CHECK(getentropy(chance, sizeof chance) == 0 && chance[0] + chance[7] + chance[15] > 0);
    CHECK(system(NULL) == 0 && system("ls") == -1 && getenv("PATH") == NULL);
    CHECK(toupper('a') == 'A' && isalpha('z') && setlocale(LC_ALL, "C") != NULL);
    CHECK(wcslen(L"wide") == 4 && mblen("x", 1) == 1 && getpid() > 0);
    CHECK(INT_MAX == 2147483647 && LONG_MAX == INT_MAX && CHAR_BIT == 8);
}

int main(void) {
    Printing();
    Mathematics();
    Jumping();
    Signals();
    Memory();
    Time();
    Others();
    if (problems == 0) puts("all is well");
    return problems;
}
