#include "desktop/sdl/loop/gate.h"

#include <mutex>
#include <thread>

namespace moxi {

namespace {

std::mutex gate;
std::thread::id mainThread;
constinit bool inside = false;  // touched by the main thread alone

}  // namespace

void BindGateToMainThread() {
    mainThread = std::this_thread::get_id();
    EnterGate();
}

bool IsMainThread() {
    return std::this_thread::get_id() == mainThread;
}

bool MainThreadIsInside() {
    return inside;
}

bool EnterGate() {
    if (inside) {
        return false;
    }
    gate.lock();
    inside = true;
    return true;
}

void LeaveGate() {
    inside = false;
    gate.unlock();
}

bool TryLockGate() {
    return gate.try_lock();
}

void LockGate() {
    gate.lock();
}

void UnlockGate() {
    gate.unlock();
}

}  // namespace moxi
