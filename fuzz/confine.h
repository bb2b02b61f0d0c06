#pragma once
// A fuzzer's process reads only what the libraries need and what the command line names, and writes
// only what the command line names and one folder of its own: whatever an input does, it stays
// there, and no device is opened. Needs Landlock.

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/types.h"

namespace moxi {

namespace confine {

// The folder for files of this run.
inline std::string folder;

inline void Permit(int rules, const std::string& path, u64 rights) {
    constexpr u64 kFileRights = 1 << 0 | 1 << 1 | 1 << 2 | 1 << 14;
    const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
    struct stat status;
    if (place < 0 || fstat(place, &status) != 0) {
        return;
    }
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = S_ISDIR(status.st_mode) ? rights : rights & kFileRights;
    rule.parent_fd = place;
    syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    close(place);
}

// The fuzzer ends in many ways, so another process waits for its end.
inline void RemoveAtEnd() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || fork() != 0) {
        return;
    }
    close(ends[1]);
    char byte = 0;
    while (read(ends[0], &byte, 1) > 0) {
    }
    std::error_code error;
    std::filesystem::remove_all(folder, error);
    _exit(0);
}

// The work of LLVMFuzzerInitialize.
inline void Confine(int argc, char** argv) {
    std::string pattern = "/dev/shm/moxi-fuzz-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        std::abort();
    }
    folder = pattern;
    RemoveAtEnd();

    constexpr u64 kRead = 1 << 2 | 1 << 3;
    constexpr u64 kReadAndRun = kRead | 1 << 0;
    constexpr u64 kEverything = 0x7FFF;
    landlock_ruleset_attr attributes = {};
    attributes.handled_access_fs = kEverything;
    const int rules = static_cast<int>(
        syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes.handled_access_fs, 0));
    if (rules < 0) {
        std::perror("this fuzzer needs Landlock of version 3");
        std::exit(1);
    }
    for (const char* const library : {"/usr", "/lib", "/lib64"}) {
        Permit(rules, library, kReadAndRun);
    }
    for (const char* const path : {"/etc", "/var/cache/fontconfig", "/proc"}) {
        Permit(rules, path, kRead);
    }
    Permit(rules, "/dev/null", kRead | 1 << 1);
    // Files to start from.
    if (const char* const files = std::getenv("MOXI_FUZZ_FILES")) {
        Permit(rules, files, kRead);
    }
    Permit(rules, folder, kEverything);
    Permit(rules, std::filesystem::read_symlink("/proc/self/exe").parent_path(), kReadAndRun);
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::string value = argument.substr(argument.find('=') + 1);
        Permit(rules, value, kEverything);
        // What was found goes to files whose names only begin like this.
        if (argument.rfind("-artifact_prefix=", 0) == 0) {
            Permit(rules, value.substr(0, value.rfind('/') + 1), kEverything);
        }
    }
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (syscall(SYS_landlock_restrict_self, rules, 0) != 0) {
        std::abort();
    }
    close(rules);
}

// Removes all that an earlier input has left.
inline void EmptyFolder() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::filesystem::remove_all(entry.path(), error);
    }
}

}  // namespace confine

}  // namespace moxi
