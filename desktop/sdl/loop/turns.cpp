#include "desktop/sdl/loop/turns.h"

#include <atomic>

#include "desktop/sdl/loop/clock.h"

namespace moxi {

namespace {

constinit std::atomic<u64> lastPumping = 0;
constinit std::atomic<u64> lastTurn = 0;
constinit std::atomic<u64> questionSince = 0;

}  // namespace

void NotePumping() {
    lastPumping = Nanoseconds();
}

void NoteTurn() {
    const u64 now = Nanoseconds();
    lastPumping = now;
    lastTurn = now;
}

void NoteQuestion() {
    questionSince = Nanoseconds();
}

void NoteAnswer() {
    questionSince = 0;
}

u64 LastPumping() {
    return lastPumping;
}

u64 LastTurn() {
    return lastTurn;
}

u64 QuestionSince() {
    return questionSince;
}

}  // namespace moxi
