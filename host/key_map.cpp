#include "host/key_map.h"

#include <array>
#include <optional>

#include "host/key_names.h"

namespace moxi {

namespace {

constinit std::array<std::optional<u8>, 128> played = {};

}  // namespace

void UseKeyMap(const std::map<std::string, std::string>& choices) {
    played = {};
    for (const auto& [key, as] : choices) {
        const auto code = KeyNamed(key);
        if (code) {
            played[*code & 127] = KeyNamed(as);
        }
    }
}

PlayedKey PlayedAs(u8 code, const std::string& text, bool shift) {
    const std::optional<u8> as = played[code & 127];
    if (!as) {
        return {code, text};
    }
    return {*as, TextOfKey(*as, shift)};
}

}  // namespace moxi
