#include "base/output_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace moxi {

std::string NewFileOf(const std::string& path) {
    return path + ".new";
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

// 0, or the number of the error.
int ReadAll(std::FILE* file, u64 most, std::string& contents) {
    struct stat status;
    if (fstat(fileno(file), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return EINVAL;
    }
    char part[65536];
    size_t count = 0;
    while ((count = std::fread(part, 1, sizeof part, file)) > 0) {
        if (contents.size() + count > most) {
            return EFBIG;
        }
        contents.append(part, count);
    }
    return std::ferror(file) != 0 ? errno : 0;
}

}  // namespace

bool ReadOwnFile(const std::string& path, u64 most, std::string& contents) {
    std::FILE* const file = outputFiles.read(path);
    if (file == nullptr) {
        return false;
    }
    contents.clear();
    const int error = ReadAll(file, most, contents);
    std::fclose(file);
    if (error != 0) {
        errno = error;
    }
    return error == 0;
}

}  // namespace moxi
