#include "app/out_of_memory.h"

#include <glib.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string_view>
#include <thread>

#include "app/finish.h"
#include "vm/diagnostics.h"
#include "vm/guard.h"

namespace moxi {

namespace {

// Enough for the message and the dumps' own bookkeeping.
constexpr size_t kReserve = size_t{1} << 20;

constinit void* reserve = nullptr;
constinit bool isOut = false;
constinit std::atomic<bool> isPrepared = false;
std::thread::id mainThread;

[[noreturn]] void EndWithoutMemory() {
    const bool onMainThread = std::this_thread::get_id() == mainThread;
    if (!onMainThread || reserve == nullptr) {
        // A library's own thread cannot show the box, nor wait for the main thread, which may wait
        // for it; and without the reserve not even the end can be had in order.
        constexpr std::string_view kLine = "fatal: Terminating: insufficient memory. So sorry.\n";
        [[maybe_unused]] const ssize_t written = write(errorDescriptor, kLine.data(), kLine.size());
        if (!onMainThread) {
            WriteDumpsOfForcedEnd();
        }
        std::_Exit(1);
    }
    std::free(reserve);
    reserve = nullptr;
    isOut = true;
    ShowFatalMessage("Terminating: insufficient memory. So sorry.");
    EndProcess(1);
}

void OnOutOfMemory() {
    if (std::this_thread::get_id() != mainThread) {
        throw std::bad_alloc();
    }
    EndWithoutMemory();
}

// GLib aborts when it gets no memory, after it has told so here.
void OnGlibError(const char*, GLogLevelFlags, const char* message, void*) {
    SystemLog(message);
    EndWithoutMemory();
}

// Who asks for this much at once is prepared to get nothing: pictures, sounds, files as a whole.
constexpr size_t kLarge = size_t{1} << 20;

// C libraries that do not look at what they get for a few bytes would write through a null pointer.
[[maybe_unused]] void* Checked(void* memory, size_t size) {
    if (memory == nullptr && size > 0 && size < kLarge && isPrepared) {
        EndWithoutMemory();
    }
    return memory;
}

}  // namespace

// The C library's allocator as everybody calls it, ours included, with the check above. Sanitizers
// have an allocator of their own, which ends the process itself.
#if defined(__GLIBC__) && !MOXI_CHECKED_ACCESS
extern "C" {
void* PlainMalloc(size_t size) noexcept asm("__libc_malloc");
void* PlainCalloc(size_t count, size_t size) noexcept asm("__libc_calloc");
void* PlainRealloc(void* memory, size_t size) noexcept asm("__libc_realloc");

void* malloc(size_t size) noexcept {
    return Checked(PlainMalloc(size), size);
}

void* calloc(size_t count, size_t size) noexcept {
    // A product that wraps is more than there is, so null is the right answer and no lack of
    // memory.
    size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) {
        bytes = 0;
    }
    return Checked(PlainCalloc(count, size), bytes);
}

void* realloc(void* memory, size_t size) noexcept {
    return Checked(PlainRealloc(memory, size), size);
}
}
#endif

bool MemoryIsOut() {
    return isOut;
}

void PrepareForOutOfMemory() {
    mainThread = std::this_thread::get_id();
    reserve = std::malloc(kReserve);
    isPrepared = true;
    std::set_new_handler(OnOutOfMemory);
    g_log_set_handler("GLib", static_cast<GLogLevelFlags>(G_LOG_LEVEL_ERROR | G_LOG_FLAG_FATAL),
                      OnGlibError, nullptr);
}

}  // namespace moxi
