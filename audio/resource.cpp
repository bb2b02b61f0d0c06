#include "audio/resource.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "desktop/folders.h"
#include "sys/data_folder.h"
#include "sys/files.h"

namespace moxi {

namespace {

bool ReadAll(int file, std::vector<u8>& bytes) {
    size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t count = read(file, bytes.data() + got, bytes.size() - got);
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            break;
        }
        got += static_cast<size_t>(count);
    }
    bytes.resize(got);
    return true;
}

// Empty for a path that does not lead into the data folder, else the rest of it there.
std::string NameInDataFolder(const std::string& path) {
    const std::string data = std::filesystem::path(DataFolder()).lexically_normal().string() + "/";
    const std::string plain = std::filesystem::path(path).lexically_normal().string();
    const bool isInside = data.size() > 1 && data[0] == '/' && plain.starts_with(data);
    return isInside ? plain.substr(data.size()) : "";
}

std::optional<std::vector<u8>> ReadData(const std::string& name, size_t limit) {
    const u32 file = OpenFile(name.c_str(), kOpenRead);
    if (file == kNoFile) {
        return std::nullopt;
    }
    const u32 most = static_cast<u32>(std::min<size_t>(limit, 0xFFFFFFFF));
    std::vector<u8> bytes(std::min<size_t>(ReadableBytes(file, most), most));
    bytes.resize(ReadFile(file, bytes.data(), static_cast<u32>(bytes.size())));
    CloseFile(file);
    return bytes;
}

}  // namespace

std::optional<std::vector<u8>> ReadResource(const char* name, size_t limit) {
    const int file = OpenResource(name);
    if (file < 0) {
        return std::nullopt;
    }
    std::optional<std::vector<u8>> bytes;
    struct stat status;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        bytes.emplace(std::min(limit, static_cast<size_t>(status.st_size)));
        if (!ReadAll(file, *bytes)) {
            bytes.reset();
        }
    }
    close(file);
    return bytes;
}

std::optional<std::vector<u8>> ReadPlayed(const char* name, size_t limit) {
    const std::string own = NameInDataFolder(folders.resources + "/" + name);
    return own.empty() ? ReadResource(name, limit) : ReadData(own, limit);
}

}  // namespace moxi
