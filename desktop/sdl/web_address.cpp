#include "desktop/sdl/web_address.h"

#include <algorithm>

#include "base/hex_digit.h"

namespace moxi {

constexpr std::size_t kMostShown = 400;
constexpr u64 kRatePeriod = 10'000'000'000;

namespace {

char LowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(),
                      [](char a, char b) { return a == LowerCase(b); });
}

// The text with its escapes resolved: the name of a field may be written as %61ttach.
std::string Unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 &&
                            HexDigit(text[i + 2]) >= 0;
        plain += escape ? static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]))
                        : text[i];
        if (escape) {
            i += 2;
        }
    }
    return plain;
}

// Mail programs know the field of a file under several names, all of which begin the same. Some
// look for fields behind the receiver's name as well, without a question mark before, and take a
// line's end for a field's.
bool AttachesFiles(std::string_view mail) {
    const std::string fields = Unescaped(mail);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const bool starts = fields[i] == '?' || fields[i] == '&' || fields[i] == ';' ||
                            (fields[i] >= 0 && fields[i] < ' ');
        if (starts && StartsWith(std::string_view(fields).substr(i + 1), "attach")) {
            return true;
        }
        if (starts && StartsWith(std::string_view(fields).substr(i + 1), "x-attach")) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool IsOpenableUrl(std::string_view url) {
    const auto hasScheme = [url](std::string_view scheme) {
        return url.size() > scheme.size() && StartsWith(url, scheme);
    };
    if (url.size() > kLongestUrl) {
        return false;
    }
    if (std::any_of(url.begin(), url.end(),
                    [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F; })) {
        return false;
    }
    if (hasScheme("mailto:")) {
        return !AttachesFiles(url);
    }
    return hasScheme("http://") || hasScheme("https://");
}

bool UrlRate::Take(u64 now) {
    // The oldest of the last ones is where the next will stand.
    u64& oldest = taken[count % kMost];
    if (count >= kMost && now - oldest < kRatePeriod) {
        return false;
    }
    oldest = now;
    ++count;
    return true;
}

namespace {

// Where the host's name and what belongs to it begins and ends in an address of the web; browsers
// take a backslash for a slash.
struct HostPlace {
    std::size_t begin;
    std::size_t end;
};

HostPlace FindHost(std::string_view url) {
    const std::size_t begin = url.find("//") + 2;
    const std::size_t end = std::min(url.find_first_of("/?#\\", begin), url.size());
    const std::size_t at = url.substr(begin, end - begin).rfind('@');
    return {at == std::string_view::npos ? begin : begin + at, end};
}

}  // namespace

std::string ShownUrl(std::string_view url) {
    std::string whole(url);
    if (StartsWith(url, "http://") || StartsWith(url, "https://")) {
        const std::size_t begin = url.find("//") + 2;
        const HostPlace host = FindHost(url);
        if (host.begin != begin) {
            whole.replace(begin, host.begin - begin, "...");
        }
    }
    std::string shown;
    for (const char c : whole) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte > 0x20 && byte < 0x7F) {
            shown += c;
        } else {
            shown += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return shown.size() > kMostShown ? shown.substr(0, kMostShown) + "..." : shown;
}

}  // namespace moxi
