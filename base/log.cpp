#include "base/log.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>

#include "base/types.h"

namespace moxi {

namespace {

constexpr u32 kMostLinesASecond = 1000;
// A module makes lines as long as its memory.
constexpr std::size_t kLongestLimitedLine = 4096;

constinit std::mutex limitLock;
constinit bool limited = false;
constinit std::time_t second = 0;
constinit u32 linesOfSecond = 0;
constinit u64 droppedLines = 0;

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 32 || c == 127;
}

void AppendEscaped(std::string& line, char c) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    const unsigned char byte = static_cast<unsigned char>(c);
    line += "\\x";
    line += kDigits[byte >> 4];
    line += kDigits[byte & 15];
}

void TellDropped() {
    if (droppedLines == 0) {
        return;
    }
    WriteErrorLine("log: ", std::to_string(droppedLines) + " lines of the log were left out");
    droppedLines = 0;
}

// Whether one more line may be written now. What has been left out is told before the next one.
bool HasRoom() {
    const std::lock_guard lock(limitLock);
    if (!limited) {
        return true;
    }
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    if (now.tv_sec != second) {
        second = now.tv_sec;
        linesOfSecond = 0;
    }
    if (++linesOfSecond > kMostLinesASecond) {
        ++droppedLines;
        return false;
    }
    TellDropped();
    return true;
}

bool IsLimited() {
    const std::lock_guard lock(limitLock);
    return limited;
}

}  // namespace

void WriteErrorLine(std::string_view prefix, std::string_view text) {
    std::string line(prefix);
    for (const char c : text) {
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\\') {
            line += "\\\\";
        } else if (IsControl(c)) {
            AppendEscaped(line, c);
        } else {
            line += c;
        }
    }
    line += '\n';
    // One write for the whole line, so that lines of several threads do not mix.
    for (std::string_view rest = line; !rest.empty();) {
        const ssize_t written = write(errorDescriptor, rest.data(), rest.size());
        if (written < 0 && errno != EINTR) {
            return;
        }
        if (written > 0) {
            rest.remove_prefix(static_cast<size_t>(written));
        }
    }
}

void SystemLog(std::string_view text) {
    if (!HasRoom()) {
        return;
    }
    if (IsLimited() && text.size() > kLongestLimitedLine) {
        return WriteErrorLine("log: ", std::string(text.substr(0, kLongestLimitedLine)) + "...");
    }
    WriteErrorLine("log: ", text);
}

void LimitLog() {
    const std::lock_guard lock(limitLock);
    limited = true;
}

void EndLog() {
    const std::lock_guard lock(limitLock);
    limited = false;
    TellDropped();
}

std::string WithoutControls(std::string_view text) {
    std::string shown;
    for (const char c : text) {
        if (IsControl(c)) {
            AppendEscaped(shown, c);
        } else {
            shown += c;
        }
    }
    return shown;
}

std::string FormatText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list copy;
    va_copy(copy, arguments);
    // The analyser does not follow va_copy.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace moxi
