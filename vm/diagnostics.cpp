#include "vm/diagnostics.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "desktop/desktop.h"
#include "vm/slots.h"

namespace moxi {

namespace {

// Code points of the characters 0x80..0xFF. The C library's converter has another delta and
// another private character, and needs files that a small system lacks.
constexpr u16 kMacRomanUpperHalf[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

// The text of the message being shown.
constinit char messageBuffer[kMessageBufferSize] = {};
// 1 while a box that another thread asked for has not been dismissed.
constinit std::atomic<u32> smFLAG = 0;

constexpr u32 kBoxesWithoutEnd = 2;
constinit u32 boxesOfMessage = 0;

void ShowMessageBuffer() {
    const std::string text = MacRomanToUtf8(messageBuffer);
    WriteErrorLine("fatal: ", text);
    if (++boxesOfMessage <= kBoxesWithoutEnd) return desktop.alert(text);
    if (!desktop.alertOrEnd(text)) return;
    SystemLog("ended by the user while it showed messages");
    EndProcess(kForcedEnd);
}

}  // namespace

void ShowFatalMessage(std::string_view text) {
    if (desktop.isMainThread()) vmSlots.beforeFatalMessage(text);
    if (smFLAG != 0) SystemLog("smFLAG");
    const size_t length = std::min<size_t>(text.size(), kMessageBufferSize - 1);
    std::memcpy(messageBuffer, text.data(), length);
    messageBuffer[length] = 0;
    if (desktop.isMainThread()) {
        smFLAG = 0;
        ShowMessageBuffer();
        smFLAG = 0;
        return;
    }
    smFLAG = 1;
    desktop.queueOnMain([] {
        ShowMessageBuffer();
        smFLAG = 0;
    });
    // A worker that met a fatal condition must not go on, not even after the box is dismissed.
    for (;;) pause();
}

void CountBoxesAnew() {
    boxesOfMessage = 0;
}

void AppendDebugLog(std::string_view bytes) {
    vmSlots.appendDebugLog(bytes);
}

void EndProcess(int status) {
    vmSlots.endProcess(status);
    std::abort();
}

std::string MacRomanToUtf8(std::string_view text) {
    std::string utf8;
    for (const char c : text) {
        const u8 byte = static_cast<u8>(c);
        const u32 point = byte < 128 ? byte : kMacRomanUpperHalf[byte - 128];
        if (point < 0x80) {
            utf8 += c;
        } else if (point < 0x800) {
            utf8 += static_cast<char>(0xC0 | point >> 6);
            utf8 += static_cast<char>(0x80 | (point & 63));
        } else {
            utf8 += static_cast<char>(0xE0 | point >> 12);
            utf8 += static_cast<char>(0x80 | (point >> 6 & 63));
            utf8 += static_cast<char>(0x80 | (point & 63));
        }
    }
    return utf8;
}

}  // namespace moxi
