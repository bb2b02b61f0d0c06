#include "translate/code_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "translate/region.h"
#include "translate/state.h"
#include "vm/machine.h"

namespace moxi {

constinit TranslatedState translatedState;

namespace {

constinit u32 coveredEnd = kHeaderSize;

// The table of entries, and that of what is covered, which is read a little beyond its end.
u64 TablesSize(u64 entriesSize) {
    return entriesSize + entriesSize / 4 + kCoverWindow;
}

void FreeTables() {
    if (translatedState.entries == nullptr) {
        return;
    }
    munmap(translatedState.entries, TablesSize(translatedState.entriesSize));
    translatedState.entries = nullptr;
    translatedState.covered = nullptr;
    translatedState.entriesSize = 0;
}

}  // namespace

bool MakeCodeMemory() {
    if (translatedState.codeMemory != nullptr) {
        return true;
    }
    void* const memory =
        mmap(nullptr, kCodeMemory, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return false;
    }
    if (mprotect(memory, kCodeMemory, PROT_READ | PROT_EXEC) != 0) {
        munmap(memory, kCodeMemory);
        return false;
    }
    translatedState.codeMemory = static_cast<u8*>(memory);
    return true;
}

bool MakeTables() {
    const u64 size = std::min<u64>((u64{imageSize} + 4095) / 4096 * 4096, kMostCode);
    if (size == translatedState.entriesSize) {
        return true;
    }
    FreeTables();
    void* const memory = mmap(nullptr, TablesSize(size), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return false;
    }
    translatedState.entries = static_cast<u8*>(memory);
    translatedState.entriesSize = size;
    translatedState.covered = translatedState.entries + size;
    std::fill_n(translatedState.covered, kHeaderSize / 4, u8{1});
    return true;
}

void SetEntry(u32 pc, u32 offset) {
    if (u64{pc} + 4 <= translatedState.entriesSize) {
        std::memcpy(translatedState.entries + pc, &offset, sizeof offset);
    }
}

u32 EntryAt(u32 pc) {
    u32 offset = 0;
    if (pc % 4 == 0 && u64{pc} + 4 <= translatedState.entriesSize) {
        std::memcpy(&offset, translatedState.entries + pc, sizeof offset);
    }
    return offset;
}

void WriteCode(u8* to, const std::vector<u8>& bytes) {
    const auto page = static_cast<u64>(sysconf(_SC_PAGESIZE));
    const u64 start = static_cast<u64>(to - translatedState.codeMemory) / page * page;
    const u64 end = static_cast<u64>(to - translatedState.codeMemory) + bytes.size();
    const u64 size = std::min<u64>((end + page - 1) / page * page, kCodeMemory) - start;
    mprotect(translatedState.codeMemory + start, size, PROT_READ | PROT_WRITE);
    std::memcpy(to, bytes.data(), bytes.size());
    mprotect(translatedState.codeMemory + start, size, PROT_READ | PROT_EXEC);
}

void Cover(u32 pc, u32 bytes) {
    std::fill_n(translatedState.covered + pc / 4, bytes / 4, u8{1});
    coveredEnd = std::max(coveredEnd, pc + bytes);
}

void UncoverEverything() {
    if (coveredEnd > kHeaderSize) {
        std::fill(translatedState.covered + kHeaderSize / 4,
                  translatedState.covered + coveredEnd / 4, u8{0});
    }
    coveredEnd = kHeaderSize;
}

bool IsCovered(u32 address) {
    return AreCovered(address, 8);
}

bool AreCovered(u32 address, u64 bytes) {
    const u64 end = std::min<u64>(address + bytes, coveredEnd);
    if (address >= end) {
        return false;
    }
    const u64 words = (end + 3) / 4 - address / 4;
    return std::memchr(translatedState.covered + address / 4, 1, words) != nullptr;
}

}  // namespace moxi
