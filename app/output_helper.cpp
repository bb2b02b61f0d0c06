#include "app/output_helper.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "app/call_filter.h"
#include "base/helper_process.h"
#include "base/output_files.h"

namespace moxi {

namespace {

constinit int helper = -1;  // our end of the connection
const OutputFiles directFiles = outputFiles;

// --- The helper

// Until the other end is closed. Signals that ask for an end are the game's to answer.
[[noreturn]] void ServeRequests(int connection, const OutputPlaces& places) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        std::signal(signal, SIG_IGN);
    }
    FilterOutputHelperCalls();
    char request[kLongestOutputRequest];
    for (;;) {
        const ssize_t size = recv(connection, request, sizeof request, 0);
        if (size <= 0) {
            _exit(0);
        }
        ServeOutputRequest(connection, places, {request, static_cast<size_t>(size)});
    }
}

// --- This process

// The open file, or -1 and errno.
int Ask(char what, const std::string& path) {
    const std::string request = what + path;
    if (request.size() > kLongestOutputRequest) {
        errno = ENAMETOOLONG;
        return -1;
    }
    if (send(helper, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return -1;
    }
    int error = 0;
    int file = -1;
    ssize_t size = 0;
    do {
        size = TakeWithFile(helper, &error, sizeof error, file, 0);
    } while (size < 0 && errno == EINTR);
    if (size != sizeof error) {
        errno = EPIPE;
        return -1;
    }
    errno = error;
    return file;
}

std::FILE* Stream(int file, const char* mode) {
    if (file < 0) {
        return nullptr;
    }
    std::FILE* const stream = fdopen(file, mode);
    if (stream == nullptr) {
        close(file);
    }
    return stream;
}

std::FILE* OpenThroughHelper(const std::string& path) {
    return Stream(Ask(kRequestOpen, path), "wb");
}

std::FILE* ReadThroughHelper(const std::string& path) {
    return Stream(Ask(kRequestRead, path), "rb");
}

bool PutInPlaceThroughHelper(const std::string& path) {
    Ask(kRequestPutInPlace, path);
    return errno == 0;
}

bool MakeNewThroughHelper(const std::string& path) {
    const int file = Ask(kRequestMakeNew, path);
    if (file >= 0) {
        close(file);
    }
    return file >= 0;
}

}  // namespace

bool StartOutputHelper(const OutputPlaces& places) {
    const bool needed =
        !places.files.empty() || !places.picturesFolder.empty() || !places.ownFiles.empty();
    if (helper >= 0 || !needed) {
        return true;
    }
    // The names of new files end with digits that are drawn at the first call. They are drawn here,
    // so that the helper has the same.
    NewFileOf("");
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        ServeRequests(ends[1], places);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return false;
    }
    helper = ends[0];
    outputFiles = {
        .open = OpenThroughHelper,
        .remove = [](const std::string& path) { Ask(kRequestRemove, path); },
        .makeNew = MakeNewThroughHelper,
        .read = ReadThroughHelper,
        .putInPlace = PutInPlaceThroughHelper,
    };
    return true;
}

void StopOutputHelper() {
    if (helper >= 0) {
        close(helper);
    }
    helper = -1;
    outputFiles = directFiles;
}

}  // namespace moxi
