#include "saving.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

enum { kPathRoom = 64 };

preferences kept;

// --- Whole files

typedef struct {
    char* bytes;
    size_t length, room, at;
} memory;

static void Append(void* context, const void* bytes, int length) {
    memory* const to = context;
    if (to->length + (size_t)length > to->room) {
        to->room = (to->length + (size_t)length) * 2;
        to->bytes = realloc(to->bytes, to->room);
    }
    memcpy(to->bytes + to->length, bytes, (size_t)length);
    to->length += (size_t)length;
}

static bool Take(void* context, void* bytes, int length) {
    memory* const from = context;
    if (length < 0 || (size_t)length > from->length - from->at) return false;
    memcpy(bytes, from->bytes + from->at, (size_t)length);
    from->at += (size_t)length;
    return true;
}

static bool ReadFile(const char* path, memory* into) {
    char piece[4096];
    FILE* const file = fopen(path, "rb");
    if (file == NULL) return false;
    size_t count;
    while ((count = fread(piece, 1, sizeof piece, file)) > 0) Append(into, piece, (int)count);
    fclose(file);
    return true;
}

// The new file is complete before the old one goes, so that one of them is there at every moment.
static bool ReplaceFile(const char* path, const memory* contents) {
    char next[kPathRoom + 8];
    snprintf(next, sizeof next, "%s.new", path);
    FILE* const file = fopen(next, "wb");
    if (file == NULL) return false;
    const size_t written = fwrite(contents->bytes, 1, contents->length, file);
    if (fclose(file) != 0 || written != contents->length) {
        remove(next);
        return false;
    }
    remove(path);
    return rename(next, path) == 0;
}

// A disk that is full stays so for many moves: one line is enough.
static void TellUnsaved(const char* path) {
    static bool told;
    if (!told)
        fprintf(stderr, "%s cannot be written: what changes from now on is not kept\n", path);
    told = true;
}

static bool ReadEither(const char* path, memory* into) {
    char next[kPathRoom + 8];
    if (ReadFile(path, into)) return true;
    snprintf(next, sizeof next, "%s.new", path);
    return ReadFile(next, into);
}

// --- Games

enum { kUnknown, kThere, kMissing };

static memory lastSaved;
static int lastIndex = -1;
static char known[kMostPuzzles];  // whether a game is there; files are looked for once

static void GamePath(int index, char* path) {
    snprintf(path, kPathRoom, "/played/%s.sav", catalogue[index].id);
}

void SaveGame(board* played, int index) {
    char path[kPathRoom];
    memory saved = {0};
    midend_serialise(played->me, Append, &saved);
    if (index == lastIndex && saved.length == lastSaved.length &&
        memcmp(saved.bytes, lastSaved.bytes, saved.length) == 0) {
        free(saved.bytes);
        return;
    }
    GamePath(index, path);
    mkdir("/played", 0777);
    if (ReplaceFile(path, &saved)) {
        known[index] = kThere;
        free(lastSaved.bytes);
        lastSaved = saved;
        lastIndex = index;
    } else {
        TellUnsaved(path);
        free(saved.bytes);
    }
}

const char* LoadGame(board* played, int index) {
    char path[kPathRoom];
    memory saved = {0};
    GamePath(index, path);
    if (!ReadEither(path, &saved)) return "There is no saved game.";
    const char* const wrong = midend_deserialise(played->me, Take, &saved);
    free(saved.bytes);
    return wrong;
}

bool HasGame(int index) {
    char path[kPathRoom], next[kPathRoom + 8];
    if (known[index] == kUnknown) {
        GamePath(index, path);
        snprintf(next, sizeof next, "%s.new", path);
        const bool there = access(path, F_OK) == 0 || access(next, F_OK) == 0;
        known[index] = there ? kThere : kMissing;
    }
    return known[index] == kThere;
}

bool LoadExample(board* shown, int index) {
    char path[kPathRoom];
    memory saved = {0};
    snprintf(path, sizeof path, "/examples/%s.sav", catalogue[index].id);
    if (!ReadFile(path, &saved)) return false;
    const char* const wrong = midend_deserialise(shown->me, Take, &saved);
    free(saved.bytes);
    return wrong == NULL;
}

// --- Preferences: a word and a number a line

static const char kPreferences[] = "/preferences";

static int IndexOf(const char* id) {
    for (int i = 0; i < gamecount; ++i) {
        if (strcmp(catalogue[i].id, id) == 0) return i;
    }
    return -1;
}

static void TakePreference(const char* word, const char* value) {
    const int number = atoi(value);
    if (strcmp(word, "dark") == 0) kept.dark = number != 0;
    if (strcmp(word, "wheel") == 0) kept.wheelUndoes = number != 0;
    if (strcmp(word, "keys") == 0) kept.showsKeys = number != 0;
    if (strcmp(word, "width") == 0) kept.width = number;
    if (strcmp(word, "height") == 0) kept.height = number;
    if (strcmp(word, "last") == 0) kept.last = IndexOf(value);
    const int index = strcmp(word, "favourite") == 0 ? IndexOf(value) : -1;
    if (index >= 0) kept.favourite[index] = true;
}

void LoadPreferences(void) {
    kept = (preferences){.wheelUndoes = true, .showsKeys = true};
    kept.last = -1;
    memory read = {0};
    if (!ReadEither(kPreferences, &read)) return;
    Append(&read, "", 1);
    char* rest = read.bytes;
    for (char* line = strsep(&rest, "\n"); line != NULL; line = strsep(&rest, "\n")) {
        char* const value = strchr(line, ' ');
        if (value == NULL) continue;
        *value = 0;
        TakePreference(line, value + 1);
    }
    free(read.bytes);
}

static void AddLine(memory* to, const char* word, const char* value) {
    Append(to, word, (int)strlen(word));
    Append(to, " ", 1);
    Append(to, value, (int)strlen(value));
    Append(to, "\n", 1);
}

static void AddNumber(memory* to, const char* word, int number) {
    char value[16];
    snprintf(value, sizeof value, "%d", number);
    AddLine(to, word, value);
}

void SavePreferences(void) {
    memory made = {0};
    AddNumber(&made, "dark", kept.dark);
    AddNumber(&made, "wheel", kept.wheelUndoes);
    AddNumber(&made, "keys", kept.showsKeys);
    AddNumber(&made, "width", kept.width);
    AddNumber(&made, "height", kept.height);
    if (kept.last >= 0) AddLine(&made, "last", catalogue[kept.last].id);
    for (int i = 0; i < gamecount; ++i) {
        if (kept.favourite[i]) AddLine(&made, "favourite", catalogue[i].id);
    }
    if (!ReplaceFile(kPreferences, &made)) TellUnsaved(kPreferences);
    free(made.bytes);
}
