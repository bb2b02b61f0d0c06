#include "kit/new_folder.h"

#include <filesystem>

namespace moxi {

namespace fs = std::filesystem;

std::string WhyNotNew(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (status.type() == fs::file_type::not_found) {
        return "";
    }
    if (status.type() != fs::file_type::directory) {
        return "is there already";
    }
    if (!fs::is_empty(path, error)) {
        return error ? error.message() : "is a folder that is not empty";
    }
    return "";
}

}  // namespace moxi
