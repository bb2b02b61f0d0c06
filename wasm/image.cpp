#include "wasm/image.h"

#include <algorithm>
#include <cstring>

#include "base/bytes.h"
#include "tools/assembler.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u64 kPage = 65536;
constexpr u64 kMaxCode = 16u << 20;         // what branches reach
constexpr u64 kStackWindow = 16u << 20;     // the stack's room begins at a multiple of this
constexpr u64 kStackReserve = 1u << 20;     // below it: for one frame, and for reporting
constexpr u64 kHighestEnd = 0xFFFF0000;

u64 RoundUp(u64 value, u64 step) {
    return (value + step - 1) / step * step;
}

struct ImageBuilder {
    ImageParts& parts;
    const TranslateOptions& options;
    Translation& result;
    const Module& module = parts.module;
    ModulePlan& plan = parts.plan;

    u64 dataAt = 0;     // the translator's own data
    u64 runtimeAt = 0;
    u64 codeEnd = 0;
    u64 memoryAt = 0;
    u64 initialBytes = 0;
    u64 reservedBytes = 0;
    bool badData = false;
    bool badElements = false;
    AssembleResult runtime{};
    std::vector<u32> routineAddresses{};

    bool Fail(const std::string& text) {
        result.errors.push_back(text);
        return false;
    }
    u8* OwnData(u64 offset) { return result.bytes.data() + dataAt + offset; }
    u64 ValueOf(const ConstantExpression& expression) const {
        // The one global that can be imported is linear memory's address.
        return expression.kind == ConstantExpression::Kind::Global ? memoryAt : expression.value;
    }

    void CheckSegments();
    std::string RuntimeSource() const;
    std::string CallsSource() const;
    void DefineConstants(AssembleOptions& assemble) const;
    bool AssembleRuntime();
    bool PlaceMemory();
    bool LayDataSegments();
    void FillCells();
    void FillTables();
    void PutEntry(u64 cell, const ConstantExpression& item);
    void Patch();
    bool WriteHeader();
    void CollectSymbols();
    void Run();
};

// Segments that do not fit make the start trap, which is the module's business, not an error.
void ImageBuilder::CheckSegments() {
    for (const ElementSegment& segment : module.elements) {
        if (segment.mode != ElementSegment::Mode::Active) continue;
        badElements |= ValueOf(segment.offset) + segment.items.size() > plan.tableSize;
    }
    for (const DataSegment& segment : module.data) {
        if (segment.isPassive) continue;
        badData |= ValueOf(segment.offset) + segment.bytes.size() > initialBytes;
    }
}

const char* LetterOf(ValueType type) {
    switch (type) {
        case ValueType::I32: return "i";
        case ValueType::I64: return "I";
        case ValueType::F32: return "f";
        default: return "F";
    }
}

std::string Quoted(const std::string& text) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<u8>(c);
        if (byte < 32 || byte > 126 || c == '"' || c == '\\') {
            quoted += "\\x";
            quoted += kDigits[byte >> 4];
            quoted += kDigits[byte & 15];
        } else {
            quoted += c;
        }
    }
    return quoted + "\"";
}

// What wasm_calls needs: a routine for each exported function, and the list of them.
std::string ImageBuilder::CallsSource() const {
    std::string list = "        .align 4\nwasm_exports:\n";
    std::string rest;
    u32 number = 0;
    u64 cells = 1;
    for (const Export& item : module.exports) {
        if (item.kind != ExternalKind::Function) continue;
        if (item.name.find('\0') != std::string::npos) continue;
        const FunctionType& type = module.types[module.functions[item.index].type];
        const std::string n = std::to_string(number++);
        const u64 count = type.parameters.size();
        cells = std::max<u64>({cells, count, type.results.size()});
        list += "        .long wasm_name_" + n + ", wasm_call_" + n + ", wasm_in_" + n + ", wasm_out_" +
                n + "\n";
        rest += "wasm_call_" + n + ":\n        LINK 0, 0\n";
        for (u64 i = count; i > kArgumentRegisters; --i) {
            rest += "        PUSH.Q [wasm_arguments+" + std::to_string(8 * (i - 1)) + "]\n";
        }
        for (u64 i = 0; i < count && i < kArgumentRegisters; ++i) {
            rest += "        MOVE.Q R" + std::to_string(i) + ", [wasm_arguments+" +
                    std::to_string(8 * i) + "]\n";
        }
        const u64 pushed = count > kArgumentRegisters ? 8 * (count - kArgumentRegisters) : 0;
        rest += "        CALL " + std::to_string(parts.functions[item.index]) + ", " +
                std::to_string(pushed) + "\n";
        for (u64 i = 0; i < type.results.size(); ++i) {
            const std::string from =
                i == 0 ? "R0" : "[DATA+" + std::to_string(kResultCells + 8 * (i - 1)) + "]";
            rest += "        MOVE.Q [wasm_arguments+" + std::to_string(8 * i) + "], " + from + "\n";
        }
        rest += "        RETURN 0\nwasm_name_" + n + ": .asciz " + Quoted(item.name) + "\n";
        const auto letters = [](const std::vector<ValueType>& types) {
            std::string text;
            for (const ValueType each : types) text += LetterOf(each);
            return "\"" + text + "\"";
        };
        rest += "wasm_in_" + n + ": .asciz " + letters(type.parameters) + "\n";
        rest += "wasm_out_" + n + ": .asciz " + letters(type.results) + "\n";
    }
    return list + "        .long 0\n" + rest + "        .align 8\nwasm_arguments: .space " +
           std::to_string(8 * cells) + "\n";
}

