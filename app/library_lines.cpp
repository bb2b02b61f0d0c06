#include "app/library_lines.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <new>
#include <string>
#include <system_error>
#include <thread>

#include "base/log.h"
#include "vm/guard.h"

#if MOXI_CHECKED_ACCESS
#include <sanitizer/common_interface_defs.h>
#endif

namespace moxi {

namespace {

constexpr size_t kLongestLine = 4096;

constinit int pipeOfLines = -1;  // the end that is read
constinit int stop = -1;         // an event for the thread
std::thread teller;
std::string unfinished;  // the beginning of a line; of the thread while there is one

void TellLine() {
    if (!unfinished.empty()) {
        SystemLog(unfinished);
    }
    unfinished.clear();
}

// Tells the lines that have come in whole.
void TellWhatHasCome() {
    char bytes[1024];
    for (;;) {
        const ssize_t count = read(pipeOfLines, bytes, sizeof bytes);
        if (count <= 0) {
            return;
        }
        for (ssize_t i = 0; i < count; ++i) {
            if (bytes[i] == '\n' || unfinished.size() >= kLongestLine) {
                TellLine();
            }
            if (bytes[i] != '\n') {
                unfinished += bytes[i];
            }
        }
    }
}

void TellUntilStopped() {
    pollfd sources[] = {{pipeOfLines, POLLIN, 0}, {stop, POLLIN, 0}};
    while (sources[1].revents == 0) {
        if (poll(sources, 2, -1) < 0 && errno != EINTR) {
            return;
        }
        if (sources[0].revents == 0) {
            continue;
        }
        try {
            TellWhatHasCome();
        } catch (const std::bad_alloc&) {
            unfinished.clear();
        }
    }
}

// Libraries say why before they abort. Nothing here but what a signal handler may do.
void OnAbort(int) {
    char bytes[1024];
    for (ssize_t count = 0; (count = read(pipeOfLines, bytes, sizeof bytes)) > 0;) {
        if (write(errorDescriptor, bytes, static_cast<size_t>(count)) < 0) {
            break;
        }
    }
    std::signal(SIGABRT, SIG_DFL);
    raise(SIGABRT);
}

}  // namespace

void TakeLibraryLines() {
    int ends[2];
    const int own = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    // Neither end of the pipe blocks: what does not fit because nobody has read in time is lost.
    if (own < 0 || pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    pipeOfLines = ends[0];
    errorDescriptor = own;
    std::signal(SIGABRT, OnAbort);
#if MOXI_CHECKED_ACCESS
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface wants it so
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(own)));
#endif
}

void TellLibraryLines() {
    if (pipeOfLines < 0) {
        return;
    }
    stop = eventfd(0, EFD_CLOEXEC);
    if (stop < 0) {
        return;
    }
    // Where there is no room for a thread the lines come at the end.
    try {
        teller = std::thread(TellUntilStopped);
    } catch (const std::system_error&) {
        TellWhatHasCome();
    }
}

void GiveBackStandardError() {
    if (pipeOfLines < 0) {
        return;
    }
    std::signal(SIGABRT, SIG_DFL);
    dup2(errorDescriptor, STDERR_FILENO);
    if (teller.joinable()) {
        eventfd_write(stop, 1);
        teller.join();
    }
    TellWhatHasCome();
    TellLine();
    close(pipeOfLines);
    pipeOfLines = -1;
}

}  // namespace moxi
