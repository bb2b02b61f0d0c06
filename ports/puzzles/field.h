// A line of text that is being typed.
#ifndef PUZZLES_FIELD_H
#define PUZZLES_FIELD_H

#include "ui.h"

enum { kFieldRoom = 4096 };

typedef struct {
    char text[kFieldRoom];
    int caret, anchor;  // bytes; what lies between them is selected
    int scroll;         // pixels that have gone out at the left
} field;

void SetField(field* edited, const char* text);  // all of it selected
// Whether the key meant the field.
bool FieldKey(field* edited, int code, int held);
void FieldTyped(field* edited, const char* text);
void FieldPress(field* edited, box area, int x, bool extends);
void DrawField(field* edited, box area, bool focused, const char* hint);

#endif
