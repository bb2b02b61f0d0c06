#include "kit/call_names.h"

#include "host/message.h"

namespace {

struct Name {
    u32 command;
    std::string_view name;
};

constexpr Name kServices[] = {
    {0x0000, "open"},
    {0x0001, "end of file"},
    {0x0002, "read"},
    {0x0003, "write"},
    {0x0004, "seek"},
    {0x0005, "delete file"},
    {0x0006, "make folder"},
    {0x0007, "remove folder"},
    {0x0008, "close"},
    {0x0009, "size"},
    {0x000A, "time"},
    {0x000B, "find first"},
    {0x000C, "find next"},
    {0x000D, "end find"},
    {0x000E, "write base64"},
    {0x000F, "move"},
    {0x0200, "periodic timer"},
    {0x0201, "milliseconds"},
    {0x0202, "date and time"},
    {0x0300, "formatted append"},
    {0x0301, "copy string"},
    {0x0302, "append string"},
    {0x0303, "length"},
    {0x0304, "compare strings"},
    {0x0305, "upper-case"},
    {0x030A, "copy bytes"},
    {0x030B, "move bytes"},
    {0x030C, "fill bytes"},
    {0x030D, "compare bytes"},
    {0x030E, "debug print"},
    {0x0500, "polyline"},
    {0x0501, "rectangle"},
    {0x0502, "load image"},
    {0x0503, "blit"},
    {0x0504, "free bitmap"},
    {0x0505, "set alpha"},
    {0x0506, "get pixel"},
    {0x0507, "blend pixel"},
    {0x0508, "scaled blit"},
    {0x0509, "save image"},
    {0x050A, "RGB to HSV"},
    {0x050B, "HSV to RGB"},
    {0x050C, "bitmap information"},
    {0x050D, "set clip"},
    {0x050E, "line pattern"},
    {0x050F, "adjust colours"},
    {0x0510, "draw text"},
    {0x0511, "hue square"},
    {0x0512, "ellipse"},
    {0x0513, "create bitmap"},
    {0x0600, "play a sound"},
    {0x0601, "play or stop music"},
    {0x0602, "stop the music"},
    {0x0603, "is music playing?"},
    {0x0604, "length of a sound"},
    {0x0700, "show message"},
    {0x0701, "line end"},
    {0x0702, "visible size"},
    {0x0703, "peek at a key message"},
    {0x0704, "take the latest pointer message"},
    {0x0705, "read clipboard"},
    {0x0706, "write clipboard"},
    {0x0707, "nothing"},
    {0x0708, "read window geometry"},
    {0x0709, "set window geometry"},
    {0x070A, "windowed size"},
    {0x070B, "set window title"},
    {0x070C, "data folder"},
    {0x070D, "bundle path"},
    {0x070E, "version"},
    {0x070F, "name of the command key"},
    {0x0710, "set cursor"},
    {0x0711, "open a web address"},
    {0x0712, "screen size"},
    {0x0713, "buttons"},
    {0x0714, "path separator"},
    {0x0715, "wait"},
    {0x0800, "load"},
    {0x0801, "save"},
    {0x0802, "discard"},
    {0x0803, "select section"},
    {0x0804, "select key"},
    {0x0805, "read number"},
    {0x0806, "read string"},
    {0x0807, "add section"},
    {0x0808, "write raw value"},
    {0x0809, "delete section"},
    {0x080A, "delete key"},
    {0x080B, "next section name"},
    {0x080C, "clear"},
    {0x080D, "at end of line"},
    {0x080E, "append number"},
    {0x080F, "append string"},
    {0x0810, "read raw line"},
    {0x0900, "allocate"},
    {0x0901, "free"},
    {0x0902, "lock"},
    {0x0903, "unlock"},
    {0x0904, "address"},
};

constexpr Name kMessages[] = {
    {MSG_START1, "MSG_START1"},
    {MSG_START2, "MSG_START2"},
    {MSG_CLOSE, "MSG_CLOSE"},
    {MSG_END, "MSG_END"},
    {MSG_MINIMIZE, "MSG_MINIMIZE"},
    {MSG_MOVE, "MSG_MOVE"},
    {MSG_SIZE, "MSG_SIZE"},
    {MSG_MUSICDONE, "MSG_MUSICDONE"},
    {MSG_TICK, "MSG_TICK"},
    {MSG_DOWN, "MSG_DOWN"},
    {MSG_UP, "MSG_UP"},
    {MSG_CHAR, "MSG_CHAR"},
    {MSG_POINTER, "MSG_POINTER"},
    {MSG_PRESENTED, "MSG_PRESENTED"},
};

template <size_t kCount>
std::string_view Find(const Name (&names)[kCount], u32 command) {
    for (const Name& entry : names) {
        if (entry.command == command) return entry.name;
    }
    return "";
}

}  // namespace

std::string_view ServiceName(u32 command) {
    return Find(kServices, command);
}

std::string_view MessageName(u32 command) {
    return Find(kMessages, command);
}

std::optional<u32> MessageOfName(std::string_view name) {
    for (const Name& entry : kMessages) {
        if (entry.name == name) return entry.command;
    }
    return std::nullopt;
}
