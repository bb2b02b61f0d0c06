// The end of an assembly: the sections get their places, what waited gets its value, and the
// header is made.

#include <algorithm>
#include <numeric>

#include "base/bytes.h"
#include "tools/asm/assembly.h"
#include "vm/machine.h"

namespace moxi {

namespace mxasm {

namespace {

u64 RoundUp(u64 value, u64 step) {
    return (value + step - 1) / step * step;
}

// Data and globals start at a multiple of 8, or of what their .align lines ask for. A section
// without contents takes no room at all.
void PlaceSections(Assembly& assembly) {
    const SectionState& code = assembly.sections[0];
    const SectionState& data = assembly.sections[1];
    const SectionState& bss = assembly.sections[2];
    u64 end = kHeaderSize + code.size;
    u64 dataBase = end;
    if (data.size > 0) {
        dataBase = RoundUp(end, std::lcm(data.alignment, u64{8}));
        end = dataBase + data.size;
    }
    u64 bssBase = end;
    if (bss.size > 0) {
        bssBase = RoundUp(end, std::lcm(bss.alignment, u64{8}));
    }
    assembly.table.sectionBase[1] = static_cast<i64>(dataBase);
    assembly.table.sectionBase[2] = static_cast<i64>(bssBase);
}

void CheckResult(Assembly& assembly, u64 sequence, const Expression& expression, const Value& value,
                 const std::string& wrong) {
    if (value.state != ValueState::Known) {
        Value shown = value;
        if (shown.position.line == 0) {
            shown.position = expression.position;
        }
        ReportValue(assembly.sources, assembly.table, sequence, shown);
    } else if (!wrong.empty()) {
        ReportAt(assembly.sources, sequence, expression.position, wrong);
    }
}

void ResolveFixups(Assembly& assembly) {
    for (const Fixup& fixup : assembly.fixups) {
        const Value value = Evaluate(assembly.table, fixup.expression);
        std::string wrong;
        if (value.state == ValueState::Known) {
            SectionState& section = assembly.sections[static_cast<u32>(fixup.section)];
            wrong = PutValue(fixup.slot, value, section.bytes.data() + fixup.offset);
        }
        CheckResult(assembly, fixup.sequence, fixup.expression, value, wrong);
    }
}

// Constants that nothing uses must make sense too.
void CheckConstants(Assembly& assembly) {
    for (u32 i = 0; i < assembly.table.symbols.size(); ++i) {
        if (assembly.table.symbols[i].state != SymbolState::Constant) {
            continue;
        }
        const Value value = EvaluateSymbol(assembly.table, i);
        const Symbol& symbol = assembly.table.symbols[i];
        if (value.state == ValueState::Known) {
            continue;
        }
        Value shown = value;
        if (shown.position.line == 0) {
            shown.position = symbol.position;
        }
        ReportValue(assembly.sources, assembly.table, assembly.sources.sequence, shown);
    }
}

void CheckAssertions(Assembly& assembly) {
    for (const Assertion& assertion : assembly.assertions) {
        const Value value = Evaluate(assembly.table, assertion.expression);
        const bool holds = value.isFloat ? value.real != 0 : value.integer != 0;
        CheckResult(assembly, assertion.sequence, assertion.expression, value,
                    holds ? std::string() : assertion.text);
    }
}

u32 HeaderValue(Assembly& assembly, const HeaderNumber& number, i64 high, const char* what) {
    if (!number.given) {
        return static_cast<u32>(number.fallback);
    }
    const Value value = Evaluate(assembly.table, number.expression);
    std::string wrong;
    if (value.isFloat || value.integer < 0 || value.integer > high) {
        wrong = std::string(what) + " is a whole number from 0 to " + std::to_string(high);
    }
    CheckResult(assembly, number.sequence, number.expression, value, wrong);
    return static_cast<u32>(value.integer);
}

void PatchHeader(Assembly& assembly, std::vector<u8>& file) {
    for (const HeaderPatch& patch : assembly.headerPatches) {
        file[patch.offset] = patch.fixed;
        if (!patch.waits) {
            continue;
        }
        const Value value = Evaluate(assembly.table, patch.expression);
        std::string wrong;
        if (value.state == ValueState::Known) {
            wrong = PutValue(Slot::Byte, value, file.data() + patch.offset);
        }
        CheckResult(assembly, patch.sequence, patch.expression, value, wrong);
    }
}

SourcePosition EndOfSource(const Assembly& assembly) {
    return {0, std::max(LineCount(assembly.sources.files[0]), 1u), 1, 0};
}

void MakeFile(Assembly& assembly, std::vector<u8>& file) {
    const SectionState& code = assembly.sections[0];
    const SectionState& data = assembly.sections[1];
    const SectionState& bss = assembly.sections[2];
    const auto dataBase = static_cast<u64>(assembly.table.sectionBase[1]);
    const auto bssBase = static_cast<u64>(assembly.table.sectionBase[2]);
    const u32 stackSize = HeaderValue(assembly, assembly.stackSize, 0xFFFFFFFF, "a stack size");
    const u32 heapBytes = HeaderValue(assembly, assembly.heapSize, 0xFFFFFFFF, "a heap size");
    const u32 major = HeaderValue(assembly, assembly.versionMajor, 255, "a version number");
    const u32 minor = HeaderValue(assembly, assembly.versionMinor, 255, "a version number");
    if (bssBase + bss.size + stackSize + heapBytes > 0xFFFFFFFF) {
        ReportAt(assembly.sources, assembly.sources.sequence, EndOfSource(assembly),
                 "the file, the globals, the stack and the heap together reach beyond 4 GB");
    }
    file.resize(bssBase);
    std::copy(code.bytes.begin(), code.bytes.end(), file.begin() + kHeaderSize);
    std::copy(data.bytes.begin(), data.bytes.end(),
              file.begin() + static_cast<std::ptrdiff_t>(dataBase));
    StoreBytes(&file[kHeaderMagic], u32{0x49584F4D});  // "MOXI"
    StoreBytes(&file[kHeaderGeneration], u16{0x36});   // "6" and a zero byte
    file[kHeaderModuleMajor] = static_cast<u8>(major);
    file[kHeaderModuleMinor] = static_cast<u8>(minor);
    StoreBytes(&file[kHeaderLoadedLength], static_cast<u32>(bssBase));
    StoreBytes(&file[kHeaderGlobalsSize], static_cast<u32>(bss.size));
    StoreBytes(&file[kHeaderStackSize], stackSize);
    StoreBytes(&file[kHeaderHeapSize], heapBytes);
    PatchHeader(assembly, file);
}

void CollectSymbols(Assembly& assembly, std::vector<AssembleSymbol>& symbols) {
    for (u32 i = 0; i < assembly.table.symbols.size(); ++i) {
        const SymbolState state = assembly.table.symbols[i].state;
        const bool predefined = assembly.table.symbols[i].position.line == 0;
        if (predefined || (state != SymbolState::Label && state != SymbolState::Constant)) {
            continue;
        }
        const Value value = EvaluateSymbol(assembly.table, i);
        if (value.state != ValueState::Known || value.isFloat) {
            continue;
        }
        const Symbol& symbol = assembly.table.symbols[i];
        AssembleSymbol out;
        out.name = symbol.name;
        out.value = value.integer;
        if (state == SymbolState::Label) {
            out.kind = static_cast<SymbolKind>(symbol.section);
        }
        symbols.push_back(out);
    }
    std::sort(symbols.begin(), symbols.end(), [](const AssembleSymbol& a, const AssembleSymbol& b) {
        if (a.value != b.value) {
            return a.value < b.value;
        }
        return a.name < b.name;
    });
}

}  // namespace

void Finish(Assembly& assembly, AssembleResult& result) {
    SettleFloatingLabels(assembly);
    ++assembly.sources.sequence;
    PlaceSections(assembly);
    assembly.table.final = true;
    ++assembly.table.epoch;
    std::vector<u8> file;
    if (!assembly.sources.stopped) {
        ResolveFixups(assembly);
        CheckConstants(assembly);
        CheckAssertions(assembly);
        CheckInvocations(assembly);
        MakeFile(assembly, file);
    }
    result.errors = CollectErrors(assembly.sources);
    result.filesRead = assembly.filesRead;
    result.ok = result.errors.empty();
    if (!result.ok) {
        return;
    }
    CollectSymbols(assembly, result.symbols);
    result.bytes = std::move(file);
    if (assembly.options.wantListing) {
        result.listing = FormatListing(assembly, result.bytes, result);
    }
}

}  // namespace mxasm

}  // namespace moxi
