#pragma once
// What the main thread notes down of its turns, so that the watchdog can tell a program that is
// busy from one that is well. Written by the main thread, read by any.

#include "base/types.h"

namespace moxi {

// Notes that the desktop's events have been read from the connection.
void NotePumping();
// Notes that events are being handled again, so that nothing waits unanswered. They have been read
// from the connection then, too.
void NoteTurn();
// Stand before and after a question to the application whether it may close.
void NoteQuestion();
void NoteAnswer();

u64 LastPumping();    // nanoseconds of the clock
u64 LastTurn();       // the same
u64 QuestionSince();  // the same; 0 while nothing is being asked

}  // namespace moxi
