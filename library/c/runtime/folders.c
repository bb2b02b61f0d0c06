// Listings. One is read whole when it begins, for the machine keeps a single one.

#include <stdlib.h>
#include <string.h>

#include "runtime.h"

void FreeListing(listing* list) {
    for (size_t i = 0; i < list->count; ++i) free(list->names[i]);
    free(list->names);
    free(list->types);
    memset(list, 0, sizeof *list);
}

static error AddName(listing* list, const char* name, bool isFolder) {
    // Room is made for a power of two.
    if ((list->count & (list->count - 1)) == 0) {
        const size_t room = list->count == 0 ? 1 : list->count * 2;
        char** const names = (char**)realloc(list->names, room * sizeof *names);
        if (names == NULL) return __WASI_ERRNO_NOMEM;
        list->names = names;
        uint8_t* const types = (uint8_t*)realloc(list->types, room);
        if (types == NULL) return __WASI_ERRNO_NOMEM;
        list->types = types;
    }
    char* const copy = strdup(name);
    if (copy == NULL) return __WASI_ERRNO_NOMEM;
    list->names[list->count] = copy;
    list->types[list->count++] =
        isFolder ? __WASI_FILETYPE_DIRECTORY : __WASI_FILETYPE_REGULAR_FILE;
    return __WASI_ERRNO_SUCCESS;
}

error ReadListing(const char* folder, listing* list) {
    char pattern[kNameSize + 2];
    char name[1024];
    uint32_t attribute = 0;
    FreeListing(list);
    error problem = AddName(list, ".", true);
    if (problem == __WASI_ERRNO_SUCCESS) problem = AddName(list, "..", true);
    strcpy(pattern, folder);
    strcat(pattern, *folder == 0 ? "*" : "/*");
    uint32_t found = moxi_find_first(pattern, name, &attribute, NULL);
    while (found == 0 && problem == __WASI_ERRNO_SUCCESS) {
        problem = AddName(list, name, (attribute & MOXI_FILE_IS_FOLDER) != 0);
        found = moxi_find_next(name, &attribute, NULL);
    }
    moxi_end_find();
    if (problem != __WASI_ERRNO_SUCCESS) FreeListing(list);
    return problem;
}

// As much as fits; the last entry may be cut, by which the reader knows that there is more.
error CopyListing(const char* folder, const listing* list, void* buffer, size_t size,
                  uint64_t first, size_t* used) {
    char name[kNameSize];
    char* to = (char*)buffer;
    char* const end = to + size;
    for (uint64_t i = first; i < list->count && to < end; ++i) {
        const char* const text = list->names[i];
        const size_t length = strlen(text);
        __wasi_dirent_t head;
        memset(&head, 0, sizeof head);
        head.d_next = i + 1;
        head.d_ino = ResolveName(folder, text, length, name, NULL) == __WASI_ERRNO_SUCCESS
                         ? NumberOfName(name)
                         : 1;
        head.d_namlen = length;
        head.d_type = list->types[i];
        const size_t headPart = (size_t)(end - to) < sizeof head ? (size_t)(end - to) : sizeof head;
        memcpy(to, &head, headPart);
        to += headPart;
        const size_t namePart = (size_t)(end - to) < length ? (size_t)(end - to) : length;
        memcpy(to, text, namePart);
        to += namePart;
    }
    *used = (size_t)(to - (char*)buffer);
    return __WASI_ERRNO_SUCCESS;
}
