// Data files are read whole: what the engine asks for lies in memory then, and nothing is copied.

#include "doomtype.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "i_system.h"
#include "m_misc.h"
#include "w_file.h"

wad_file_t* W_OpenFile(const char* path) {
    FILE* const file = M_fopen(path, "rb");
    if (file == NULL) return NULL;
    fseek(file, 0, SEEK_END);
    const long length = ftell(file);
    rewind(file);
    wad_file_t* const wad = calloc(1, sizeof *wad);
    byte* const bytes = length > 0 ? malloc((size_t)length) : NULL;
    if (wad == NULL || bytes == NULL) {
        I_Error("%s: there is not enough memory for its %ld bytes.", path, length);
    }
    if (fread(bytes, 1, (size_t)length, file) != (size_t)length) {
        I_Error("%s: cannot be read.", path);
    }
    fclose(file);
    wad->mapped = bytes;
    wad->length = (unsigned)length;
    wad->path = M_StringDuplicate(path);
    return wad;
}

void W_CloseFile(wad_file_t* wad) {
    free(wad->mapped);
    free(wad);
}

size_t W_Read(wad_file_t* wad, unsigned int offset, void* buffer, size_t size) {
    if (offset > wad->length) return 0;
    if (size > wad->length - offset) size = wad->length - offset;
    memcpy(buffer, wad->mapped + offset, size);
    return size;
}
