#include "sys/settings.h"

#include <cstdio>
#include <cstring>

#include "base/bytes.h"
#include "base/hex_digit.h"
#include "sys/files.h"
#include "sys/settings_buffer.h"

namespace moxi {

namespace {

// A section's header in memory: "[", ten bytes that hold the checksum text in a file, "=", name,
// "]". In memory the ten bytes hold the section's length, a mark for a wrong checksum, and zeros.
constexpr Place kHeaderLength = 1;
constexpr Place kHeaderMark = 5;
constexpr Place kHeaderEquals = 11;
constexpr Place kHeaderName = 12;
constexpr std::size_t kChecksumSize = 10;

// Shorter files hold no section.
constexpr u32 kMinimalFileSize = 10;

constinit Place currentSection = kNoPlace;
constinit Place position = kNoPlace;

bool IsBlank(u8 c) {
    return c == ' ' || c == '\t';
}

bool IsLineEnd(u8 c) {
    return c == '\r' || c == '\n';
}

bool EndsLine(u8 c) {
    return IsLineEnd(c) || c == 0;
}

bool IsSection(Place place) {
    return place != kNoPlace && place < SettingsTextEnd() && SettingsByte(place) == '[';
}

Place SkipBlanks(Place place) {
    while (IsBlank(SettingsByte(place))) {
        place++;
    }
    return place;
}

Place SkipLineEnds(Place place) {
    while (IsLineEnd(SettingsByte(place))) {
        place++;
    }
    return place;
}

Place SkipToLineEnd(Place place) {
    while (!EndsLine(SettingsByte(place))) {
        place++;
    }
    return place;
}

// Where the walk over the sections starts: blanks may stand before the first one.
Place FirstSection() {
    Place place = 0;
    while (IsBlank(SettingsByte(place)) || IsLineEnd(SettingsByte(place))) {
        place++;
    }
    return place;
}

// The place after a section, by its stored length. A length that leads nowhere ends the walk.
Place AfterSection(Place section) {
    const u64 length = SettingsWord(section + kHeaderLength);
    if (length == 0 || section + length >= SettingsCapacity()) {
        return SettingsTextEnd();
    }
    return section + length;
}

void SetLength(Place section, u32 length) {
    u8 word[4];
    StoreBytes<u32>(word, length);
    WriteSettings(section + kHeaderLength, word, sizeof word);
}

void GrowSection(Place section, u64 added, u64 removed) {
    const u32 length = SettingsWord(section + kHeaderLength);
    SetLength(section, static_cast<u32>(length + added - removed));
}

// The text matches at `place`. It holds no NUL, so the comparison stops at the text's end.
bool Matches(Place place, std::string_view text) {
    for (const char c : text) {
        if (SettingsByte(place++) != static_cast<u8>(c)) {
            return false;
        }
    }
    return true;
}

// Moves pointers that lie after the place of an insertion or removal along with the text.
void MovePointers(Place place, u64 added, u64 removed) {
    for (Place* pointer : {&currentSection, &position}) {
        if (*pointer == kNoPlace || *pointer <= place) {
            continue;
        }
        *pointer = *pointer < place + removed ? place : *pointer + added - removed;
    }
}

bool Insert(Place place, u64 count) {
    if (!InsertSettings(place, count)) {
        return false;
    }
    MovePointers(place, count, 0);
    return true;
}

void Remove(Place place, u64 count) {
    RemoveSettings(place, count);
    MovePointers(place, 0, count);
}

Place Write(Place place, std::string_view text) {
    return WriteSettings(place, text.data(), text.size());
}

// --- Numbers

struct ParsedNumber {
    bool found;
    u32 value;
    Place end;
};

// What is no digit of any base counts as 16.
int DigitValue(u8 c) {
    const int digit = HexDigit(static_cast<char>(c));
    return digit < 0 ? 16 : digit;
}

ParsedNumber ParseNumber(Place place) {
    place = SkipBlanks(place);
    const bool negative = SettingsByte(place) == '-';
    if (negative) {
        ++place;
    }
    if (DigitValue(SettingsByte(place)) > 9) {
        return {false, 0, place};
    }
    u32 base = 10;
    if (SettingsByte(place) == '0') {
        base = 8;
        const u8 next = SettingsByte(place + 1);
        if (next == 'x' || next == 'X') {
            base = 16;
            place += 2;
        }
    }
    u32 value = 0;
    for (;; ++place) {
        const u32 digit = static_cast<u32>(DigitValue(SettingsByte(place)));
        if (digit >= base) {
            break;
        }
        value = value * base + digit;
    }
    return {true, negative ? 0 - value : value, place};
}

// --- Checksums

// Of `length` bytes from a section's "[", with its ten checksum bytes zeroed by the caller.
u32 Checksum(Place section, u64 length) {
    const u8* const bytes = SettingsBytes() + section;
    u32 sum = 0;
    u64 i = 0;
    for (; i + 4 <= length; i += 4) {
        sum += LoadBytes<u32>(bytes + i);
    }
    u32 tail = 0;
    // The sign of a trailing byte fills the upper bits: files carry sums that were made this way.
    for (; i < length; ++i) {
        tail = tail << 8 | static_cast<u32>(i32{static_cast<i8>(bytes[i])});
    }
    return sum + tail;
}

// The place where a section ends in a freshly loaded text: the next "[" outside quotes, or the NUL.
Place ScanSectionEnd(Place section) {
    Place place = section + kHeaderEquals;
    bool quoted = false;
    for (;; ++place) {
        const u8 c = SettingsByte(place);
        if (c == 0 || (c == '[' && !quoted)) {
            return place;
        }
        if (c == '"') {
            quoted = !quoted;
        }
        // Only a backslash before a quote counts; one before a backslash does not.
        if (quoted && c == '\\' && SettingsByte(place + 1) == '"') {
            ++place;
        }
    }
}

// Turns the headers of a loaded text into their form in memory. False without memory.
bool PrepareSections(Place section) {
    while (IsSection(section)) {
        const ParsedNumber checksum = ParseNumber(section + 1);
        const Place headerEnd = section + kHeaderName;
        if (headerEnd > SettingsTextEnd()) {
            // The file ends inside the header.
            if (!ReserveSettings(headerEnd, kHeaderName)) {
                return false;
            }
            SetSettingsText(headerEnd);
        }
        constexpr u8 kZeros[kChecksumSize] = {};
        WriteSettings(section + 1, kZeros, kChecksumSize);
        const Place end = ScanSectionEnd(section);
        const u64 length = end - section;
        const bool correct = checksum.found && checksum.value == Checksum(section, length);
        SetLength(section, static_cast<u32>(length));
        const u8 mark = correct ? 0 : 1;
        WriteSettings(section + kHeaderMark, &mark, 1);
        section = end;
    }
    return true;
}

// --- Keys

struct FoundLine {
    Place place;  // the key's first character, or where a new line goes
    u64 length;   // the line with every line end after it; 0 when the key was not found
};

// The current section is one.
FoundLine FindKey(std::string_view key) {
    Place place = SkipLineEnds(SkipToLineEnd(currentSection + kHeaderName));
    for (;;) {
        place = SkipBlanks(place);
        const u8 c = SettingsByte(place);
        if (c == '[' || c == 0) {
            return {place, 0};
        }
        const Place next = SkipLineEnds(SkipToLineEnd(place));
        if (Matches(place, key) && SettingsByte(place + key.size()) == '=') {
            return {place, next - place};
        }
        place = next;
    }
}

Place WriteLine(Place place, std::string_view key, std::string_view value) {
    return Write(Write(Write(Write(place, key), "="), value), "\n");
}

// Appends `value` to the key's line, or makes the line in a gap of `gap` bytes.
void AppendValue(std::string_view key, std::string_view value, u64 gap) {
    const FoundLine line = FindKey(key);
    const u64 size = key.size() + 1 + value.size() + 1;
    if (line.length == 0) {
        // The gap may be smaller than what is written: the room behind it must be there.
        const u64 end = line.place + size;
        if (!ReserveSettings(end, gap) || !Insert(line.place, gap)) {
            return;
        }
        WriteLine(line.place, key, value);
        if (IsSection(currentSection)) {
            GrowSection(currentSection, size, 0);
        }
        position = kNoPlace;
        return;
    }
    const Place end = line.place + line.length;
    // The value goes over the last line end; the last line of a file may have none.
    const u64 lineEnd = IsLineEnd(SettingsByte(end - 1)) ? 1 : 0;
    const u64 added = value.size() + 1 - lineEnd;
    if (!Insert(end, added)) {
        return;
    }
    Write(Write(end - lineEnd, value), "\n");
    GrowSection(currentSection, added, 0);
    position = kNoPlace;
}

std::string Quoted(std::string_view text) {
    std::string quoted = " \"";
    for (const char c : text) {
        if (c == '\\' || c == '"') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

}  // namespace

// --- Files

u32 LoadSettings(const char* name) {
    DiscardSettings();
    const u32 file = OpenFile(name, kOpenRead);
    if (file == kNoFile) {
        MakeEmptySettingsBuffer();
        return 0;
    }
    LockToRead(file);
    const u32 size = SeekFile(file, 0, 2);
    if (size < kMinimalFileSize || size == kNoFile) {
        CloseFile(file);
        MakeEmptySettingsBuffer();
        return 0;
    }
    u8* const room = MakeSettingsBuffer(size);
    if (room == nullptr) {
        CloseFile(file);
        return 0;
    }
    SeekFile(file, 0, 0);
    SetSettingsText(ReadFile(file, room, size));
    CloseFile(file);
    const Place first = FirstSection();
    if (!IsSection(first) || !PrepareSections(first)) {
        MakeEmptySettingsBuffer();
        return 0;
    }
    currentSection = first;
    return 1;
}

u32 SaveSettings(const char* name) {
    if (!HasSettings()) {
        return 0;
    }
    const u32 file = OpenToReplace(name);
    if (file == kNoFile) {
        return 0;
    }
    u32 result = 1;
    Place section = FirstSection();
    while (IsSection(section)) {
        const u64 room = SettingsCapacity() - section;
        const u32 stored = SettingsWord(section + kHeaderLength);
        const u32 length = stored < room ? stored : static_cast<u32>(room);
        u8 kept[kChecksumSize] = {};
        ExchangeSettings(section + 1, kept, kChecksumSize);
        char text[kChecksumSize + 1];
        std::snprintf(text, sizeof text, "0x%8.8X", Checksum(section, length));
        u8 checksum[kChecksumSize];
        std::memcpy(checksum, text, kChecksumSize);
        ExchangeSettings(section + 1, checksum, kChecksumSize);
        if (WriteFile(file, SettingsBytes() + section, length) != length) {
            result = 0;
        }
        ExchangeSettings(section + 1, kept, kChecksumSize);
        section = AfterSection(section);
    }
    CloseFile(file);
    return result;
}

void DiscardSettings() {
    FreeSettingsBuffer();
    currentSection = position = kNoPlace;
}

void ClearSettings() {
    ClearSettingsBuffer();
    currentSection = position = kNoPlace;
}

bool HasSettings() {
    return HasSettingsBuffer();
}

bool HasCurrentSection() {
    return HasSettings() && IsSection(currentSection);
}

// --- Sections

u32 SelectSection(std::string_view name) {
    if (!HasSettings()) {
        return 0;
    }
    currentSection = FirstSection();
    while (IsSection(currentSection)) {
        // A name ends at its first "]", so one that holds a "]" is never found.
        const Place nameEnd = currentSection + kHeaderName + name.size();
        if (name.find(']') == std::string_view::npos &&
            Matches(currentSection + kHeaderName, name) && SettingsByte(nameEnd) == ']') {
            position = kNoPlace;
            return 1;
        }
        currentSection = AfterSection(currentSection);
    }
    return 0;
}

u32 AddSection(std::string_view name) {
    if (!HasSettings()) {
        return 0;
    }
    if (SelectSection(name) == 1) {
        return 1;
    }
    const u64 size = kHeaderName + name.size() + 2;
    if (!Insert(currentSection, size)) {
        return 0;
    }
    constexpr std::string_view kHeaderStart{"[\0\0\0\0\0\0\0\0\0\0=", kHeaderName};
    Write(Write(Write(currentSection, kHeaderStart), name), "]\n");
    SetLength(currentSection, static_cast<u32>(size));
    position = kNoPlace;
    return 1;
}

void DeleteSection() {
    if (!HasCurrentSection()) {
        return;
    }
    Remove(currentSection, SettingsWord(currentSection + kHeaderLength));
    currentSection = FirstSection();
    position = kNoPlace;
}

SettingsText NextSectionName(u32 size) {
    if (!HasSettings() || currentSection == kNoPlace) {
        return {0, {}};
    }
    const Place next = IsSection(currentSection) ? AfterSection(currentSection) : kNoPlace;
    if (!IsSection(next)) {
        currentSection = kNoPlace;
        return {0, {}};
    }
    currentSection = next;
    position = kNoPlace;
    std::string name;
    for (Place place = next + kHeaderName;; ++place) {
        const u8 c = SettingsByte(place);
        if (c == ']' && name.size() < size) {
            return {static_cast<u32>(name.size()), name};
        }
        if (c == ']' || c == 0 || u64{name.size()} + 1 >= size) {
            return {kBadSettingsText, name};
        }
        name += static_cast<char>(c);
    }
}

// --- Keys

u32 SelectKey(std::string_view key) {
    if (!HasCurrentSection()) {
        return 0;
    }
    const FoundLine line = FindKey(key);
    position = line.place;
    if (line.length == 0) {
        return 0;
    }
    position += key.size() + 1;
    return 1;
}

u32 DeleteKey(std::string_view key) {
    if (!HasCurrentSection()) {
        return 0;
    }
    const FoundLine line = FindKey(key);
    position = line.place;
    if (line.length == 0) {
        return 0;
    }
    Remove(line.place, line.length);
    GrowSection(currentSection, 0, line.length);
    return 1;
}

u32 WriteRawValue(std::string_view key, std::string_view text) {
    if (!HasCurrentSection()) {
        return 0;
    }
    const FoundLine line = FindKey(key);
    const u64 size = key.size() + 1 + text.size() + 1;
    if (size > line.length) {
        // The line may end beyond the used length, where an insertion alone makes no room.
        if (!ReserveSettings(line.place + size, size - line.length)) {
            return 1;
        }
        if (!Insert(line.place, size - line.length)) {
            return 1;
        }
    } else {
        Remove(line.place, line.length - size);
    }
    GrowSection(currentSection, size, line.length);
    position = WriteLine(line.place, key, text);
    return 1;
}

u32 AppendNumber(std::string_view key, u32 value, u32 style) {
    if (!HasCurrentSection()) {
        return 0;
    }
    char text[16];
    if (style == 1) {
        std::snprintf(text, sizeof text, " 0%o", value);
    } else if (style == 2) {
        std::snprintf(text, sizeof text, " 0x%8.8X", value);
    } else {
        std::snprintf(text, sizeof text, " %d", static_cast<i32>(value));
    }
    const u64 length = std::strlen(text);
    AppendValue(key, text, key.size() + 1 + length + 1);
    return 1;
}

u32 AppendString(std::string_view key, std::string_view text) {
    if (!HasCurrentSection()) {
        return 0;
    }
    const std::string value = Quoted(text);
    const u64 escapes = value.size() - text.size() - 3;
    // Too small by the text's length and two bytes: files and modules rely on what that overwrites.
    AppendValue(key, value, key.size() + 3 + escapes);
    return 1;
}

// --- Values

SettingsNumber ReadNumber() {
    if (!HasSettings() || position == kNoPlace) {
        return {false, 0, 0};
    }
    const ParsedNumber number = ParseNumber(position);
    position = number.end;
    return {true, number.found ? 1u : 0u, number.value};
}

SettingsText ReadString(u32 size) {
    if (!HasSettings() || position == kNoPlace) {
        return {0, {}};
    }
    position = SkipBlanks(position);
    if (SettingsByte(position) != '"') {
        return {0, {}};
    }
    std::string text;
    Place place = position + 1;
    for (;; ++place) {
        u8 c = SettingsByte(place);
        if (c == '"') {
            break;
        }
        if (u64{text.size()} + 1 >= size) {
            return {kBadSettingsText, text};
        }
        if (c == '\\') {
            c = SettingsByte(++place);
        }
        if (c == 0) {
            return {kBadSettingsText, text};
        }
        if (c < 32) {
            return {kBadSettingsText, {}};
        }
        text += static_cast<char>(c);
    }
    if (size == 0) {
        return {kBadSettingsText, {}};
    }
    position = place + 1;
    return {static_cast<u32>(text.size()), text};
}

SettingsText ReadRawLine(u32 size) {
    if (!HasSettings() || (position == kNoPlace && currentSection == kNoPlace)) {
        return {0, {}};
    }
    const auto endsSection = [](Place place) {
        return SettingsByte(place) == 0 || SettingsByte(SkipBlanks(place)) == '[';
    };
    if (position == kNoPlace) {
        const Place header = currentSection + kHeaderName;
        const Place first = SkipLineEnds(SkipToLineEnd(header));
        if (!IsSection(currentSection) || endsSection(first)) {
            currentSection = kNoPlace;
            return {0, {}};
        }
        position = first;
    }
    std::string line;
    Place place = position;
    while (!EndsLine(SettingsByte(place)) && u64{line.size()} + 1 < size) {
        if (SettingsByte(place) == '\\' && SettingsByte(place + 1) != 0) {
            ++place;
        }
        line += static_cast<char>(SettingsByte(place++));
    }
    const bool whole = IsLineEnd(SettingsByte(place)) && size != 0;
    position = SkipLineEnds(SkipToLineEnd(place));
    if (endsSection(position)) {
        currentSection = position = kNoPlace;
    }
    return {whole ? static_cast<u32>(line.size()) : kBadSettingsText, line};
}

u32 AtEndOfLine() {
    if (!HasSettings() || position == kNoPlace) {
        return 1;
    }
    position = SkipBlanks(position);
    return EndsLine(SettingsByte(position)) ? 1 : 0;
}

void ResetSettings() {
    DiscardSettings();
}

}  // namespace moxi
