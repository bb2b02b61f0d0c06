#include "base/log.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

void WriteErrorLine(std::string_view prefix, std::string_view text) {
    std::string line(prefix);
    for (const char c : text) {
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\\') {
            line += "\\\\";
        } else {
            line += c;
        }
    }
    line += '\n';
    // One write for the whole line, so that lines of several threads do not mix.
    for (std::string_view rest = line; !rest.empty();) {
        const ssize_t written = write(errorDescriptor, rest.data(), rest.size());
        if (written < 0 && errno != EINTR) return;
        if (written > 0) rest.remove_prefix(static_cast<size_t>(written));
    }
}

void SystemLog(std::string_view text) {
    WriteErrorLine("log: ", text);
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