std::string ImageBuilder::RuntimeSource() const {
    std::string source = "        .include \"moxi/wasm_runtime.inc\"\n";
    if (parts.entry == EntryKind::Calls) source += CallsSource();
    source += "        .include \"moxi/wasm_math.inc\"\n";
    return source;
}

void ImageBuilder::DefineConstants(AssembleOptions& assemble) const {
    const auto define = [&](const std::string& name, u64 value) {
        assemble.definitions.emplace_back(name, static_cast<i64>(value));
    };
    const auto defineFunction = [&](const char* name, u32 function) {
        define(name, parts.functions[function]);
    };
    define("DATA", dataAt);
    define("MAX_PAGES", reservedBytes / kPage);
    u64 stackPointer = dataAt + kBlockCell;
    for (u32 i = 0; i < module.globals.size(); ++i) {
        const Global& global = module.globals[i];
        const bool isNamed = i < module.globalNames.size() && module.globalNames[i] == "__stack_pointer";
        const bool isFirst = i == 0 && global.isMutable && global.type == ValueType::I32;
        if (isNamed || isFirst) stackPointer = dataAt + plan.globalCells[i];
        if (isNamed) break;
    }
    define("STACK_POINTER", stackPointer);
    switch (parts.entry) {
        case EntryKind::Messages:
            define("ENTRY_MESSAGES", 1);
            defineFunction("F_MAIN", FindExport(module, "moxi_message", ExternalKind::Function)->index);
            break;
        case EntryKind::Program:
            define("ENTRY_PROGRAM", 1);
            defineFunction("F_MAIN", FindExport(module, "_start", ExternalKind::Function)->index);
            break;
        case EntryKind::Calls: define("ENTRY_CALLS", 1); break;
    }
    if (module.hasStart) defineFunction("F_START", module.start);
    const Export* const initialize = FindExport(module, "_initialize", ExternalKind::Function);
    if (initialize != nullptr && parts.entry != EntryKind::Program) {
        defineFunction("F_INITIALIZE", initialize->index);
    }
    if (badElements) {
        define("BAD_ELEMENTS", 1);
    } else if (badData) {
        define("BAD_DATA", 1);
    }
    for (const std::string& routine : plan.routines) define("NEED_" + routine, 1);
}

bool ImageBuilder::AssembleRuntime() {
    AssembleOptions assemble;
    assemble.includeFolders = {options.libraryFolder};
    DefineConstants(assemble);
    const std::string source =
        "        .space " + std::to_string(runtimeAt - kHeaderSize) + "\n" + RuntimeSource();
    runtime = Assemble(source, "runtime", assemble);
    if (!runtime.ok) return Fail("the runtime cannot be assembled: " + FormatErrors(runtime));
    for (const std::string& routine : plan.routines) {
        const u32 address = SymbolValue(runtime, routine);
        if (address == 0xFFFFFFFF) return Fail("the runtime lacks " + routine);
        routineAddresses.push_back(address);
    }
    return true;
}

bool ImageBuilder::PlaceMemory() {
    u64 end = runtime.bytes.size();
    u64 passive = 0;
    for (const DataSegment& segment : module.data) {
        if (segment.isPassive) passive += segment.bytes.size();
    }
    codeEnd = RoundUp(end + passive, 64);
    memoryAt = options.identity || !module.hasMemory ? 0 : codeEnd;
    result.codeEnd = static_cast<u32>(codeEnd);
    result.memoryAddress = static_cast<u32>(memoryAt);
    if (memoryAt + std::max(reservedBytes, codeEnd) + kStackWindow + options.stack + options.heap > kHighestEnd) {
        return Fail("the memory does not fit beside code, stack and heap into 4 GiB");
    }
    return true;
}

