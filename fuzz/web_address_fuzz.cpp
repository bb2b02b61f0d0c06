// Any text as an address that a game wants opened. What may be opened is of one of three kinds and
// one word, and the player sees which machine it leads to.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <vector>

#include "desktop/sdl/web_address.h"
#include "fuzz/require.h"

namespace moxi {

namespace {

constexpr u64 kTenSeconds = 10'000'000'000;

std::string Lower(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

void LookAt(const std::string& url) {
    const std::string shown = ShownUrl(url);
    Require(shown.size() <= 403 &&
            std::all_of(shown.begin(), shown.end(), [](char c) { return c > ' ' && c < 127; }));
    if (!IsOpenableUrl(url)) {
        return;
    }
    Require(url.size() <= kLongestUrl && std::none_of(url.begin(), url.end(), [](char c) {
                return static_cast<unsigned char>(c) <= ' ' || c == 127;
            }));
    const std::string lower = Lower(url);
    if (lower.starts_with("mailto:")) {
        for (const char* const field : {"&attach", "?attach", ";attach", "%0aattach"}) {
            Require(lower.find(field) == std::string::npos);
        }
        return;
    }
    Require(lower.starts_with("http://") || lower.starts_with("https://"));
    // The machine's name, found from behind.
    std::string host = url.substr(url.find('/') + 2);
    for (const char c : {'/', '\\', '?', '#'}) {
        host = host.substr(0, host.find(c));
    }
    if (host.find('@') != std::string::npos) {
        host = host.substr(host.rfind('@') + 1);
    }
    const bool isPlain = std::all_of(host.begin(), host.end(), [](char c) { return c > 0; });
    if (host.size() <= 253 && isPlain) {
        Require(shown.find(host) != std::string::npos);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    UrlRate rate;
    u64 now = input.ConsumeIntegralInRange<u64>(0, 10 * kTenSeconds);
    std::vector<u64> taken;
    for (u32 i = input.ConsumeIntegralInRange<u32>(0, 12); i > 0; --i) {
        now += input.ConsumeIntegralInRange<u64>(0, kTenSeconds);
        if (rate.Take(now)) {
            taken.push_back(now);
        }
    }
    for (size_t i = 3; i < taken.size(); ++i) {
        Require(taken[i] - taken[i - 3] >= kTenSeconds);
    }
    LookAt(input.ConsumeRemainingBytesAsString());
    return 0;
}

}  // namespace moxi
