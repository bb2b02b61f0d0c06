#include "base/output_files.h"

#include <fcntl.h>

namespace moxi {

std::string NewFileOf(const std::string& path) {
    return path + ".new";
}

bool PutNewFileInPlace(const std::string& path) {
    if (std::rename(NewFileOf(path).c_str(), path.c_str()) != 0) return false;
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
    std::FILE* const file = outputFiles.open(newFile);
    if (file == nullptr) return false;
    const bool written = std::fwrite(contents.data(), 1, contents.size(), file) == contents.size();
    const bool flushed = std::fflush(file) == 0 && fsync(fileno(file)) == 0;
    const bool closed = std::fclose(file) == 0;
    if (written && flushed && closed && outputFiles.putInPlace(path)) return true;
    outputFiles.remove(newFile);
    return false;
}

bool ReadOwnFile(const std::string& path, u64 most, std::string& contents) {
    std::FILE* const file = outputFiles.read(path);
    if (file == nullptr) return false;
    contents.clear();
    char part[65536];
    size_t count = 0;
    while ((count = std::fread(part, 1, sizeof part, file)) > 0 &&
           contents.size() + count <= most) {
        contents.append(part, count);
    }
    const bool whole = count == 0 && std::ferror(file) == 0;
    std::fclose(file);
    return whole;
}

}  // namespace moxi
