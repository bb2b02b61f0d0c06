// Service group 3: strings, bytes and formatted text.

#include <cstring>
#include <optional>
#include <string>

#include "sys/dispatch.h"
#include "sys/format.h"
#include "sys/param.h"
#include "sys/services.h"
#include "sys/upper_case.h"
#include "vm/diagnostics.h"
#include "vm/machine.h"

namespace moxi {

namespace {

// A byte count of the module: signed, widened with its sign. A negative one is then larger than
// any image.
u64 CountArgument(u32 arguments, u32 index) {
    return static_cast<u64>(i64{static_cast<i32>(Argument(arguments, index))});
}

// The address of the NUL of the string at `address`.
u32 EndOfString(u32 address) {
    return address + static_cast<u32>(std::strlen(CheckedString(address)));
}

void FormattedAppend(u32 arguments) {
    const u32 end = EndOfString(Argument(arguments, 0));
    const char* const format = TextArgument(arguments, 1);
    FormatValue value = {};
    switch (Argument(arguments, 2)) {
        case 1: value = {FormatValue::Kind::Text, Argument(arguments, 3)}; break;
        case 4: value = {FormatValue::Kind::Number32, Argument(arguments, 3)}; break;
        case 8:
            value = {FormatValue::Kind::Number64,
                     u64{Argument(arguments, 4)} << 32 | Argument(arguments, 3)};
            break;
        default:
            ShowFatalMessage("SYS_PRTFMT: unsupported arg size");
            SetResult(0);
            return;
    }
    u8* const destination = CheckedRange(end, FormattedLength(format, value) + 1);
    // Made beside the image first: the value may be the string that is appended to.
    const std::string text = FormatOneValue(format, value);
    std::memcpy(destination, text.c_str(), text.size() + 1);
    // A NUL that %c wrote ends the text, so the length is counted anew.
    SetResult(static_cast<u32>(std::strlen(text.c_str())));
}

// Copies the string at `source`, with its NUL, to `destination`. They may overlap.
void PutString(u32 destination, u32 source) {
    const u64 size = u64{EndOfString(source) - source} + 1;
    std::memmove(CheckedRange(destination, size), CheckedRange(source, size), size);
}

void CopyString(u32 destination, u32 source) {
    if (destination != source) {
        PutString(destination, source);
    }
}

// Only the bytes up to the first difference are touched.
i32 CompareStrings(u32 a, u32 b) {
    const u32 higher = a > b ? a : b;
    const u32 room = higher < imageSize ? imageSize - higher : 0;
    for (u32 i = 0; i < room; ++i) {
        const i32 first = image[a + i];
        const i32 second = image[b + i];
        if (first != second) {
            return first - second;
        }
        if (first == 0) {
            return 0;
        }
    }
    MemoryFault();
}

void UpperCase(u32 address) {
    const std::optional<std::string> upper = UpperCaseUtf8(CheckedString(address));
    if (!upper) {
        return;
    }
    std::memcpy(CheckedRange(address, upper->size() + 1), upper->c_str(), upper->size() + 1);
}

void MoveBytes(u32 destination, u32 source, u64 count) {
    u8* const to = CheckedRange(destination, count);
    const u8* const from = CheckedRange(source, count);
    if (count != 0) {
        std::memmove(to, from, count);
    }
}

void FillBytes(u32 address, u32 value, u64 count) {
    u8* const bytes = CheckedRange(address, count);
    if (count != 0) {
        std::memset(bytes, static_cast<u8>(value), count);
    }
}

i32 CompareBytes(u32 a, u32 b, u64 count) {
    const u8* const first = CheckedRange(a, count);
    const u8* const second = CheckedRange(b, count);
    return count == 0 ? 0 : std::memcmp(first, second, count);
}

}  // namespace

void SysTextGroup(u32 sub, u32 arguments) {
    const auto number = [arguments](u32 index) { return Argument(arguments, index); };
    const auto count = [arguments](u32 index) { return CountArgument(arguments, index); };
    switch (kTextServices | sub) {
        case SYS_APPEND_FORMAT: FormattedAppend(arguments); return;
        case SYS_COPY_STRING: CopyString(number(0), number(1)); return;
        case SYS_APPEND_STRING: PutString(EndOfString(number(0)), number(1)); return;
        case SYS_LENGTH: SetResult(EndOfString(number(0)) - number(0)); return;
        case SYS_COMPARE_STRINGS:
            SetResult(static_cast<u32>(CompareStrings(number(0), number(1))));
            return;
        case SYS_UPPER_CASE: UpperCase(number(0)); return;
        // Copying allows overlapping ranges too, which costs nothing.
        case SYS_COPY_BYTES:
        case SYS_MOVE_BYTES: MoveBytes(number(0), number(1), count(2)); return;
        case SYS_FILL_BYTES: FillBytes(number(0), number(1), count(2)); return;
        case SYS_COMPARE_BYTES:
            SetResult(static_cast<u32>(CompareBytes(number(0), number(1), count(2))));
            return;
        case SYS_DEBUG_PRINT: SystemLog(TextArgument(arguments, 0)); return;
        default: ReportUnknownCommand();
    }
}

}  // namespace moxi
