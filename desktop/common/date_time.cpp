#include "desktop/common/date_time.h"

namespace moxi {

constexpr int kFirstYear = 1900;  // of the C library

DateTime DateOf(const std::tm& parts) {
    return {static_cast<u32>(parts.tm_year + kFirstYear),
            static_cast<u32>(parts.tm_mon + 1),
            static_cast<u32>(parts.tm_mday),
            static_cast<u32>(parts.tm_hour),
            static_cast<u32>(parts.tm_min),
            static_cast<u32>(parts.tm_sec)};
}

std::tm PartsOf(const DateTime& date) {
    std::tm parts = {};
    parts.tm_year = static_cast<int>(date.year) - kFirstYear;
    parts.tm_mon = static_cast<int>(date.month) - 1;
    parts.tm_mday = static_cast<int>(date.day);
    parts.tm_hour = static_cast<int>(date.hour);
    parts.tm_min = static_cast<int>(date.minute);
    parts.tm_sec = static_cast<int>(date.second);
    return parts;
}

std::tm LocalParts() {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    localtime_r(&now, &parts);
    return parts;
}

}  // namespace moxi
