#include "host/icon.h"

#include "desktop/desktop.h"
#include "host/game_info.h"

namespace moxi {

void SetWindowIcon(const std::string& fallback) {
    if (desktop.setWindowIcon == nullptr) {
        return;
    }
    PngPicture picture;
    if (!ReadGameIcon(picture) && !ReadIconFile(fallback, picture)) {
        return;
    }
    desktop.setWindowIcon(picture.pixels.data(), picture.width, picture.height);
}

}  // namespace moxi
