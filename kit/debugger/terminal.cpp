#include "kit/debugger/terminal.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "desktop/quit_request.h"

namespace moxi {

namespace {

constexpr const char* kPrompt = "(moxi)";
// A signal may be handled on another thread, which does not wake this one.
constexpr int kLookAtSignals = 100;  // ms
constexpr size_t kLongestLine = 65536;

std::string pending;  // read, not yet handed out
constinit bool inputEnded = false;

// Waits for more input. False at its end, when the program is to end, and when what comes is no
// text of commands.
bool ReadMore() {
    if (pending.size() > kLongestLine) {
        pending.clear();
        return false;
    }
    while (quitRequest != QuitRequest::Made) {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        const int ready = poll(&input, 1, kLookAtSignals);
        if (ready == 0 || (ready < 0 && errno == EINTR)) {
            continue;
        }
        char bytes[4096];
        const ssize_t size = read(STDIN_FILENO, bytes, sizeof bytes);
        if (size < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (size <= 0) {
            return false;
        }
        pending.append(bytes, static_cast<size_t>(size));
        return true;
    }
    return false;
}

}  // namespace

void Say(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    // Flushed, so that what the run writes to standard error comes after it.
    std::fflush(stdout);
}

std::optional<std::string> ReadCommand() {
    const bool terminal = isatty(STDIN_FILENO) == 1;
    if (terminal) {
        std::fprintf(stdout, "%s ", kPrompt);
        std::fflush(stdout);
    }
    size_t end = pending.find('\n');
    while (end == std::string::npos && !inputEnded) {
        if (!ReadMore()) {
            inputEnded = true;
        }
        end = pending.find('\n');
    }
    if (end == std::string::npos && (pending.empty() || quitRequest == QuitRequest::Made)) {
        if (terminal) {
            Say("");
        }
        return std::nullopt;
    }
    std::string line = pending.substr(0, end);
    pending.erase(0, end == std::string::npos ? pending.size() : end + 1);
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    if (!terminal) {
        Say(line.empty() ? kPrompt : std::string(kPrompt) + " " + line);
    }
    return line;
}

}  // namespace moxi