// Active segments lie in the file, as far as they fit.
bool ImageBuilder::LayDataSegments() {
    u64 lowest = ~u64{0};
    u64 highest = std::max<u64>(codeEnd, kHeaderSize);
    for (const DataSegment& segment : module.data) {
        if (segment.isPassive || segment.bytes.empty()) continue;
        const u64 offset = ValueOf(segment.offset);
        if (offset + segment.bytes.size() > initialBytes) break;
        u64 used = segment.bytes.size();
        while (used > 0 && segment.bytes[used - 1] == 0) --used;
        lowest = std::min(lowest, offset);
        highest = std::max(highest, memoryAt + offset + used);
    }
    if (options.identity && lowest < codeEnd) {
        return Fail("data begins at " + std::to_string(lowest) + ", the code ends at " +
                    std::to_string(codeEnd) + ": link with --global-base=" + std::to_string(codeEnd) +
                    " or more");
    }
    result.bytes = runtime.bytes;
    result.bytes.resize(highest);
    for (const DataSegment& segment : module.data) {
        if (segment.isPassive || segment.bytes.empty()) continue;
        const u64 offset = ValueOf(segment.offset);
        if (offset + segment.bytes.size() > initialBytes) break;
        const u64 at = memoryAt + offset;
        if (at >= highest) continue;
        std::memcpy(result.bytes.data() + at, segment.bytes.data(),
                    std::min<u64>(segment.bytes.size(), highest - at));
        // A segment of zeros still replaces what an earlier one put there.
    }
    return true;
}

void ImageBuilder::FillCells() {
    std::memcpy(result.bytes.data() + kHeaderSize, parts.code.bytes.data(), parts.code.bytes.size());
    std::memcpy(OwnData(0), plan.ownData.data(), plan.ownData.size());
    StoreBytes(OwnData(kPagesCell), static_cast<u32>(initialBytes / kPage));
    StoreBytes(OwnData(kBaseCell), static_cast<u32>(memoryAt));
    StoreBytes(OwnData(kLimitCell), initialBytes);
    for (u32 i = 0; i < module.globals.size(); ++i) {
        StoreBytes(OwnData(plan.globalCells[i]), ValueOf(module.globals[i].initial));
    }
    u64 at = runtime.bytes.size();
    for (u32 i = 0; i < module.data.size(); ++i) {
        const DataSegment& segment = module.data[i];
        if (!segment.isPassive) continue;
        StoreBytes(OwnData(plan.dataCells + 8 * i), static_cast<u32>(at));
        StoreBytes(OwnData(plan.dataCells + 8 * i + 4), static_cast<u32>(segment.bytes.size()));
        if (!segment.bytes.empty()) {
            std::memcpy(result.bytes.data() + at, segment.bytes.data(), segment.bytes.size());
        }
        at += segment.bytes.size();
    }
}

void ImageBuilder::PutEntry(u64 cell, const ConstantExpression& item) {
    if (item.kind != ConstantExpression::Kind::Function) {
        StoreBytes(OwnData(cell), u64{0});
        return;
    }
    const u32 function = static_cast<u32>(item.value);
    StoreBytes(OwnData(cell), parts.functions[function]);
    StoreBytes(OwnData(cell + 4), plan.typeNumbers[module.functions[function].type]);
}

void ImageBuilder::FillTables() {
    bool fits = true;
    for (u32 i = 0; i < module.elements.size(); ++i) {
        const ElementSegment& segment = module.elements[i];
        u64 cell = plan.elementItems[i];
        if (segment.mode == ElementSegment::Mode::Active) {
            const u64 offset = ValueOf(segment.offset);
            fits = fits && offset + segment.items.size() <= plan.tableSize;
            if (!fits) continue;
            cell = plan.tableCell + 8 * offset;
        }
        if (segment.mode == ElementSegment::Mode::Passive) {
            StoreBytes(OwnData(plan.elementCells + 8 * i), static_cast<u32>(dataAt + cell));
            StoreBytes(OwnData(plan.elementCells + 8 * i + 4), static_cast<u32>(segment.items.size()));
        }
        if (segment.mode == ElementSegment::Mode::Declared) continue;
        for (u64 k = 0; k < segment.items.size(); ++k) PutEntry(cell + 8 * k, segment.items[k]);
    }
}

