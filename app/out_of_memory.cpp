#include "app/out_of_memory.h"

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <thread>

#include "vm/diagnostics.h"

namespace {

// Enough for the message and the dumps' own bookkeeping.
constexpr size_t kReserve = size_t{1} << 20;

constinit void* reserve = nullptr;
std::thread::id mainThread;

[[noreturn]] void EndWithoutMemory() {
    if (reserve == nullptr) {
        // Not even the end can be had in order.
        std::fputs("fatal: Terminating: insufficient memory. So sorry.\n", stderr);
        std::_Exit(1);
    }
    std::free(reserve);
    reserve = nullptr;
    ShowFatalMessage("Terminating: insufficient memory. So sorry.");
    EndProcess(1);
}

void OnOutOfMemory() {
    if (std::this_thread::get_id() != mainThread) throw std::bad_alloc();
    EndWithoutMemory();
}

// GLib aborts when it gets no memory, after it has told so here.
void OnGlibError(const char*, GLogLevelFlags, const char* message, void*) {
    SystemLog(message);
    EndWithoutMemory();
}

}  // namespace

void PrepareForOutOfMemory() {
    mainThread = std::this_thread::get_id();
    reserve = std::malloc(kReserve);
    std::set_new_handler(OnOutOfMemory);
    g_log_set_handler("GLib", static_cast<GLogLevelFlags>(G_LOG_LEVEL_ERROR | G_LOG_FLAG_FATAL),
                      OnGlibError, nullptr);
}
