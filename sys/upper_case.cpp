#include "sys/upper_case.h"

#include <unicode/ustring.h>

#include <climits>

namespace moxi {

std::optional<std::string> UpperCaseUtf8(std::string_view text) {
    if (text.empty()) {
        return std::string();
    }
    // Case mapping makes at most three units of one, and three bytes of a unit.
    if (text.size() > INT_MAX / 9) {
        return std::nullopt;
    }
    const int32_t size = static_cast<int32_t>(text.size());
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    // UTF-16 never has more units than UTF-8 has bytes. Invalid text is refused, not repaired.
    std::u16string units(text.size(), u'\0');
    u_strFromUTF8(units.data(), size, &length, text.data(), size, &error);
    if (U_FAILURE(error)) {
        return std::nullopt;
    }
    // The empty locale is the root: the mapping is the same whatever the user's language.
    std::u16string upper(static_cast<std::size_t>(length) * 3, u'\0');
    const int32_t capacity = static_cast<int32_t>(upper.size());
    length = u_strToUpper(upper.data(), capacity, units.data(), length, "", &error);
    if (U_FAILURE(error)) {
        return std::nullopt;
    }
    std::string result(static_cast<std::size_t>(length) * 3, '\0');
    int32_t bytes = 0;
    u_strToUTF8(result.data(), static_cast<int32_t>(result.size()), &bytes, upper.data(), length,
                &error);
    if (U_FAILURE(error)) {
        return std::nullopt;
    }
    result.resize(static_cast<std::size_t>(bytes));
    return result;
}

}  // namespace moxi
