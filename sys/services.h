#pragma once
// The services, from the one table in sys/services.def: their numbers for the dispatchers, and all
// that is known of them for those who write about them or make other lists of them.

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "base/types.h"

namespace moxi {

// What a service is given and gives back. In C a handle is a number of its own name, and the
// address of something a pointer to it.
enum class ServiceType : u8 {
    None,
    Number,   // u32
    Signed,   // i32
    Wide,     // i64: two words as an argument, all 64 bits as a result
    Flag,     // 0 or 1
    Colour,   // bytes R, G, B, A
    Size,     // width, and height in the upper 32 bits; a result
    Text,     // address of a text that ends with a NUL
    Data,     // address of bytes that are read
    Buffer,   // address of bytes that are written
    Words,    // address of u32s that are written
    Address,  // address in the image; a result
    Points,   // address of pairs x, y
    Clip,     // address of four words: x, y, width, height
    Info,     // address of six words: width, height, and the clip
    Window,   // address of five words: x, y, width, height, full screen
    Event,    // address of a message: command, p1, p2, p3
    File,     // handle of a file
    Bitmap,   // handle of a bitmap
    Block,    // handle of a block of the heap
};

struct ServiceArgument {
    ServiceType type = ServiceType::None;
    std::string_view name;
};

// In the order of a row.  NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Service {
    u32 command;
    std::string_view name;   // FILE_OPEN
    std::string_view title;  // as people call it
    ServiceType result;
    std::string_view effect;  // one line
    std::array<ServiceArgument, 12> arguments;
};

// The command words: SYS_FILE_OPEN and the like.
enum ServiceCommand : u32 {
#define SERVICE(command, name, ...) SYS_##name = (command),
#include "sys/services.def"
#undef SERVICE
};

// The first command word of each group; a sub-command is the low byte.
constexpr u32 kFileServices = 0x0000;
constexpr u32 kTimeServices = 0x0200;
constexpr u32 kTextServices = 0x0300;
constexpr u32 kGraphicsServices = 0x0500;
constexpr u32 kSoundServices = 0x0600;
constexpr u32 kHostServices = 0x0700;
constexpr u32 kSettingsServices = 0x0800;
constexpr u32 kHeapServices = 0x0900;

namespace service_table {
using enum ServiceType;
inline constexpr Service kRows[] = {
#define SERVICE(command, name, title, result, effect, ...) \
    {command, #name, title, result, effect, {{__VA_ARGS__}}},
#include "sys/services.def"
#undef SERVICE
};
}  // namespace service_table

inline constexpr const auto& kServices = service_table::kRows;

static_assert(std::adjacent_find(std::begin(kServices), std::end(kServices),
                                 [](const Service& a, const Service& b) {
                                     return a.command >= b.command;
                                 }) == std::end(kServices),
              "services stand in the order of their numbers, each once");

// The service of a command word, or null.
constexpr const Service* FindService(u32 command) {
    const auto* const at =
        std::find_if(std::begin(kServices), std::end(kServices),
                     [command](const Service& service) { return service.command == command; });
    return at == std::end(kServices) ? nullptr : at;
}

}  // namespace moxi
