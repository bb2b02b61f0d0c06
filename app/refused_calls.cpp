#include "app/refused_calls.h"

#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>

namespace moxi {

namespace {

constexpr int kMostCalls = 512;
constinit std::atomic<bool> told[kMostCalls] = {};

void SetResult(void* context, long result) {
    ucontext_t& state = *static_cast<ucontext_t*>(context);
#if defined(__x86_64__)
    state.uc_mcontext.gregs[REG_RAX] = result;
#elif defined(__aarch64__)
    state.uc_mcontext.regs[0] = static_cast<unsigned long long>(result);
#else
    static_cast<void>(state);
    static_cast<void>(result);
#endif
}

// This runs in a signal handler, where the C library's formatting is not allowed.
void Tell(int call) {
    char line[] = "log: refused system call 0000\n";
    char* digit = line + sizeof line - 3;
    for (int rest = call, i = 0; i < 4; ++i, rest /= 10, --digit) {
        *digit = static_cast<char>('0' + rest % 10);
    }
    const ssize_t written = write(STDERR_FILENO, line, sizeof line - 1);
    static_cast<void>(written);
}

void OnRefusedCall(int, siginfo_t* info, void* context) {
    const int call = info->si_syscall;
    if (call >= 0 && call < kMostCalls && !told[call].exchange(true)) {
        Tell(call);
    }
    SetResult(context, -EPERM);
}

}  // namespace

void TellRefusedCalls() {
    struct sigaction action = {};
    action.sa_sigaction = OnRefusedCall;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigaction(SIGSYS, &action, nullptr);
}

}  // namespace moxi
