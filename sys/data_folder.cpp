#include "sys/data_folder.h"

#include "desktop/folders.h"

namespace moxi {

namespace {

// The studio's folder inside the user's application support folder.
constexpr const char* kStudioFolder = "Quillmoss Software";

}  // namespace

std::string DataFolderOfAll() {
    if (!folders.dataOverride.empty()) {
        return folders.dataOverride;
    }
    // Without a support folder the data lies in the process's current folder.
    return folders.support.empty() ? "" : folders.support + "/" + kStudioFolder;
}

std::string DataFolder() {
    std::string all = DataFolderOfAll();
    if (all.empty() || !folders.dataOverride.empty()) {
        return all;
    }
    return all + "/" + (folders.dataName.empty() ? folders.gameName : folders.dataName);
}

}  // namespace moxi
