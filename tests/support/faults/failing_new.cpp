// Linked into a second build of the program, moxi_faults: one allocation of the C++ code fails, the
// one whose number MOXI_FAILING_ALLOCATION names, or every one from it on with MOXI_FAILING_REST.
// At the end the number of allocations goes to the file that MOXI_ALLOCATIONS names.

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

std::atomic<unsigned long> count = 0;
const char* const kFailing = std::getenv("MOXI_FAILING_ALLOCATION");
const unsigned long failing = kFailing != nullptr ? std::strtoul(kFailing, nullptr, 10) : 0;
const bool rest = std::getenv("MOXI_FAILING_REST") != nullptr;

// Opened before the sandbox is.
struct Report {
    int file = -1;
    Report() {
        const char* const path = std::getenv("MOXI_ALLOCATIONS");
        if (path != nullptr) {
            file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        }
    }
    ~Report() {
        if (file >= 0) {
            dprintf(file, "%lu", count.load());
        }
    }
} report;

// Allocations before PrepareForOutOfMemory() do not count: nothing that the program is given can
// have a part in them.
bool Fails() {
    if (std::get_new_handler() == nullptr) {
        return false;
    }
    const unsigned long number = ++count;
    return failing != 0 && (number == failing || (rest && number > failing));
}

void* Allocate(std::size_t size) {
    bool fails = Fails();
    for (;;) {
        void* const block = fails ? nullptr : std::malloc(size != 0 ? size : 1);
        if (block != nullptr) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
        fails = rest;
    }
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