// Gives every word that waited for an address its value.
void ImageBuilder::Patch() {
    for (const Fixup& fixup : parts.code.fixups) {
        u8* const at = result.bytes.data() + kHeaderSize + fixup.offset;
        u32 value = LoadBytes<u32>(at);
        switch (fixup.kind) {
            case Fixup::Kind::Memory: value += static_cast<u32>(memoryAt); break;
            case Fixup::Kind::Data: value += static_cast<u32>(dataAt); break;
            case Fixup::Kind::Function: value = parts.functions[fixup.target]; break;
            case Fixup::Kind::Routine: value = routineAddresses[fixup.target]; break;
        }
        StoreBytes(at, value);
    }
    // The first instruction goes to the entry.
    StoreBytes(result.bytes.data() + kHeaderSize,
               static_cast<u32>(Single::Jmp) | SymbolValue(runtime, "wasm_entry") >> 2 << 10);
}

bool ImageBuilder::WriteHeader() {
    const u64 loaded = result.bytes.size();
    const u64 memoryEnd = std::max<u64>(memoryAt + reservedBytes, loaded);
    const u64 stackFloor = RoundUp(memoryEnd + kStackReserve, kStackWindow);
    const u64 stackTop = stackFloor + options.stack;
    const u64 limit = stackFloor - kStackReserve;
    u8* const header = result.bytes.data();
    std::memset(header, 0, kHeaderSize);
    std::memcpy(header + kHeaderMagic, "MOXI6", 5);
    header[kHeaderModuleMajor] = 6;
    header[kHeaderModuleMinor] = 2;
    StoreBytes(header + kHeaderLoadedLength, static_cast<u32>(loaded));
    StoreBytes(header + kHeaderGlobalsSize, static_cast<u32>(limit - loaded));
    StoreBytes(header + kHeaderStackSize, static_cast<u32>(stackTop - limit));
    StoreBytes(header + kHeaderHeapSize, options.heap);
    return stackTop + options.heap <= kHighestEnd ||
           Fail("the memory does not fit beside code, stack and heap into 4 GiB");
}

void ImageBuilder::CollectSymbols() {
    for (u32 i = 0; i < parts.functions.size(); ++i) {
        if (parts.functions[i] == 0) continue;
        std::string name = module.functions[i].name;
        if (name.empty()) name = "function_" + std::to_string(i);
        result.symbols.push_back({parts.functions[i], true, std::move(name)});
    }
    for (const AssembleSymbol& symbol : runtime.symbols) {
        if (symbol.kind != SymbolKind::Code) continue;
        result.symbols.push_back({static_cast<u32>(symbol.value), true, symbol.name});
    }
    if (module.hasMemory) {
        result.symbols.push_back({static_cast<u32>(memoryAt), false, "wasm_memory"});
    }
    std::stable_sort(result.symbols.begin(), result.symbols.end(),
                     [](const TranslatedSymbol& a, const TranslatedSymbol& b) {
                         return a.address < b.address;
                     });
    for (const OriginMark& mark : parts.code.origins) {
        result.lines.push_back({parts.code.base + mark.offset, mark.origin});
    }
}

void ImageBuilder::Run() {
    initialBytes = module.hasMemory ? module.memory.minimum * kPage : 0;
    reservedBytes = initialBytes;
    if (plan.canGrow) reservedBytes = std::max(reservedBytes, options.memory / kPage * kPage);
    if (module.memory.hasMaximum) {
        reservedBytes = std::min<u64>(reservedBytes, module.memory.maximum * kPage);
    }
    dataAt = RoundUp(kHeaderSize + parts.code.bytes.size(), 8);
    runtimeAt = RoundUp(dataAt + plan.ownData.size(), 8);
    if (runtimeAt > kMaxCode - kPage) {
        Fail("the code is larger than the 16 MB that the machine's branches reach");
        return;
    }
    CheckSegments();
    if (!AssembleRuntime() || !PlaceMemory() || !LayDataSegments()) return;
    FillCells();
    FillTables();
    Patch();
    if (!WriteHeader()) return;
    CollectSymbols();
    result.codeBytes = static_cast<u32>(parts.code.bytes.size());
    result.ok = true;
}

}  // namespace

void BuildImage(ImageParts& parts, const TranslateOptions& options, Translation& result) {
    ImageBuilder{parts, options, result}.Run();
}

}  // namespace moxi
