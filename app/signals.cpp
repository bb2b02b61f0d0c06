#include "app/signals.h"

#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <system_error>
#include <thread>

#include "app/finish.h"
#include "desktop/quit_request.h"
#include "kit/debugger/debugger.h"
#include "vm/guard.h"

namespace moxi {

namespace {

constinit unsigned answerSeconds = 0;
constinit volatile std::sig_atomic_t firstSignal = 0;
constinit bool interruptsStop = false;
sem_t patienceIsOver;
constinit std::atomic<bool> threadWaits = false;

// --- Handlers: nothing here but what a signal handler may do.

void OnEndRequest(int signal) {
    if (signal == SIGINT && interruptsStop && !stopRequest.exchange(true)) {
        return;
    }
    firstSignal = signal;
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGINT, SIG_DFL);
    quitSignalTime = SignalClock();
    quitIsBySignal = true;
    quitRequest = QuitRequest::Made;
    if (answerSeconds > 0) {
        alarm(answerSeconds);
    }
}

void OnAlarm(int) {
    if (quitRequest == QuitRequest::None) {
        return;  // it has been refused
    }
    if (!threadWaits) {
        raise(firstSignal);
    }
    sem_post(&patienceIsOver);
}

// A thread of its own, since a handler may write no files.
void EndWhenPatienceIsOver() {
    while (sem_wait(&patienceIsOver) != 0) {
    }
    WriteDumpsOfForcedEnd();
    kill(getpid(), firstSignal);
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    // Neither handler may see the other one half done.
    sigemptyset(&action.sa_mask);
    for (const int other : {SIGTERM, SIGINT, SIGALRM}) {
        sigaddset(&action.sa_mask, other);
    }
    sigaction(signal, &action, nullptr);
}

}  // namespace

void HandleSignals(unsigned patience) {
    answerSeconds = patience;
    Handle(SIGTERM, OnEndRequest);
    Handle(SIGINT, OnEndRequest);
    if (patience > 0) {
        sem_init(&patienceIsOver, 0, 0);
        Handle(SIGALRM, OnAlarm);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

void StartPatience() {
    // The leak check at the end of a build with sanitizers cannot stop another thread in the
    // sandbox, and says so.
    if (answerSeconds == 0 || kCheckedAccess) {
        return;
    }
    try {
        std::thread(EndWhenPatienceIsOver).detach();
        threadWaits = true;
    } catch (const std::system_error&) {
        // Without room for a thread the signal ends the process, and no dumps are written.
    }
}

void LetInterruptsStop() {
    interruptsStop = true;
}

}  // namespace moxi
