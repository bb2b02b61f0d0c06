#include "wasm/debug_values.h"

#include <algorithm>

namespace moxi {

namespace {

struct Finder {
    const DebugFunction& function;
    const FunctionCode& code;
    const Allocation& allocation;
    const MachineCode& out;
    u32 address;
    u64& steps;

    u32 AddressOf(u64 instruction) const { return out.base + out.places[instruction]; }
    u32 End() const { return out.base + out.places.back(); }
    bool Resolve(const DebugPlace& place, const std::string& kind, TranslatedPlace& result) const;
    void AddRuns(const DebugPlace& place, const TranslatedPlace& found,
                 std::vector<TranslatedPlace>& places) const;
    void SetBlock(const DebugVariable& variable, TranslatedVariable& result) const;
    TranslatedVariable Find(const DebugVariable& variable);
};

// A register or a place in the frame in the words of TranslatedPlace::text.
std::string TextOf(const Location& location) {
    return location.inRegister ? "R" + std::to_string(location.number)
                               : "FP-" + std::to_string(8 * (location.number + 1));
}

// Where a place of the module is at run time. False where it cannot be told.
bool Finder::Resolve(const DebugPlace& place, const std::string& kind,
                     TranslatedPlace& result) const {
    switch (place.kind) {
        case DebugPlace::Kind::Frame:
            if (code.frameBase == 0) {
                return false;
            }
            result.text = TextOf(allocation.locations[code.frameBase]);
            result.isMemory = true;
            result.offset = place.value;
            return true;
        case DebugPlace::Kind::Memory:
            result.text = "0";
            result.isMemory = true;
            result.offset = place.value;
            return true;
        case DebugPlace::Kind::Local:
            if (static_cast<u64>(place.value) >= code.watched.size() || kind == "block") {
                return false;
            }
            result.text = TextOf(allocation.locations[code.watched[static_cast<u64>(place.value)]]);
            return true;
        case DebugPlace::Kind::Number:
            result.text = "#" + std::to_string(place.value);
            return kind != "block";
    }
    return false;
}

// Adds a place for each run of instructions that come from code for which the place holds. A
// local's are only those at which its value is still read: afterwards another variable may have its
// register.
void Finder::AddRuns(const DebugPlace& place, const TranslatedPlace& found,
                     std::vector<TranslatedPlace>& places) const {
    const bool isLocal = place.kind == DebugPlace::Kind::Local;
    static const std::vector<Range> kNone;
    const std::vector<Range>& ranges =
        isLocal ? allocation.watched[static_cast<u64>(place.value)] : kNone;
    auto range = ranges.begin();
    bool isOpen = false;
    for (u32 i = 0; i < code.instructions.size(); ++i) {
        const u32 from = AddressOf(i);
        const u32 to = AddressOf(i + 1);
        if (from == to) {
            continue;
        }
        const u32 origin = code.instructions[i].origin;
        bool holds = origin >= place.from && origin < place.to;
        if (isLocal) {
            while (range != ranges.end() && range->to <= 2 * i) {
                ++range;
            }
            holds = holds && range != ranges.end() && range->from <= 2 * i;
        }
        if (holds && isOpen) {
            places.back().to = to;
        } else if (holds) {
            places.push_back(found);
            places.back().from = from;
            places.back().to = to;
        }
        isOpen = holds;
    }
}

// Sets the addresses where the variable is known: those of the whole function, or from the first to
// the last instruction of its block.
void Finder::SetBlock(const DebugVariable& variable, TranslatedVariable& result) const {
    result.from = address;
    result.to = End();
    if (variable.from == 0) {
        return;
    }
    result.from = End();
    result.to = address;
    for (u64 i = 0; i < code.instructions.size(); ++i) {
        const u32 origin = code.instructions[i].origin;
        if (origin < variable.from || origin >= variable.to || code.instructions[i].isLate) {
            continue;
        }
        result.from = std::min(result.from, AddressOf(i));
        result.to = std::max(result.to, AddressOf(i + 1));
    }
}

TranslatedVariable Finder::Find(const DebugVariable& variable) {
    TranslatedVariable result;
    result.function = address;
    result.isArgument = variable.isArgument;
    result.kind = variable.kind;
    result.name = variable.name;
    SetBlock(variable, result);
    for (const DebugPlace& place : variable.places) {
        TranslatedPlace found{address, End(), "", false, 0};
        if (!Resolve(place, variable.kind, found)) {
            continue;
        }
        const bool isEverywhere = place.from == 0 && place.kind != DebugPlace::Kind::Local;
        if (isEverywhere) {
            result.places.push_back(found);
            continue;
        }
        if (steps < code.instructions.size()) {
            break;
        }
        steps -= code.instructions.size();
        AddRuns(place, found, result.places);
    }
    return result;
}

}  // namespace

std::vector<TranslatedVariable> FindVariables(const DebugFunction& function,
                                              const FunctionCode& code,
                                              const Allocation& allocation, const MachineCode& out,
                                              u32 address, u64& steps) {
    Finder finder{function, code, allocation, out, address, steps};
    std::vector<TranslatedVariable> result;
    for (const DebugVariable& variable : function.variables) {
        if (steps < code.instructions.size()) {
            break;
        }
        steps -= code.instructions.size();
        result.push_back(finder.Find(variable));
    }
    return result;
}

}  // namespace moxi
