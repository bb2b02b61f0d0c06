#include "app/call_filter.h"

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <utility>

#include "app/refused_calls.h"
#include "base/types.h"
#include "vm/guard.h"

namespace moxi {

namespace {

// Enough for 96 files of the game, the libraries' own and a driver's many.
constexpr rlim_t kMostOpenFiles = 1024;
// Threads count as processes, and all of the user's count together.
constexpr rlim_t kMostProcesses = 8192;

// By what the calls do.
constexpr const char* kRefused[] = {
    // Other programs and processes.
    "execve",
    "execveat",
    "fork",
    "vfork",
    "ptrace",
    "process_vm_readv",
    "process_vm_writev",
    "process_madvise",
    "process_mrelease",
    "pidfd_open",
    "pidfd_getfd",
    "pidfd_send_signal",
    "kcmp",
    "tkill",
    "setns",
    "unshare",
    "move_pages",
    "migrate_pages",
    // Who the process is.
    "setuid",
    "setgid",
    "setreuid",
    "setregid",
    "setresuid",
    "setresgid",
    "setfsuid",
    "setfsgid",
    "setgroups",
    "capset",
    "chroot",
    "pivot_root",
    "personality",
    "acct",
    // The file systems.
    "mount",
    "umount",
    "umount2",
    "mount_setattr",
    "move_mount",
    "open_tree",
    "fsopen",
    "fsconfig",
    "fsmount",
    "fspick",
    "quotactl",
    "quotactl_fd",
    "swapon",
    "swapoff",
    "mknod",
    "mknodat",
    "open_by_handle_at",
    "fanotify_init",
    "fanotify_mark",
    "link",
    "linkat",
    "symlink",
    "symlinkat",
    "setxattr",
    "lsetxattr",
    "fsetxattr",
    "removexattr",
    "lremovexattr",
    "fremovexattr",
    // Landlock lets a process change who may read a file of its user's, whose it is and when it
    // was written, wherever it lies; its first versions let it be cut off, too. The game's own are
    // reached by the open file. To be told what happens in a folder needs no right to read it.
    "chmod",
    "fchmodat",
    "chown",
    "lchown",
    "fchownat",
    "utime",
    "utimes",
    "futimesat",
    "utimensat",
    "truncate",
    "inotify_add_watch",
    // The kernel.
    "bpf",
    "perf_event_open",
    "userfaultfd",
    "io_uring_setup",
    "io_uring_enter",
    "io_uring_register",
    "init_module",
    "finit_module",
    "delete_module",
    "kexec_load",
    "kexec_file_load",
    "reboot",
    "syslog",
    "iopl",
    "ioperm",
    "modify_ldt",
    "lookup_dcookie",
    "nfsservctl",
    "vm86",
    "vm86old",
    "uselib",
    "ustat",
    "sysfs",
    "_sysctl",
    "vhangup",
    "create_module",
    "get_kernel_syms",
    "query_module",
    "vserver",
    "memfd_secret",
    // Keys, clocks and names of the machine.
    "add_key",
    "request_key",
    "keyctl",
    "settimeofday",
    "clock_settime",
    "clock_adjtime",
    "adjtimex",
    "stime",
    "sethostname",
    "setdomainname",
};

// Calls that are newer than the library's list, by their numbers, which are the same on all
// processors.
constexpr int kRefusedNew[] = {
    452,  // fchmodat2
    463,  // setxattrat
    466,  // removexattrat
    467,  // open_tree_attr
    469,  // file_setattr
};

// What a checked build's reports need: the leak check stops the other threads as a debugger would,
// and the symbolizer is a program.
constexpr const char* kNeededByReports[] = {"execve", "fork", "vfork", "ptrace", "tkill"};

u32 RefusedAction() {
    return kTellRefusedCalls ? SCMP_ACT_TRAP : SCMP_ACT_ERRNO(EPERM);
}

bool IsNeededByReports(const char* name) {
    return kCheckedAccess &&
           std::any_of(std::begin(kNeededByReports), std::end(kNeededByReports),
                       [name](const char* needed) { return std::strcmp(name, needed) == 0; });
}

scmp_arg_cmp IsNot(u32 argument, u64 value) {
    return {argument, SCMP_CMP_NE, value, 0};
}

scmp_arg_cmp HasBits(u32 argument, u64 mask, u64 value) {
    return {argument, SCMP_CMP_MASKED_EQ, mask, value};
}

class Filter {
  public:
    explicit Filter(u32 otherwise) : context(seccomp_init(otherwise)) {
        if (context == nullptr) {
            return;
        }
        // Calls that are made in the manner of another processor, such as the 32-bit ones.
        seccomp_attr_set(context, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ERRNO(EPERM));
        // Without this flag the kernel turns speculation past stores off for a process with a
        // filter, which slows the interpreter down.
        seccomp_attr_set(context, SCMP_FLTATR_CTL_SSB, 1);
        seccomp_attr_set(context, SCMP_FLTATR_CTL_OPTIMIZE, 2);
        seccomp_attr_set(context, SCMP_FLTATR_CTL_TSYNC, 1);
    }
    ~Filter() {
        if (context != nullptr) {
            seccomp_release(context);
        }
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

    // A call that this processor or the library does not know is left out.
    void Add(u32 action, const char* name) { Add(action, name, {}); }

    void AddNumber(u32 action, int number) {
        if (context != nullptr) {
            seccomp_rule_add_array(context, action, number, 0, nullptr);
        }
    }

    // The same where one argument fits.
    void Add(u32 action, const char* name, std::initializer_list<scmp_arg_cmp> conditions) {
        const int number = seccomp_syscall_resolve_name(name);
        if (context == nullptr || number == __NR_SCMP_ERROR) {
            return;
        }
        seccomp_rule_add_array(context, action, number, static_cast<u32>(conditions.size()),
                               conditions.begin());
    }

    std::string Load() {
        if (context == nullptr) {
            return "no memory";
        }
        const int result = seccomp_load(context);
        return result == 0 ? "" : std::strerror(-result);
    }

  private:
    scmp_filter_ctx context;
};

// Signals go to this process alone.
void RefuseSignals(Filter& filter) {
    const auto self = static_cast<u64>(getpid());
    for (const char* const call : {"kill", "tgkill", "rt_sigqueueinfo", "rt_tgsigqueueinfo"}) {
        filter.Add(RefusedAction(), call, {IsNot(0, self)});
    }
    filter.Add(RefusedAction(), "prlimit64", {IsNot(0, 0)});
}

// Threads may be made, processes not. What asks for threads in the newer way is told to take the
// older one, whose flags a filter can see.
void RefuseProcesses(Filter& filter) {
    if (kCheckedAccess) {
        return;
    }
    filter.Add(RefusedAction(), "clone", {HasBits(0, CLONE_THREAD, 0)});
    filter.Add(SCMP_ACT_ERRNO(ENOSYS), "clone3");
}

}  // namespace

std::string FilterGameCalls() {
    if (kTellRefusedCalls) {
        TellRefusedCalls();
    }
    Filter filter(SCMP_ACT_ALLOW);
    for (const char* const name : kRefused) {
        if (!IsNeededByReports(name)) {
            filter.Add(RefusedAction(), name);
        }
    }
    for (const int number : kRefusedNew) {
        filter.AddNumber(RefusedAction(), number);
    }
    for (const char* const call : {"socket", "socketpair"}) {
        filter.Add(RefusedAction(), call, {IsNot(0, AF_UNIX)});
    }
    // Keys typed into the terminal that the program was started from.
    constexpr u64 kLowHalf = 0xFFFFFFFF;
    for (const u64 command : {u64{TIOCSTI}, u64{TIOCLINUX}}) {
        filter.Add(RefusedAction(), "ioctl", {HasBits(1, kLowHalf, command)});
    }
    RefuseSignals(filter);
    RefuseProcesses(filter);
    return filter.Load();
}

namespace {

void AddCallsOfHelper(Filter& filter) {
    for (const char* const name :
         {"read",       "write",        "close",           "sendmsg",
          "recvfrom",   "recvmsg",      "sendto",          "exit",
          "exit_group", "rt_sigreturn", "rt_sigaction",    "rt_sigprocmask",
          "brk",        "mmap",         "munmap",          "mremap",
          "madvise",    "futex",        "restart_syscall", "getpid",
          "gettid",     "tgkill",       "sigaltstack",     "clock_gettime"}) {
        filter.Add(SCMP_ACT_ALLOW, name);
    }
}

void LoadForHelper(Filter& filter) {
    // The reports of a checked build take more than a helper does.
    if (kCheckedAccess) {
        return;
    }
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    filter.Load();
}

}  // namespace

void FilterOutputHelperCalls() {
    Filter filter(SCMP_ACT_ERRNO(EPERM));
    AddCallsOfHelper(filter);
    for (const char* const name : {"open", "openat", "unlink", "unlinkat", "mkdir", "mkdirat",
                                   "ftruncate", "rename", "renameat", "renameat2", "fsync"}) {
        filter.Add(SCMP_ACT_ALLOW, name);
    }
    LoadForHelper(filter);
}

void FilterPadHelperCalls() {
    Filter filter(SCMP_ACT_ERRNO(EPERM));
    AddCallsOfHelper(filter);
    for (const char* const name :
         {"open", "openat", "fstat", "newfstatat", "fcntl", "getdents64", "lseek", "ioctl", "poll",
          "ppoll", "inotify_init1", "inotify_add_watch"}) {
        filter.Add(SCMP_ACT_ALLOW, name);
    }
    LoadForHelper(filter);
}

void FilterUrlHelperCalls() {
    Filter filter(SCMP_ACT_ERRNO(EPERM));
    AddCallsOfHelper(filter);
    LoadForHelper(filter);
}

void LimitResources() {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    for (const auto& [resource, most] :
         {std::pair{RLIMIT_NOFILE, kMostOpenFiles}, std::pair{RLIMIT_NPROC, kMostProcesses}}) {
        rlimit limit = {};
        if (getrlimit(resource, &limit) != 0) {
            continue;
        }
        limit.rlim_cur = std::min(limit.rlim_cur, most);
        limit.rlim_max = limit.rlim_cur;
        setrlimit(resource, &limit);
    }
}

}  // namespace moxi
