#include "kit/fault_names.h"

#include <filesystem>
#include <string>

#include "base/log.h"
#include "base/mac_roman.h"
#include "kit/debugger/stops.h"
#include "kit/lines.h"
#include "kit/module_memory.h"
#include "kit/symbols.h"
#include "vm/diagnostics.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

constexpr u32 kMostCallers = 8;

constinit bool symbolsLookedFor = false;

// The debugger or the profile may have read the module's symbols already.
bool HasSymbols() {
    if (SymbolCount() == 0 && !symbolsLookedFor) {
        symbolsLookedFor = true;
        std::error_code error;
        if (!std::filesystem::exists(SymbolFile(), error)) {
            return false;
        }
        for (const std::string& wrong : {LoadSymbols(SymbolFile()), LoadLinesOfGame()}) {
            if (!wrong.empty()) {
                SystemLog(wrong);
            }
        }
    }
    return SymbolCount() != 0;
}

// "shoot+8", or the address where no routine is; with its line where that is known. `in` is the
// address whose routine it is.
std::string RoutineAt(u32 address, u32 in) {
    const bool isCode = in >= kHeaderSize && in < HeaderLong(kHeaderStackLimit);
    const FunctionSymbol* const function = isCode ? FunctionSymbolAt(in) : nullptr;
    const std::string line = isCode ? LineName(in) : "";
    const std::string place = line.empty() ? "" : " (" + line + ")";
    if (function == nullptr) {
        return FormatText("0x%8.8X", address) + place;
    }
    if (address == function->address) {
        return function->name + place;
    }
    return FormatText("%s+%u", function->name.c_str(), address - function->address) + place;
}

std::string Callers() {
    std::string callers;
    Frame frame = CurrentFrame();
    u32 inner = frame.linked ? frame.at - 4 : 0;
    for (u32 count = 0; count < kMostCallers; ++count) {
        const u32 caller = Peek<u32>(frame.at).value_or(0);
        if (caller == 0) {
            break;
        }
        callers += ", called from " + RoutineAt(caller, caller - 4);
        // The stack grows downwards, so frames further out lie higher.
        const u32 fp = frame.linked ? frame.callersFP : HeaderLong(kHeaderFP);
        if (fp <= inner) {
            break;
        }
        inner = fp;
        frame = {fp + 4, Peek<u32>(fp).value_or(0), true};
    }
    return callers;
}

}  // namespace

void NameFaultInDebugLog(std::string_view message) {
    if (!inMX || !HasSymbols()) {
        return;
    }
    const std::string text = MacRomanToUtf8(message.substr(0, message.find('\n')));
    AppendDebugLog("fatal: " + text + " In " +
                   RoutineAt(HeaderLong(kHeaderPC), HeaderLong(kHeaderPC)) + Callers() + "\n");
}

}  // namespace moxi
