#include "base/output_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>

namespace moxi {

namespace {

constexpr std::string_view kNewFile = ".new-";
constexpr size_t kDigits = 8;
constexpr std::string_view kHexadecimal = "0123456789abcdef";

// Eight digits of this process's own. Processes may share a folder without knowing one another, so
// it is not the number of the process.
std::string DigitsOfProcess() {
    u32 number = 0;
    if (getentropy(&number, sizeof number) != 0) {
        number = static_cast<u32>(getpid());
    }
    std::string digits;
    for (size_t i = 0; i < kDigits; ++i) {
        digits += kHexadecimal[number >> 4 * i & 15];
    }
    return digits;
}

bool IsNewFile(std::string_view name) {
    const size_t at = name.size() - std::min(name.size(), kNewFile.size() + kDigits);
    return at > 0 && name.substr(at, kNewFile.size()) == kNewFile &&
           name.find_first_not_of(kHexadecimal, at + kNewFile.size()) == std::string_view::npos;
}

}  // namespace

std::string NewFileOf(const std::string& path) {
    static const std::string digits = DigitsOfProcess();
    return path + std::string(kNewFile) + digits;
}

void RemoveUnfinishedFiles(const std::string& folder) {
    constexpr time_t kUnfinishedKept = time_t{24} * 60 * 60;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        struct stat status;
        const std::string path = entry->path();
        const bool isOld = IsNewFile(entry->path().filename().string()) &&
                           lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
                           std::time(nullptr) - status.st_mtime >= kUnfinishedKept;
        if (isOld) {
            unlink(path.c_str());
        }
    }
}

bool PutNewFileInPlace(const std::string& path) {
    if (std::rename(NewFileOf(path).c_str(), path.c_str()) != 0) {
        return false;
    }
    // The name is on the disk once the folder is.
    const std::string parent = path.substr(0, path.find_last_of('/') + 1);
    const int folder = ::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
    return true;
}

bool ReplaceFile(const std::string& path, std::string_view contents) {
    const std::string newFile = NewFileOf(path);
    // What a run has left there, or a pipe without a reader, that opening would wait for.
    outputFiles.remove(newFile);
    std::FILE* const file = outputFiles.open(newFile);
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(contents.data(), 1, contents.size(), file) == contents.size();
    const bool flushed = std::fflush(file) == 0 && fsync(fileno(file)) == 0;
    const bool closed = std::fclose(file) == 0;
    if (written && flushed && closed && outputFiles.putInPlace(path)) {
        return true;
    }
    outputFiles.remove(newFile);
    return false;
}

std::FILE* OpenOwnFile(const std::string& path) {
    // Without O_NONBLOCK a pipe would wait here for somebody at its other end.
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        return nullptr;
    }
    std::FILE* const stream = fdopen(file, "rb");
    if (stream == nullptr) {
        close(file);
    }
    return stream;
}

namespace {

// Up to `most` bytes. 0, or the number of the error.
int ReadStart(std::FILE* file, u64 most, std::string& contents) {
    struct stat status;
    if (fstat(fileno(file), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return EINVAL;
    }
    char part[65536];
    size_t count = 0;
    while (contents.size() < most &&
           (count = std::fread(part, 1, std::min<u64>(sizeof part, most - contents.size()), file)) >
               0) {
        contents.append(part, count);
    }
    return std::ferror(file) != 0 ? errno : 0;
}

}  // namespace

bool ReadStartOfOwnFile(const std::string& path, u64 most, std::string& contents) {
    contents.clear();
    std::FILE* const file = outputFiles.read(path);
    if (file == nullptr) {
        return false;
    }
    const int error = ReadStart(file, most, contents);
    std::fclose(file);
    if (error != 0) {
        errno = error;
    }
    return error == 0;
}

bool ReadOwnFile(const std::string& path, u64 most, std::string& contents) {
    if (!ReadStartOfOwnFile(path, most + 1, contents)) {
        return false;
    }
    if (contents.size() > most) {
        errno = EFBIG;
        return false;
    }
    return true;
}

}  // namespace moxi
