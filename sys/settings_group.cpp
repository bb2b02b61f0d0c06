#include "sys/settings_group.h"

#include <cstring>

#include "sys/dispatch.h"
#include "sys/param.h"
#include "sys/settings.h"
#include "vm/machine.h"

namespace {

void StoreNumber(u32 address) {
    const SettingsNumber number = ReadNumber();
    if (number.hasPosition) Store<u32>(address, number.value);
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

void SysProfileGroup(u32 sub, u32 arguments) {
    const auto number = [arguments](u32 index) { return Argument(arguments, index); };
    const auto text = [arguments](u32 index) { return TextArgument(arguments, index); };
    // Names and texts are looked at only where there is something to do with them.
    const bool buffer = HasSettings();
    const bool section = HasCurrentSection();
    switch (sub) {
        case 0: SetResult(LoadSettings(text(0))); return;
        case 1: SetResult(buffer ? SaveSettings(text(0)) : 0); return;
        case 2: DiscardSettings(); return;
        case 3: SetResult(buffer ? SelectSection(text(0)) : 0); return;
        case 4: SetResult(section ? SelectKey(text(0)) : 0); return;
        case 5: StoreNumber(number(0)); return;
        case 6: StoreText(number(0), number(1), ReadString(number(1))); return;
        case 7: SetResult(buffer ? AddSection(text(0)) : 0); return;
        case 8: SetResult(section ? WriteRawValue(text(0), text(1)) : 0); return;
        case 9: DeleteSection(); return;
        case 10: SetResult(section ? DeleteKey(text(0)) : 0); return;
        case 11: StoreText(number(0), number(1), NextSectionName(number(1))); return;
        case 12: ClearSettings(); return;
        case 13: SetResult(AtEndOfLine()); return;
        case 14: SetResult(section ? AppendNumber(text(0), number(1), number(2)) : 0); return;
        case 15: SetResult(section ? AppendString(text(0), text(1)) : 0); return;
        case 16: StoreText(number(0), number(1), ReadRawLine(number(1))); return;
        default: ReportUnknownCommand();
    }
}
