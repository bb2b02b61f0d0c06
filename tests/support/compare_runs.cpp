#include "tests/support/compare_runs.h"

#include "vm/diagnostics.h"

namespace moxi {

using plain::Outcome;

namespace {

std::string LastInstructions(const RunResult& result) {
    std::string text = "  last instructions:";
    const size_t count = result.trace.size();
    for (size_t i = count < 6 ? 0 : count - 6; i < count; ++i) {
        const u32 at = result.trace[i];
        text += FormatText(" 0x%8.8X", at);
        if (u64{at} + 4 <= result.image.size()) {
            text += FormatText(":%8.8X", static_cast<u32>(PaperImage{result.image}.Get(at, 4)));
        }
    }
    return text + "\n";
}

// Which of the registers a RETURN had restored when it faulted, or how much of its frame a LINK or
// a MODAL had stored, is nobody's business.
bool MayStopHalfWay(const RunResult& result) {
    const u32 at = result.trace.empty() ? 0 : result.trace.back();
    if (result.outcome != Outcome::MemoryFault || u64{at} + 4 > result.image.size()) {
        return false;
    }
    const u64 code = PaperImage{result.image}.Get(at, 4) & 1023;
    return code == 340 || code == 596 || code == 788 || code == 148 || code == 916;
}

}  // namespace

void KeepNewest(std::vector<u32>& trace) {
    constexpr size_t kKept = 250;
    if (trace.size() > kKept) {
        trace.erase(trace.begin(), trace.end() - kKept);
    }
}

std::string CompareRuns(const RunResult& got, const RunResult& wanted) {
    std::string text;
    if (got.outcome != wanted.outcome) {
        text += FormatText("  it ended with %s, expected %s\n", plain::OutcomeName(got.outcome),
                           plain::OutcomeName(wanted.outcome));
    }
    if (got.messages != wanted.messages) {
        text += FormatText(
            "  messages: got %zu, last \"%s\", expected %zu, last \"%s\"\n", got.messages.size(),
            got.messages.empty() ? "" : got.messages.back().c_str(), wanted.messages.size(),
            wanted.messages.empty() ? "" : wanted.messages.back().c_str());
    }
    if (got.debugLog != wanted.debugLog) {
        text += "  the debug logs differ\n";
    }
    if (got.modalDepth != wanted.modalDepth) {
        text += "  the modal depths differ\n";
    }
    if (got.presentNotify != wanted.presentNotify) {
        text += "  the present-notify flags differ\n";
    }
    if (got.runState != wanted.runState) {
        text += "  the run states differ\n";
    }
    if (got.pcPreJsr != wanted.pcPreJsr) {
        text += "  PCpreJSR differs\n";
    }
    if (!MayStopHalfWay(wanted)) {
        text += Differences(got.image, wanted.image);
    }
    if (wanted.outcome != Outcome::BudgetSpent && got.trace != wanted.trace) {
        text += "  the PC traces differ\n";
    }
    if (!text.empty()) {
        text += LastInstructions(wanted);
    }
    return text;
}

}  // namespace moxi
