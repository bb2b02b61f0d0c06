#pragma once
// What the two image fuzzers share: a machine with a small heap, and a file in memory that every
// name opens.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "desktop/folders.h"
#include "gfx/bitmap.h"
#include "gfx/image_files.h"
#include "sys/files.h"
#include "sys/system_calls.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace image_fuzz {

constexpr u32 kImageSize = 256 << 10;

inline const u8* fileBytes = nullptr;
inline std::size_t fileSize = 0;

inline std::FILE* OpenMemory(int, const char*, int) {
    const int file = memfd_create("image", MFD_CLOEXEC);
    if (file < 0 || write(file, fileBytes, fileSize) != static_cast<ssize_t>(fileSize)) {
        std::abort();
    }
    lseek(file, 0, SEEK_SET);
    return fdopen(file, "rb");
}

inline void StartMachine() {
    static bool started = false;
    if (!started) {
        started = true;
        folders.resources = "/";
        folders.dataOverride = "/";
        InitFolders();
        AllocateImage(kImageSize);
        heapStart = 4096;
        heapSize = kImageSize - heapStart;
        systemCalls.open = OpenMemory;
        InitHeapTable();
        AllocHeap(4);
    }
}

inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Loads the bytes as an image file. A bitmap that comes back must lie in the heap, and without one
// the heap must be as free as before. The handle is freed again.
inline void LoadFuzzedImage(const u8* data, std::size_t size) {
    if (size == 0) {
        return;
    }
    StartMachine();
    fileBytes = data;
    fileSize = size;
    const u32 handle = LoadImage("A");
    if (handle != 0) {
        StartSRC(handle);
        Require(Reaches(srcSelection, BitmapArea(srcSelection)) || srcSelection.width == 0 ||
                srcSelection.height == 0);
        EndSRC();
        FreeBitmap(handle);
    }
    Require(heapPointerCount == 0);
    CompactHeap();
    Require(heapFree == heapStart + 4);
}

}  // namespace image_fuzz

}  // namespace moxi
