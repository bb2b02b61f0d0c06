// What C programs do most: lists, matrices, a state machine that reads text, CRC. Compiled by mxcc, and
// by the native compiler, as `c_kernels KERNEL ROUNDS`; prints a checksum.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// --- A list that is reversed, searched and merge-sorted

typedef struct Node {
    struct Node* next;
    int32_t key;
} Node;

static Node nodes[1000];

static Node* Reverse(Node* list) {
    Node* reversed = NULL;
    while (list != NULL) {
        Node* const next = list->next;
        list->next = reversed;
        reversed = list;
        list = next;
    }
    return reversed;
}

static Node* Merge(Node* a, Node* b) {
    Node head = {NULL, 0};
    Node* last = &head;
    while (a != NULL && b != NULL) {
        Node** const smaller = a->key <= b->key ? &a : &b;
        last->next = *smaller;
        last = *smaller;
        *smaller = last->next;
    }
    last->next = a != NULL ? a : b;
    return head.next;
}

static Node* Sort(Node* list) {
    if (list == NULL || list->next == NULL) return list;
    Node* middle = list;
    for (Node* end = list->next; end != NULL && end->next != NULL; end = end->next->next) {
        middle = middle->next;
    }
    Node* const second = middle->next;
    middle->next = NULL;
    return Merge(Sort(list), Sort(second));
}

static uint32_t Lists(uint32_t seed) {
    const int count = sizeof nodes / sizeof nodes[0];
    for (int i = 0; i < count; ++i) {
        seed = seed * 1664525 + 1013904223;
        nodes[i].key = (int32_t)(seed >> 12);
        nodes[i].next = i + 1 < count ? &nodes[i + 1] : NULL;
    }
    Node* const list = Reverse(Sort(Reverse(nodes)));
    uint32_t sum = 0;
    for (const Node* node = list; node != NULL; node = node->next) sum = sum * 31 + (uint32_t)node->key;
    return sum;
}

// --- Matrices of 16-bit numbers

enum { kSide = 40 };
static int16_t left[kSide][kSide];
static int16_t right[kSide][kSide];
static int32_t product[kSide][kSide];

static uint32_t Matrices(uint32_t seed) {
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            seed = seed * 1664525 + 1013904223;
            left[y][x] = (int16_t)(seed >> 16);
            right[y][x] = (int16_t)(seed >> 8);
        }
    }
    uint32_t sum = 0;
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            int32_t cell = 0;
            for (int k = 0; k < kSide; ++k) cell += left[y][k] * right[k][x] >> 3;
            product[y][x] = cell;
            sum = sum * 31 + (uint32_t)cell;
        }
    }
    return sum;
}

// --- A state machine that tells numbers in a text apart

typedef enum { kStart, kSign, kInteger, kPoint, kFraction, kExponent, kWrong, kStates } State;

static State Next(State state, char c) {
    const int isDigit = c >= '0' && c <= '9';
    switch (state) {
        case kStart: return isDigit ? kInteger : c == '+' || c == '-' ? kSign : c == '.' ? kPoint : kWrong;
        case kSign: return isDigit ? kInteger : c == '.' ? kPoint : kWrong;
        case kInteger: return isDigit ? kInteger : c == '.' ? kFraction : c == 'e' ? kExponent : kWrong;
        case kPoint: return isDigit ? kFraction : kWrong;
        case kFraction: return isDigit ? kFraction : c == 'e' ? kExponent : kWrong;
        case kExponent: return isDigit || c == '-' ? kExponent : kWrong;
        default: return kWrong;
    }
}

static uint32_t States(uint32_t seed) {
    static const char* const kTexts[] = {"5012", "-874", "+122", "35.54400", ".1234500", "-110.700",
                                         "5.500e3", "-.123e-2", "T0.3e-1F", "1.2.3", "--3", "7e99x"};
    uint32_t counts[kStates] = {0};
    for (int i = 0; i < 600; ++i) {
        seed = seed * 1664525 + 1013904223;
        State state = kStart;
        for (const char* c = kTexts[(seed >> 16) % 12]; *c != 0 && state != kWrong; ++c) {
            state = Next(state, *c);
        }
        ++counts[state];
    }
    uint32_t sum = 0;
    for (int i = 0; i < kStates; ++i) sum = sum * 31 + counts[i];
    return sum;
}

// --- CRC, bit by bit

static uint32_t Crc(uint32_t seed) {
    uint32_t crc = 0xFFFFFFFF;
    for (int i = 0; i < 1500; ++i) {
        seed = seed * 1664525 + 1013904223;
        crc ^= seed >> 24;
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

int main(int argc, char** argv) {
    const char* const name = argc > 1 ? argv[1] : "list";
    const int rounds = argc > 2 ? atoi(argv[2]) : 1000;
    uint32_t sum = 0;
    for (int i = 0; i < rounds; ++i) {
        const uint32_t seed = (uint32_t)i * 2654435761u + sum;
        sum += !strcmp(name, "list")     ? Lists(seed)
               : !strcmp(name, "matrix") ? Matrices(seed)
               : !strcmp(name, "states") ? States(seed)
                                         : Crc(seed);
    }
    printf("%08x\n", (unsigned)sum);
    return 0;
}
