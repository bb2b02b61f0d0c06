// Any text as a game's information file, as the licence beside it and as the interface file.

#include <algorithm>
#include <fstream>

#include "desktop/folders.h"
#include "fuzz/confine.h"
#include "fuzz/memory_file.h"
#include "host/game_info.h"
#include "host/menu.h"

namespace moxi {

namespace {

void RequireOneLine(const std::string& text) {
    Require(text.size() <= 200 && std::none_of(text.begin(), text.end(), [](char c) {
                return static_cast<unsigned char>(c) < ' ' || c == 127;
            }));
}

void Write(const char* name, std::string_view text) {
    std::ofstream(confine::folder + "/" + name, std::ios::binary) << text;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    confine::Confine(*argc, *argv);
    folders.bundle = folders.resources = confine::folder;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Write("Info.plist", text);
    Write("LICENSE", text.substr(size / 2));
    const GameInfo info = InfoOfGame();
    for (const std::string* const each : {&info.author, &info.licence, &info.source}) {
        RequireOneLine(*each);
    }
    PngPicture picture;
    ReadGameIcon(picture);
    const MemoryFile file(text);
    std::string reason;
    Require(LoadMenu(file.Path(), reason) == reason.empty());
    for (const u32 modifiers : {1u, 2u, 0xFFFFFFFFu}) {
        IsPanelKey(12, "q", modifiers);
    }
    ResetMenu();
    return 0;
}

}  // namespace moxi
