#include "gfx/fonts.h"

#include <cstring>

#include "gfx/bitmap.h"

namespace moxi {

constinit FontEntry fontCache[kFontCacheSize] = {};
constinit i32 fontCacheHead = -1;

namespace {

constinit TextFont* fontObjects[kFontCacheSize] = {};

// A tall letter with an accent and one with a descender.
constexpr const char* kFitText = "\xD0\x8Dy";
constexpr i32 kFitWidth = 2048;
constexpr double kSmallestFit = 6;
// No font is so flat that it would still fit at this many times the height asked for.
constexpr double kLargestGrowth = 64;

FontStyle StyleOf(u32 flags) {
    const FontFamily family = (flags & kTextCourier) != 0 ? FontFamily::Courier
                              : (flags & kTextTimes) != 0 ? FontFamily::Times
                                                          : FontFamily::Helvetica;
    return {family, (flags & kTextBold) != 0, (flags & kTextItalic) != 0};
}

FontEntry& Entry(i32 index) {
    return fontCache[static_cast<u32>(index)];
}

void Unlink(i32 index) {
    const FontEntry& entry = Entry(index);
    if (entry.previous >= 0) {
        Entry(entry.previous).next = entry.next;
    } else {
        fontCacheHead = entry.next;
    }
    if (entry.next >= 0) {
        Entry(entry.next).previous = entry.previous;
    }
}

void PutAtHead(i32 index) {
    Entry(index).previous = -1;
    Entry(index).next = fontCacheHead;
    if (fontCacheHead >= 0) {
        Entry(fontCacheHead).previous = index;
    }
    fontCacheHead = index;
}

// The first free entry; when there is none, that of the least recently used font, unlinked and
// released.
i32 TakeEntry() {
    i32 tail = -1;
    u32 count = 0;
    for (i32 i = fontCacheHead; i >= 0; i = Entry(i).next) {
        tail = i;
        ++count;
    }
    if (count == kFontCacheSize) {
        Unlink(tail);
        textEngine.releaseFont(fontObjects[tail]);
        return tail;
    }
    i32 free = 0;
    while (Entry(free).size != -1) {
        ++free;
    }
    return free;
}

void MarkAllFree() {
    std::memset(static_cast<void*>(fontCache), 0xFF, sizeof fontCache);
    fontCacheHead = -1;
}

}  // namespace

FittedFont FitFont(const char* text, i32 maximalWidth, i32 maximalHeight, u32 flags) {
    const FontStyle style = StyleOf(flags);
    const i32 textHeight = static_cast<i32>(textBitmap.height);
    const double height = textHeight < maximalHeight ? textHeight / 2.0 : maximalHeight;
    FittedFont fitted = {nullptr, height};
    const auto make = [&](double size) {
        if (fitted.font != nullptr) {
            textEngine.releaseFont(fitted.font);
        }
        fitted.size = size;
        fitted.font = textEngine.makeFont(style, size);
    };
    const auto fits = [&] {
        return *text == 0 || (textEngine.line(fitted.font).height < height &&
                              textEngine.measure(fitted.font, text) < maximalWidth);
    };
    do {
        make(fitted.size + 1);
    } while (*text != 0 && fits() && fitted.size < height * kLargestGrowth);
    double before = 0;
    do {
        before = fitted.size;
        make(before - 1);
    } while (!fits() && before >= kSmallestFit);
    return fitted;
}

TextFont* FontFor(i32 height, u32 flags) {
    const i32 style = static_cast<i32>(flags & kFontStyleFlags);
    // Before the first text bitmap the entries are zero, not free.
    if (fontCacheHead < 0) {
        MarkAllFree();
    }
    for (i32 i = fontCacheHead; i >= 0; i = Entry(i).next) {
        if (Entry(i).size != height || Entry(i).style != style) {
            continue;
        }
        if (i != fontCacheHead) {
            Unlink(i);
            PutAtHead(i);
        }
        return fontObjects[i];
    }
    const i32 index = TakeEntry();
    Entry(index).size = height;
    Entry(index).style = style;
    fontObjects[index] = FitFont(kFitText, kFitWidth, height, flags).font;
    PutAtHead(index);
    return fontObjects[index];
}

void EmptyFontCache() {
    for (i32 i = fontCacheHead; i >= 0; i = Entry(i).next) {
        textEngine.releaseFont(fontObjects[i]);
    }
    std::memset(static_cast<void*>(fontObjects), 0, sizeof fontObjects);
    MarkAllFree();
}

}  // namespace moxi
