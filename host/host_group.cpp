#include "host/host_group.h"

#include <sys/utsname.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "base/mac_roman.h"
#include "base/utf8.h"
#include "base/version.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "gfx/bitmap.h"
#include "host/delegate.h"
#include "host/keyboard.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/view.h"
#include "host/window.h"
#include "sys/dispatch.h"
#include "sys/files.h"
#include "sys/param.h"
#include "sys/services.h"
#include "vm/diagnostics.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kTitleBufferSize = 512;
constexpr u16 kHandCursor = 2;

constinit char titleBuffer[kTitleBufferSize] = {};

// A 64-bit result: the low word in R14's low half, the high word above it.
void SetSizeResult(u32 width, u32 height) {
    Store<u64>(kHeaderR14, width | u64{height} << 32);
}

void CopyText(u32 address, const std::string& text) {
    std::memcpy(CheckedRange(address, text.size() + 1), text.c_str(), text.size() + 1);
}

void GetEOL(u32 address, i32 size) {
    constexpr u32 kNeeded = 3;
    if (size < static_cast<i32>(kNeeded)) {
        ShowFatalMessage("GetEOL: buffer too small");
    }
    std::memcpy(CheckedRange(address, kNeeded), "\r\n", kNeeded);
    SetResult(kNeeded - 1);
}

void CopyMessage(u32 address, const Message& message) {
    std::memcpy(CheckedRange(address, sizeof message), &message, sizeof message);
}

// Looks for a key or button message, past ticks and pointer moves, which are thrown away.
u32 PeekKeyMessage(u32 address) {
    const bool remove = Load<u32>(address) != 0;
    Store<u32>(address, 0);
    while (!QueueIsEmpty()) {
        const Message message = QueueHead();
        if (message.command == MSG_DOWN || message.command == MSG_UP) {
            CopyMessage(address, message);
            if (remove) {
                DropQueueHead();
            }
            return 1;
        }
        if (message.command != MSG_TICK && message.command != MSG_POINTER) {
            return 0;
        }
        DropQueueHead();
    }
    return 0;
}

// Takes pointer moves and ticks off the queue and keeps the latest move.
u32 TakeLatestPointer(u32 address) {
    Store<u32>(address, 0);
    bool found = false;
    while (!QueueIsEmpty()) {
        const Message message = QueueHead();
        if (message.command == MSG_POINTER) {
            CopyMessage(address, message);
            found = true;
        } else if (message.command != MSG_TICK) {
            break;
        }
        DropQueueHead();
    }
    return found ? 1 : 0;
}

// A text that is too long is cut at a character boundary.
void GetClipboardText(u32 address, u32 size) {
    if (size == 0) {
        return;
    }
    std::string text = desktop.clipboardText().value_or("");
    text.resize(std::strlen(text.c_str()));  // the module's texts end at the first NUL
    if (text.size() > size - 1) {
        text.resize(CharacterStart(text, size - 1));
    }
    CopyText(address, text);
}

void GetWindowGeometry(u32 address) {
    WindowGeometry geometry;
    if (!ReadWindowGeometry(geometry)) {
        return;
    }
    const u32 words[] = {geometry.x, geometry.y, geometry.width, geometry.height,
                         geometry.fullScreen ? 1u : 0u};
    std::memcpy(CheckedRange(address, sizeof words), words, sizeof words);
}

void SetWindowGeometry(u32 address) {
    u32 words[5];
    std::memcpy(words, CheckedRange(address, sizeof words), sizeof words);
    modulePlacesWindow = true;
    requestedGeometry = {words[0], words[1], words[2], words[3], words[4] != 0};
    ApplyWindowGeometry();
}

void SetWindowTitle(const char* text) {
    const char* const title = std::strlen(text) < kTitleBufferSize ? text : "Title too long";
    std::snprintf(titleBuffer, sizeof titleBuffer, "%s", title);
    desktop.queueOnMain([] {
        titleGuard = true;
        desktop.setWindowTitle(titleBuffer);
        titleGuard = false;
    });
}

