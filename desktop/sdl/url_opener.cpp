#include "desktop/sdl/url_opener.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "base/log.h"

constexpr std::size_t kLongestUrl = 8192;

static constinit int helper = -1;  // our end of the connection

static void OpenWithDesktop(char* url) {
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    char name[] = "xdg-open";
    char* arguments[] = {name, url, nullptr};
    pid_t child = 0;
    // What this process ignores the opener shall not.
    posix_spawnattr_t usual;
    posix_spawnattr_init(&usual);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGCHLD);
    posix_spawnattr_setsigdefault(&usual, &signals);
    posix_spawnattr_setflags(&usual, POSIX_SPAWN_SETSIGDEF);
    if (posix_spawnp(&child, name, &quiet, &usual, arguments, environ) != 0) {
        SystemLog(std::string("cannot start xdg-open for ") + url);
    }
    posix_spawnattr_destroy(&usual);
    posix_spawn_file_actions_destroy(&quiet);
}

// One address a packet, until the other end is closed.
template <class Serve>
[[noreturn]] static void ServeUrls(int connection, Serve serve) {
    char url[kLongestUrl + 1];
    for (;;) {
        const ssize_t size = recv(connection, url, kLongestUrl, 0);
        if (size <= 0) _exit(0);
        url[size] = '\0';
        serve(url);
    }
}

// Two processes: one that listens to the game's and looks at what it gets, and one that starts
// programs and hears of good addresses alone.
[[noreturn]] static void BecomeUrlOpener(int connection, void (*confine)()) {
    std::signal(SIGINT, SIG_IGN);   // the keyboard's interrupt is the game's
    std::signal(SIGCHLD, SIG_IGN);  // nobody waits for the openers
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) _exit(1);
    const pid_t starter = fork();
    if (starter < 0) _exit(1);
    if (starter == 0) {
        close(connection);
        close(ends[1]);
        ServeUrls(ends[0], OpenWithDesktop);
    }
    close(ends[0]);
    confine();
    ServeUrls(connection, [ends](const char* url) {
        if (IsOpenableUrl(url)) send(ends[1], url, std::strlen(url), MSG_NOSIGNAL);
    });
}

void StartUrlOpener(void (*confine)()) {
    int ends[2];
    if (helper >= 0 || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return;
    const pid_t child = fork();
    if (child == 0) {
        // A second fork leaves the helper to init, so that nobody has to wait for it.
        if (fork() != 0) _exit(0);
        close(ends[0]);
        BecomeUrlOpener(ends[1], confine);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return;
    }
    waitpid(child, nullptr, 0);
    helper = ends[0];
}

void StopUrlOpener() {
    if (helper >= 0) close(helper);
    helper = -1;
}

bool IsOpenableUrl(std::string_view url) {
    const auto startsWith = [url](std::string_view scheme) {
        return url.size() > scheme.size() &&
               std::equal(scheme.begin(), scheme.end(), url.begin(), [](char a, char b) {
                   return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b + 32) : b);
               });
    };
    if (url.size() > kLongestUrl) return false;
    if (!startsWith("http://") && !startsWith("https://") && !startsWith("mailto:")) return false;
    return std::none_of(url.begin(), url.end(),
                        [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F; });
}

void OpenUrl(const std::string& utf8) {
    if (!IsOpenableUrl(utf8)) return SystemLog("refused to open " + utf8);
    if (helper < 0 || send(helper, utf8.data(), utf8.size(), MSG_NOSIGNAL) < 0) {
        SystemLog("cannot open " + utf8);
    }
}
