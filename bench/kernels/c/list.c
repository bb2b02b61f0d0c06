// A list of 1,000 nodes: n times a node is looked for by its key, taken out, and put in front.
// Checksum: the fold of the keys from the front, and how many steps were gone.
#include "kernel.h"

enum { kNodes = 1000 };

typedef struct Node {
    struct Node* next;
    uint32_t key;
} Node;

static Node nodes[kNodes];
static Node* front;
static uint32_t steps;

static void Setup(uint32_t n) {
    (void)n;
    for (uint32_t i = 0; i < kNodes; ++i) {
        nodes[i].next = i + 1 < kNodes ? &nodes[i + 1] : 0;
        nodes[i].key = i;
    }
    front = nodes;
}

static void Run(uint32_t n) {
    uint32_t x = 1, gone = 0;
    for (; n > 0; --n) {
        x = NextRandom(x);
        const uint32_t key = (x >> 16) * kNodes >> 16;
        Node* node = front;
        Node* before = 0;
        while (node->key != key) {
            before = node;
            node = node->next;
            ++gone;
        }
        if (before == 0) continue;
        before->next = node->next;
        node->next = front;
        front = node;
    }
    steps = gone;
}

static uint32_t Checksum(uint32_t n) {
    (void)n;
    uint32_t hash = 0;
    for (const Node* node = front; node != 0; node = node->next) hash = hash * 31 + node->key;
    return hash * 31 + steps;
}
