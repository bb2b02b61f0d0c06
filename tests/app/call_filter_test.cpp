// The filter of system calls and the limits, in processes of their own.

#include "app/call_filter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

#include "app/refused_calls.h"
#include "base/helper_process.h"
#include "base/log.h"
#include "desktop/sdl/input/pad_helper.h"
#include "vm/guard.h"

namespace moxi {

namespace {

// The exit status of `body` in a process with the game's filter.
template <class Body>
int StatusInFilter(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        if (!FilterGameCalls().empty()) {
            _exit(200);
        }
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int Refused(long result) {
    return result == -1 && errno == EPERM ? 0 : 1;
}

TEST(CallFilter, NoProgramIsStarted) {
    if (kCheckedAccess) {
        GTEST_SKIP() << "reports of this build start a program";
    }
    EXPECT_EQ(StatusInFilter([] { return Refused(execl("/bin/true", "true", nullptr)); }), 0);
    EXPECT_EQ(StatusInFilter([] { return Refused(fork()); }), 0);
#ifdef SYS_vfork  // newer processors have clone alone
    EXPECT_EQ(StatusInFilter([] { return Refused(syscall(SYS_vfork)); }), 0);
#endif
}

TEST(CallFilter, NoOtherProcessIsLookedInto) {
    EXPECT_EQ(StatusInFilter([] {
                  char byte = 0;
                  const iovec place = {&byte, 1};
                  return Refused(process_vm_readv(getppid(), &place, 1, &place, 1, 0));
              }),
              0);
    EXPECT_EQ(StatusInFilter([] { return Refused(kill(getppid(), 0)); }), 0);
    EXPECT_EQ(StatusInFilter([] { return Refused(kill(-1, 0)); }), 0);
    EXPECT_EQ(StatusInFilter([] { return Refused(syscall(SYS_pidfd_open, getppid(), 0)); }), 0);
    if (kCheckedAccess) {
        return;
    }
    EXPECT_EQ(
        StatusInFilter([] { return Refused(ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr)); }),
        0);
}

TEST(CallFilter, SocketsAreThoseOfThisMachine) {
    for (const int family : {AF_INET, AF_INET6, AF_NETLINK, AF_PACKET}) {
        EXPECT_EQ(StatusInFilter([family] { return Refused(socket(family, SOCK_DGRAM, 0)); }), 0);
    }
    EXPECT_EQ(StatusInFilter([] { return socket(AF_UNIX, SOCK_STREAM, 0) >= 0 ? 0 : 1; }), 0);
}

TEST(CallFilter, TheSystemStaysAsItIs) {
    EXPECT_EQ(StatusInFilter([] { return Refused(mount("none", "/", "tmpfs", 0, nullptr)); }), 0);
    EXPECT_EQ(StatusInFilter([] { return Refused(setuid(getuid())); }), 0);
    for (const long call :
         {SYS_keyctl, SYS_add_key, SYS_bpf, SYS_userfaultfd, SYS_io_uring_setup,
          SYS_perf_event_open, SYS_unshare, SYS_setns, SYS_chroot, SYS_init_module, SYS_kexec_load,
          SYS_settimeofday, SYS_sethostname, SYS_symlinkat}) {
        EXPECT_EQ(StatusInFilter([call] { return Refused(syscall(call, 0, 0, 0, 0, 0)); }), 0)
            << call;
    }
}

// Landlock restricts none of these, wherever the file lies.
TEST(CallFilter, NoFileOfTheUsersIsOpenedToOthersCutOffOrWatched) {
    char path[] = "/tmp/moxi-test-XXXXXX";
    const int file = mkstemp(path);
    ASSERT_EQ(write(file, "diary", 5), 5);
    for (const auto attack :
         {+[](const char* name) { return chmod(name, 0777); },
          +[](const char* name) { return chown(name, getuid(), getgid()); },
          +[](const char* name) { return truncate(name, 0); },
          +[](const char* name) { return utimensat(AT_FDCWD, name, nullptr, 0); },
          +[](const char* name) { return inotify_add_watch(inotify_init1(0), name, IN_ACCESS); }}) {
        EXPECT_EQ(StatusInFilter([&] { return Refused(attack(path)); }), 0);
    }
    constexpr long kFchmodat2 = 452;
    EXPECT_EQ(StatusInFilter([&] { return Refused(syscall(kFchmodat2, AT_FDCWD, path, 0777, 0)); }),
              0);
    struct stat status;
    ASSERT_EQ(stat(path, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(status.st_size, 5);
    // What the game has opened is its own to cut off.
    EXPECT_EQ(StatusInFilter([&] { return ftruncate(file, 2); }), 0);
    close(file);
    unlink(path);
}

TEST(HelperProcesses, TheOneForGamepadsDoesItsWorkBehindItsFilter) {
    char folder[] = "/tmp/moxi-test-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string first = std::string(folder) + "/event0";
    const std::string later = std::string(folder) + "/event1";
    close(open(first.c_str(), O_WRONLY | O_CREAT, 0600));
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        FilterPadHelperCalls();
        HandOverPads(ends[1], folder, [](int) { return true; });
        _exit(0);
    }
    close(ends[1]);
    // One that is there, and one that comes later.
    char letter = 0;
    EXPECT_EQ(recv(ends[0], &letter, 1, 0), 1);
    close(open(later.c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_EQ(recv(ends[0], &letter, 1, 0), 1);
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    unlink(first.c_str());
    unlink(later.c_str());
    rmdir(folder);
}

TEST(HelperProcesses, HoldNothingOpenButTheStandardStreamsAndTheirConnection) {
    for (const int kept : {3, 20}) {
        const pid_t child = fork();
        if (child == 0) {
            for (const int open : {3, 7, 20, 90}) {
                dup2(0, open);
            }
            CloseOthers(kept);
            for (int file = 0; file < 100; ++file) {
                const bool isOpen = fcntl(file, F_GETFD) >= 0;
                if (isOpen != (file < 3 || file == kept)) {
                    _exit(file + 1);
                }
            }
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << "descriptor " << WEXITSTATUS(status) - 1;
    }
}

TEST(CallFilter, NothingIsTypedIntoTheTerminal) {
    EXPECT_EQ(StatusInFilter([] {
                  char key = 'x';
                  return Refused(ioctl(0, TIOCSTI, &key));
              }),
              0);
}

TEST(CallFilter, WhatAGameNeedsGoesOn) {
    EXPECT_EQ(
        StatusInFilter([] {
            bool ran = false;
            std::thread([&ran] { ran = true; }).join();
            return ran && open("/dev/null", O_RDWR | O_CLOEXEC) >= 0 && raise(SIGCHLD) == 0 ? 0 : 1;
        }),
        0);
    EXPECT_EQ(StatusInFilter([] {
                  kill(getpid(), SIGTERM);
                  return 1;
              }),
              128 + SIGTERM);
}

TEST(CallFilter, HoldsForThreadsThatWereThereBefore) {
    const pid_t child = fork();
    if (child == 0) {
        int ends[2];
        if (pipe(ends) != 0) {
            _exit(100);
        }
        int refused = 1;
        std::thread before([&] {
            char go = 0;
            if (read(ends[0], &go, 1) == 1) {
                refused = Refused(socket(AF_INET, SOCK_STREAM, 0));
            }
        });
        if (!FilterGameCalls().empty() || write(ends[1], "x", 1) != 1) {
            _exit(101);
        }
        before.join();
        _exit(refused);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

// Only builds for debugging tell of it.
TEST(CallFilter, ARefusedCallIsToldOnceWhereItIsTold) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(StatusInFilter([] {
                  return Refused(socket(AF_INET, SOCK_STREAM, 0)) +
                         Refused(socket(AF_INET, SOCK_DGRAM, 0)) + Refused(unshare(0));
              }),
              0);
    std::string told;
    if (kTellRefusedCalls) {
        for (const long call : {SYS_socket, SYS_unshare}) {
            told +=
                FormatText("log: refused system call %04lu\n", static_cast<unsigned long>(call));
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), told);
}

// The exit status of `body` in a process with a helper's filter.
int StatusInHelper(void (*filter)(), int (*body)()) {
    const pid_t child = fork();
    if (child == 0) {
        filter();
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST(CallFilter, TheHelpersMayDoLittleMoreThanRead) {
    if (kCheckedAccess) {
        GTEST_SKIP() << "the reports of a checked build take more";
    }
    for (void (*const filter)() : {FilterOutputHelperCalls, FilterUrlHelperCalls}) {
        EXPECT_EQ(StatusInHelper(filter,
                                 [] {
                                     int refused = Refused(socket(AF_UNIX, SOCK_STREAM, 0));
                                     refused += Refused(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
                                     refused += Refused(syscall(SYS_execve, "/bin/true", 0, 0));
                                     refused += Refused(kill(getppid(), 0));
                                     refused += Refused(symlink("/no", "/where"));
                                     refused += Refused(chmod("/nowhere", 0777));
                                     return refused;
                                 }),
                  0);
    }
    // Only one of them opens files, and puts new ones in the place of others.
    EXPECT_EQ(StatusInHelper(FilterUrlHelperCalls, [] { return Refused(rename("/no", "/where")); }),
              0);
    constexpr auto kOpens = [] { return open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0 ? 1 : 0; };
    EXPECT_EQ(StatusInHelper(FilterOutputHelperCalls, kOpens), 1);
    EXPECT_EQ(StatusInHelper(FilterUrlHelperCalls, kOpens), 0);
}

TEST(Limits, NoCoreIsDumpedAndFilesAndProcessesAreBounded) {
    const pid_t child = fork();
    if (child == 0) {
        LimitResources();
        const auto at = [](int resource) {
            rlimit limit = {};
            getrlimit(static_cast<__rlimit_resource>(resource), &limit);
            return limit;
        };
        if (at(RLIMIT_CORE).rlim_max != 0) {
            _exit(1);
        }
        if (at(RLIMIT_NOFILE).rlim_max > 1024) {
            _exit(2);
        }
        if (at(RLIMIT_NPROC).rlim_max > 8192) {
            _exit(3);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace

}  // namespace moxi
