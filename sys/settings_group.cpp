// Service group 8: settings files.

#include <cstring>

#include "sys/dispatch.h"
#include "sys/param.h"
#include "sys/services.h"
#include "sys/settings.h"
#include "vm/machine.h"

namespace moxi {

namespace {

void StoreNumber(u32 address) {
    const SettingsNumber number = ReadNumber();
    if (number.hasPosition) {
        Store<u32>(address, number.value);
    }
    SetResult(number.result);
}

// A buffer of size 0 has no room for a NUL either.
void StoreText(u32 address, u32 size, const SettingsText& text) {
    if (size != 0) {
        const std::size_t bytes = text.text.size() + 1;
        std::memcpy(CheckedRange(address, bytes), text.text.c_str(), bytes);
    }
    SetResult(text.result);
}

}  // namespace

void SysSettingsGroup(u32 sub, u32 arguments) {
    const auto number = [arguments](u32 index) { return Argument(arguments, index); };
    const auto text = [arguments](u32 index) { return TextArgument(arguments, index); };
    // Names and texts are looked at only where there is something to do with them.
    const bool buffer = HasSettings();
    const bool section = HasCurrentSection();
    switch (kSettingsServices | sub) {
        case SYS_SETTINGS_LOAD: SetResult(LoadSettings(text(0))); return;
        case SYS_SETTINGS_SAVE: SetResult(buffer ? SaveSettings(text(0)) : 0); return;
        case SYS_SETTINGS_DISCARD: DiscardSettings(); return;
        case SYS_SETTINGS_SECTION: SetResult(buffer ? SelectSection(text(0)) : 0); return;
        case SYS_SETTINGS_KEY: SetResult(section ? SelectKey(text(0)) : 0); return;
        case SYS_SETTINGS_READ_NUMBER: StoreNumber(number(0)); return;
        case SYS_SETTINGS_READ_STRING:
            StoreText(number(0), number(1), ReadString(number(1)));
            return;
        case SYS_SETTINGS_ADD_SECTION: SetResult(buffer ? AddSection(text(0)) : 0); return;
        case SYS_SETTINGS_WRITE_RAW:
            SetResult(section ? WriteRawValue(text(0), text(1)) : 0);
            return;
        case SYS_SETTINGS_DELETE_SECTION: DeleteSection(); return;
        case SYS_SETTINGS_DELETE_KEY: SetResult(section ? DeleteKey(text(0)) : 0); return;
        case SYS_SETTINGS_NEXT_SECTION:
            StoreText(number(0), number(1), NextSectionName(number(1)));
            return;
        case SYS_SETTINGS_CLEAR: ClearSettings(); return;
        case SYS_SETTINGS_AT_END: SetResult(AtEndOfLine()); return;
        case SYS_SETTINGS_APPEND_NUMBER:
            SetResult(section ? AppendNumber(text(0), number(1), number(2)) : 0);
            return;
        case SYS_SETTINGS_APPEND_STRING:
            SetResult(section ? AppendString(text(0), text(1)) : 0);
            return;
        case SYS_SETTINGS_READ_LINE:
            StoreText(number(0), number(1), ReadRawLine(number(1)));
            return;
        default: ReportUnknownCommand();
    }
}

}  // namespace moxi