u32 GetVersion(u32 address) {
    utsname system = {};
    uname(&system);
    u32 packed = 0;
    CopyText(address, VersionText(system.release, packed));
    return packed;
}

std::string DataFolderWithSlash() {
    const char* const path = BuildPath("", true);
    return path != nullptr ? path : "";
}

void CallWindowService(u32 command, u32 a0) {
    switch (command) {
        case SYS_GET_WINDOW: GetWindowGeometry(a0); break;
        case SYS_SET_WINDOW: SetWindowGeometry(a0); break;
        case SYS_WINDOWED_SIZE: SetSizeResult(windowedWidth, windowedHeight); break;
        case SYS_WINDOW_TITLE: SetWindowTitle(CheckedString(a0)); break;
        case SYS_SET_CURSOR: desktop.setHandCursor(static_cast<u16>(a0) == kHandCursor); break;
        default: SetSizeResult(screenBitmap.width, screenBitmap.height);
    }
}

void CallTextService(u32 command, u32 a0) {
    switch (command) {
        case SYS_DATA_FOLDER: CopyText(a0, DataFolderWithSlash()); break;
        case SYS_BUNDLE_PATH: CopyText(a0, folders.bundle); break;
        case SYS_VERSION: SetResult(GetVersion(a0)); break;
        case SYS_COMMAND_KEY_NAME: CopyText(a0, "Cmd"); break;
        case SYS_OPEN_WEB: desktop.openUrl(MacRomanToUtf8(CheckedString(a0))); break;
        default: CopyText(a0, "/");
    }
}

}  // namespace

std::string VersionText(const char* release, u32& packed) {
    u32 major = 0;
    u32 minor = 0;
    u32 patch = 0;
    std::sscanf(release, "%u.%u.%u", &major, &minor, &patch);
    packed = major << 16 | minor << 24 | 1;
    return FormatText("MOXI %s - Mac OS X %u.%u.%u", kVersionText, major, minor, patch);
}

void Delay(u32 n) {
    constexpr u64 kStepMilliseconds = 10;
    if (n == 0) {
        desktop.queueOnMain([] {
            inputSuspended = true;
            FlushDirtyRect();
            inputSuspended = false;
        });
        return;
    }
    // The flag stays set after the sleep: only a later Delay(0) lets input in again.
    inputSuspended = true;
    FlushDirtyRect();
    desktop.sleep(u64{n} * kStepMilliseconds);
}

void SysHostGroup(u32 sub, u32 arguments) {
    const u32 command = kHostServices | sub;
    if (command > SYS_WAIT) {
        ReportUnknownCommand();
        return;
    }
    const bool takesNothing =
        command == SYS_VISIBLE_SIZE || command == SYS_WINDOWED_SIZE || command == SYS_SCREEN_SIZE;
    const u32 a0 = takesNothing ? 0 : Argument(arguments, 0);
    switch (command) {
        case SYS_SHOW_MESSAGE: ShowFatalMessage(CheckedString(a0)); break;
        case SYS_LINE_END: GetEOL(a0, static_cast<i32>(Argument(arguments, 1))); break;
        case SYS_VISIBLE_SIZE: SetSizeResult(visibleWidth, visibleHeight); break;
        case SYS_PEEK_KEY: SetResult(PeekKeyMessage(a0)); break;
        case SYS_TAKE_POINTER: SetResult(TakeLatestPointer(a0)); break;
        case SYS_READ_CLIPBOARD: GetClipboardText(a0, Argument(arguments, 1)); break;
        case SYS_WRITE_CLIPBOARD: desktop.setClipboardText(CheckedString(a0)); break;
        case SYS_NOTHING: break;
        case SYS_GET_WINDOW:
        case SYS_SET_WINDOW:
        case SYS_WINDOWED_SIZE:
        case SYS_WINDOW_TITLE:
        case SYS_SET_CURSOR:
        case SYS_SCREEN_SIZE: CallWindowService(command, a0); break;
        case SYS_HELD_BUTTONS: SetResult(a0 & buttonsAndModifiers); break;
        case SYS_WAIT: Delay(a0); break;
        default: CallTextService(command, a0);
    }
}

}  // namespace moxi
