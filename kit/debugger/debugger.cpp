#include "kit/debugger/debugger.h"

#include <filesystem>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/mac_roman.h"
#include "desktop/folders.h"
#include "kit/debugger/commands.h"
#include "kit/debugger/inspect.h"
#include "kit/debugger/stops.h"
#include "kit/debugger/terminal.h"
#include "kit/lines.h"
#include "kit/symbols.h"
#include "sys/files.h"
#include "vm/diagnostics.h"
#include "vm/interpreter.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

constinit bool started = false;   // the debugger, by the command line
constinit bool greeted = false;   // the first stop has been made
constinit bool talking = false;   // stopped
constinit bool quitting = false;  // no more commands: the run ends where it can

std::string ReadSymbolsOfModule() {
    const std::string path = SymbolFile();
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        return "there is no MAIN.SYM beside the module";
    }
    const std::string wrong = LoadSymbols(path);
    return wrong.empty() ? FormatText("%zu symbols from MAIN.SYM", SymbolCount()) : wrong;
}

// Commands until the module is to run on.
void Talk() {
    talking = true;
    stopRequest = true;
    RunFreely();
    After after = After::Stay;
    while (after == After::Stay) {
        const std::optional<std::string> line = ReadCommand();
        after = line ? ExecuteCommand(*line) : After::Quit;
    }
    quitting = after == After::Quit;
    stopRequest = false;
    talking = false;
}

void Greet() {
    greeted = true;
    Say("The module stands before its first instruction; help lists the commands.");
    Say(ReadSymbolsOfModule());
    const std::string wrong = LoadLinesOfGame();
    if (!wrong.empty()) {
        Say(wrong);
    }
    if (LineCount() != 0) {
        Say(FormatText("%zu places of source lines from MAIN.LIN", LineCount()));
    }
}

void OnInstruction() {
    if (quitting) {
        EndProcess(0);
    }
    std::vector<std::string> reasons;
    const bool interrupted = stopRequest;
    if (interrupted) {
        reasons.emplace_back("interrupted");
    }
    if (IsStop(reasons) || !greeted) {
        if (!greeted) {
            Greet();
        }
        for (const std::string& reason : reasons) {
            Say(reason);
        }
        ShowLocation();
        Talk();
        if (quitting) {
            EndProcess(0);
        }
    }
    NoteInstruction();
}

constexpr DebugHooks kHooks = {NoteMessageBegin, OnInstruction, NoteMessageEnd};

}  // namespace

void StartDebugger() {
    started = true;
    debugHooks = &kHooks;
}

void StopBeforeFatalMessage(std::string_view text) {
    // Outside of a message the host itself reports something, and there is no instruction to stop
    // at.
    if (!started || !inMX || talking || quitting) {
        return;
    }
    Say("fatal: " + MacRomanToUtf8(text));
    ShowLocation();
    Talk();
}

void CloseDebugger(int status) {
    if (started) {
        Say(FormatText("the run ends with status %d", status));
    }
}

}  // namespace moxi
