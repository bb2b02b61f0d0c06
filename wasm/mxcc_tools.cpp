#include "wasm/mxcc_tools.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace moxi {

namespace fs = std::filesystem;

namespace {

// The version of the compiler that the libraries for wasm were built with.
constexpr const char* kVersionSuffix = "-14";
constexpr const char* kVersionFolder = "/usr/lib/llvm-14/bin";

// The first executable file of that name in the folders of PATH; "" when there is none.
std::string InPath(const std::string& name) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "/usr/bin:/bin" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string file = (folder.empty() ? "." : folder) + "/" + name;
        std::error_code error;
        if (access(file.c_str(), X_OK) == 0 && fs::is_regular_file(file, error)) {
            return file;
        }
    }
    return "";
}

// All that comes out of a pipe until its other end is closed, or until reading fails.
std::string ReadAll(int file) {
    std::string text;
    char piece[4096];
    for (ssize_t count; (count = read(file, piece, sizeof piece)) != 0;) {
        if (count > 0) {
            text.append(piece, static_cast<size_t>(count));
        }
        if (count < 0 && errno != EINTR) {
            break;
        }
    }
    return text;
}

// Waits for a process to end. Returns ToolResult::status.
int WaitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// The list as posix_spawn takes it, with a null at its end. It points into `texts`.
std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Environment(const std::vector<std::string>& variables) {
    std::vector<std::string> all = variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        all.emplace_back(*variable);
    }
    return all;
}

}  // namespace

std::string FindTool(const std::string& name) {
    for (const std::string& file :
         {InPath(name + kVersionSuffix), std::string(kVersionFolder) + "/" + name, InPath(name)}) {
        if (!file.empty() && access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return "";
}

ToolResult RunTool(const std::vector<std::string>& command, bool keepErrors,
                   const std::vector<std::string>& variables) {
    int ends[2] = {-1, -1};
    if (keepErrors && pipe2(ends, O_CLOEXEC) != 0) {
        return {};
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (keepErrors) {
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    }
    // Ours come first: of two variables of one name the first is the one that counts.
    const std::vector<std::string> environment = Environment(variables);
    pid_t process = 0;
    const int problem = posix_spawn(&process, command[0].c_str(), &actions, nullptr,
                                    Pointers(command).data(), Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (keepErrors) {
        close(ends[1]);
    }
    ToolResult result;
    if (problem == 0 && keepErrors) {
        result.errors = ReadAll(ends[0]);
    }
    if (keepErrors) {
        close(ends[0]);
    }
    if (problem == 0) {
        result.status = WaitFor(process);
    } else {
        result.errors = command[0] + ": " + std::strerror(problem) + "\n";
    }
    return result;
}

WorkFolder::WorkFolder() {
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "mxcc-XXXXXX").string();
    if (!error && mkdtemp(pattern.data()) != nullptr) {
        path = pattern;
    }
}

WorkFolder::~WorkFolder() {
    std::error_code error;
    if (!path.empty()) {
        fs::remove_all(path, error);
    }
}

}  // namespace moxi
