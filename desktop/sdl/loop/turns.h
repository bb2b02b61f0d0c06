#pragma once
// What the main thread notes down of its turns, so that the watchdog can tell a program that is
// busy from one that is well. Written by the main thread, read by any.

#include "base/types.h"

namespace moxi {

// The events have been taken off the wire.
void NotePumping();
// Events are being handled again, so nothing waits unanswered; this takes them off the wire, too.
void NoteTurn();
// Around a question to the application whether it may close.
void NoteQuestion();
void NoteAnswer();

u64 LastPumping();    // nanoseconds of the clock
u64 LastTurn();       // the same
u64 QuestionSince();  // the same; 0 while nothing is being asked

}  // namespace moxi
