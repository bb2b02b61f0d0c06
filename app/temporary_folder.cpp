#include "app/temporary_folder.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace moxi {

namespace {

constinit int lifeline = -1;  // our end of the pipe to the other process
constinit pid_t remover = 0;

// Signals that ask for an end are the game's to answer.
[[noreturn]] void RemoveAfterwards(int connection, const std::string& folder) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        std::signal(signal, SIG_IGN);
    }
    // A byte is the orderly end. Without one the pipe ends, once the game's other processes, which
    // hold it open too, have ended as well.
    char byte = 0;
    while (read(connection, &byte, 1) < 0 && errno == EINTR) {
    }
    std::error_code error;
    std::filesystem::remove_all(folder, error);
    _exit(0);
}

}  // namespace

std::string MakeTemporaryFolder() {
    const char* const chosen = std::getenv("TMPDIR");
    std::string folder = chosen != nullptr && chosen[0] == '/' ? chosen : "/tmp";
    folder += "/moxi-XXXXXX";
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return "";
    }
    remover = mkdtemp(folder.data()) != nullptr ? fork() : -1;
    if (remover == 0) {
        close(ends[1]);
        RemoveAfterwards(ends[0], folder);
    }
    close(ends[0]);
    lifeline = ends[1];
    if (remover > 0) {
        return folder;
    }
    rmdir(folder.c_str());
    close(lifeline);
    lifeline = -1;
    return "";
}

void RemoveTemporaryFolder() {
    if (lifeline < 0) {
        return;
    }
    const char end = 0;
    if (write(lifeline, &end, 1) != 1) {
        return;
    }
    close(lifeline);
    lifeline = -1;
    waitpid(remover, nullptr, 0);
}

}  // namespace moxi
