// The event script and the list of screens, with any text. A script that is accepted keeps to the
// ranges that the desktop relies on, and its texts survive being written and read again.

#include "desktop/headless/script.h"
#include "fuzz/require.h"

namespace moxi {

namespace {

void CheckEvent(const ScriptEvent& event) {
    for (const ViewSize& size : event.screens) {
        Require(size.width >= 1 && size.width <= 32767);
        Require(size.height >= 1 && size.height <= 32767);
    }
    if (event.kind == ScriptEventKind::KeyDown || event.kind == ScriptEventKind::KeyUp) {
        Require(event.numbers[0] >= 0 && event.numbers[0] <= 0x7F);
    }
    if (event.kind == ScriptEventKind::Resize) {
        Require(event.numbers[0] >= 1 && event.numbers[0] <= 32767);
        Require(event.numbers[1] >= 1 && event.numbers[1] <= 32767);
    }
    if (event.kind == ScriptEventKind::Screens) {
        Require(!event.screens.empty());
    }
    Require(event.text.find('\0') == std::string::npos);
    if (event.kind != ScriptEventKind::Clipboard) {
        return;
    }
    std::vector<ScriptEvent> again;
    Require(ParseScript("0 clipboard " + QuoteScriptText(event.text), again).empty());
    Require(again.size() == 1 && again[0].text == event.text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<ScriptEvent> events;
    const std::string error = ParseScript(text, events);
    if (error.empty()) {
        u64 time = 0;
        for (const ScriptEvent& event : events) {
            Require(event.milliseconds >= time);
            time = event.milliseconds;
            CheckEvent(event);
        }
    } else {
        Require(error[0] >= '1' && error[0] <= '9' && error.find(": ") != std::string::npos);
        Require(error.find('\n') == std::string::npos);
    }
    std::vector<ViewSize> sizes;
    if (ParseScreenSizes(text, sizes)) {
        Require(!sizes.empty());
    }
    return 0;
}

}  // namespace moxi
