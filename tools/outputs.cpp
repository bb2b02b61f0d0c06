#include "tools/outputs.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "base/version.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

bool IsSameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    if (fs::equivalent(a, b, error) && !error) {
        return true;
    }
    return fs::absolute(a, error).lexically_normal() == fs::absolute(b, error).lexically_normal();
}

bool IsDevice(const std::string& path) {
    std::error_code error;
    const auto status = fs::status(path, error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

}  // namespace

bool AnswerAboutTool(const char* tool, const std::string& help, bool isHelpAsked,
                     bool isVersionAsked, std::ostream& out) {
    if (isHelpAsked) {
        out << help;
    } else if (isVersionAsked) {
        out << tool << ' ' << kVersionText << '\n';
    }
    return isHelpAsked || isVersionAsked;
}

bool TakeOnce(std::string& place, const std::string& option, const std::string& value,
              std::string& wrong) {
    if (!place.empty()) {
        wrong = option + " is given twice";
        return false;
    }
    if (value.empty()) {
        wrong = option + " needs a file name";
        return false;
    }
    place = value;
    return true;
}

std::string ToolShareFolder() {
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error);
    return own.parent_path().parent_path() / "share" / "moxi";
}

std::string ConflictOfOutputs(const std::vector<std::string>& outputs,
                              const std::vector<std::string>& inputs, const std::string& what) {
    for (size_t i = 0; i < outputs.size(); ++i) {
        if (IsDevice(outputs[i])) {
            continue;
        }
        for (const std::string& input : inputs) {
            if (IsSameFile(outputs[i], input)) {
                return outputs[i] + " would overwrite " + what;
            }
        }
        for (size_t k = 0; k < i; ++k) {
            if (IsSameFile(outputs[i], outputs[k])) {
                return outputs[i] + " is named for two outputs";
            }
        }
    }
    return "";
}

void RemoveOutputs(const std::vector<std::string>& outputs) {
    for (const std::string& path : outputs) {
        std::error_code error;
        if (fs::is_regular_file(path, error)) {
            fs::remove(path, error);
        }
    }
}

bool WriteOutput(const char* tool, const std::string& path, const void* bytes, size_t size,
                 std::ostream& err) {
    if (path.empty()) {
        return true;
    }
    FILE* const file = std::fopen(path.c_str(), "wb");
    bool good = file != nullptr;
    if (good) {
        good = std::fwrite(bytes, 1, size, file) == size;
        if (std::fclose(file) != 0) {
            good = false;
        }
    }
    if (!good) {
        err << tool << ": " << path << ": cannot be written: " << std::strerror(errno) << "\n";
    }
    return good;
}

}  // namespace moxi
