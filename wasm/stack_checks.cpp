#include "wasm/stack_checks.h"

#include <algorithm>

#include "wasm/cursor.h"
#include "wasm/operators.h"
#include "wasm/skip_operands.h"

namespace moxi {

namespace {

// The longest chain of frames without a check. A frame has at most 32,000 bytes of its own
// (encode.cpp) and 8,000 of arguments: even twenty of them stay below 1 MiB with room for the
// report of the trap.
constexpr u8 kMostUnchecked = 16;

enum class State : u8 { Unknown, Underway, Known };

// Walks over the calls of all functions, depth first, with a stack of its own: a module's chains of
// calls may be longer than the host's stack allows.
struct CheckFinder {
    const Module& module;
    const std::vector<SmallLeaf>& leaves;
    std::vector<bool> checks{};
    std::vector<State> states{};
    // The most frames that lie on the stack before a check, from the function's own on.
    std::vector<u8> chains{};

    // A function whose body is looked at, and how far.
    struct Visit {
        u32 function = 0;
        ByteCursor cursor{};
    };
    std::vector<Visit> visits{};

    void Enter(u32 function);
    bool NextCall(Visit& visit, u32& callee);
    void Meet(u32 caller, u32 callee);
    void Leave(u32 function);
    void Walk(u32 first);
    void CheckEntries();
};

// Functions that may be called from elsewhere always look: those that the machine or another module
// may call, and those in the table.
void CheckFinder::CheckEntries() {
    for (const Export& item : module.exports) {
        if (item.kind == ExternalKind::Function) {
            checks[item.index] = true;
        }
    }
    for (const ElementSegment& segment : module.elements) {
        for (const ConstantExpression& item : segment.items) {
            if (item.kind == ConstantExpression::Kind::Function) {
                checks[item.value] = true;
            }
        }
    }
    if (module.hasStart) {
        checks[module.start] = true;
    }
}

void CheckFinder::Enter(u32 function) {
    const Function& entered = module.functions[function];
    states[function] = State::Underway;
    visits.push_back({function, {entered.body, entered.end, nullptr}});
}

// The next direct call in a function's body. False where there is none left.
bool CheckFinder::NextCall(Visit& visit, u32& callee) {
    ByteCursor& cursor = visit.cursor;
    while (!cursor.AtEnd()) {
        const u8 opcode = cursor.Byte();
        const u8* const operands = cursor.at;
        SkipOperands(cursor, opcode);
        if (static_cast<Opcode>(opcode) != Opcode::Call) {
            continue;
        }
        ByteCursor first{operands, cursor.end, nullptr};
        callee = first.Unsigned32();
        // What is built in has no frame of its own.
        if (!module.functions[callee].isImported && !leaves[callee].isOne) {
            return true;
        }
    }
    return false;
}

// What a call means for the chain of its caller.
void CheckFinder::Meet(u32 caller, u32 callee) {
    if (states[callee] == State::Underway) {
        checks[callee] = true;  // a ring of calls closes here
    }
    if (!checks[callee]) {
        chains[caller] = std::max(chains[caller], chains[callee]);
    }
}

// All calls of the function are known: its own frame is added to the longest chain.
void CheckFinder::Leave(u32 function) {
    states[function] = State::Known;
    if (++chains[function] > kMostUnchecked) {
        checks[function] = true;
    }
}

void CheckFinder::Walk(u32 first) {
    if (states[first] != State::Unknown || module.functions[first].isImported) {
        return;
    }
    Enter(first);
    while (!visits.empty()) {
        const u32 caller = visits.back().function;
        u32 callee = 0;
        if (!NextCall(visits.back(), callee)) {
            visits.pop_back();
            Leave(caller);
            if (!visits.empty()) {
                Meet(visits.back().function, caller);
            }
            continue;
        }
        if (states[callee] == State::Unknown) {
            Enter(callee);
        } else {
            Meet(caller, callee);
        }
    }
}

}  // namespace

std::vector<bool> FindStackChecks(const Module& module, const std::vector<SmallLeaf>& leaves) {
    const u64 count = module.functions.size();
    CheckFinder finder{module, leaves};
    finder.checks.assign(count, false);
    finder.states.assign(count, State::Unknown);
    finder.chains.assign(count, 0);
    finder.CheckEntries();
    for (u32 i = 0; i < count; ++i) {
        finder.Walk(i);
    }
    return std::move(finder.checks);
}

}  // namespace moxi
