#include "wasm/image.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>

#include "base/bytes.h"
#include "vm/machine.h"
#include "wasm/assembly_text.h"
#include "wasm/image_builder.h"

namespace moxi {

namespace {

constexpr u64 kPage = 65536;
constexpr u64 kMaxCode = 16u << 20;      // what branches reach
constexpr u64 kStackWindow = 16u << 20;  // the stack's room begins at a multiple of this
constexpr u64 kStackReserve = 1u << 20;  // below it: for one frame, and for reporting
constexpr u64 kHighestEnd = 0xFFFF0000;  // the last 64 KiB of the addresses stay free
constexpr u64 kOwnDataRoom = 16384;      // before a runtime whose place is given
constexpr u64 kMemoryAlignment = 64;
constexpr const char* kNoRoom = "the memory does not fit beside code, stack and heap into 4 GiB";

// What a cartridge finds at the beginning of its memory: a word that is not used, four colours of
// the palette, draw colours, four gamepads, and a mouse that is nowhere yet.
constexpr u8 kConsoleMemory[] = {
    0,    0,    0,    0,     //
    0xCF, 0xF8, 0xE0, 0,     // $00E0F8CF
    0x6C, 0xC0, 0x86, 0,     // $0086C06C
    0x50, 0x68, 0x30, 0,     // $00306850
    0x21, 0x18, 0x07, 0,     // $00071821
    0x03, 0x12,              // draw colours
    0,    0,    0,    0,     // gamepads
    0xFF, 0x7F, 0xFF, 0x7F,  // mouse
};
constexpr u64 kConsoleBytes = sizeof kConsoleMemory;

u64 RoundUp(u64 value, u64 step) {
    return (value + step - 1) / step * step;
}

// Assembles the runtime; `assembled.ok` tells whether that succeeded.
std::shared_ptr<const AssembledRuntime> AssembleAnew(const std::string& source,
                                                     const AssembleOptions& options) {
    auto made = std::make_shared<AssembledRuntime>();
    made->assembled = Assemble(source, "runtime", options);
    for (const AssembleSymbol& symbol : made->assembled.symbols) {
        made->values.emplace(symbol.name, static_cast<u32>(symbol.value));
    }
    return made;
}

// The same, but a runtime that was assembled once is kept, and returned when source, folders and
// definitions, its address among them, are the same again. It is not made for several threads.
std::shared_ptr<const AssembledRuntime> AssembleOnce(const std::string& source,
                                                     const AssembleOptions& options) {
    static std::map<std::string, std::shared_ptr<const AssembledRuntime>> known;
    constexpr size_t kMostKnown = 200;
    std::string key = source;
    for (const std::string& folder : options.includeFolders) {
        key += folder + "\n";
    }
    for (const auto& [name, value] : options.definitions) {
        key += name + "=" + std::to_string(value) + "\n";
    }
    const auto found = known.find(key);
    if (found != known.end()) {
        return found->second;
    }
    if (known.size() == kMostKnown) {
        known.clear();
    }
    return known[key] = AssembleAnew(source, options);
}

// A type in the strings that wasm_calls of the runtime reads.
const char* LetterOf(ValueType type) {
    switch (type) {
        case ValueType::I32: return "i";
        case ValueType::I64: return "I";
        case ValueType::F32: return "f";
        default: return "F";
    }
}

// The cell where C keeps its stack pointer, which setjmp and longjmp save: that of the global with
// that name, else of the first global if its type fits. A module without one gets a cell that it
// does not mind losing.
u32 StackPointerCell(const ModulePlan& plan) {
    const Module& module = *plan.module;
    for (u64 i = 0; i < module.globalNames.size(); ++i) {
        if (module.globalNames[i] == "__stack_pointer") {
            return plan.globalCells[i];
        }
    }
    const bool isFirst = !module.globals.empty() && module.globals[0].isMutable &&
                         module.globals[0].type == ValueType::I32;
    return isFirst ? plan.globalCells[0] : kBlockCell;
}

}  // namespace

// How large the memory is at first, and how much of the image is kept for it to grow into.
void ImageBuilder::SizeMemory(const ModulePlan& plan) {
    const Module& module = *plan.module;
    Layout& layout = layouts[plan.number];
    layout.initialBytes = module.hasMemory ? module.memory.minimum * kPage : 0;
    layout.reservedBytes = layout.initialBytes;
    if (!plan.canGrow) {
        return;
    }
    layout.reservedBytes = std::max(layout.reservedBytes, options.memory / kPage * kPage);
    if (module.memory.hasMaximum) {
        layout.reservedBytes = std::min<u64>(layout.reservedBytes, module.memory.maximum * kPage);
    }
}

// Looks for active segments that do not fit into their memory or table. They make the program trap
// when it starts, as the module says; that is no error of the translation.
void ImageBuilder::CheckSegments(const ModulePlan& plan) {
    for (const ElementSegment& segment : plan.module->elements) {
        if (segment.mode != ElementSegment::Mode::Active) {
            continue;
        }
        badElements |= ValueOf(plan, segment.offset) + segment.items.size() > plan.tableSize;
    }
    for (const DataSegment& segment : plan.module->data) {
        if (segment.isPassive) {
            continue;
        }
        badData |= ValueOf(plan, segment.offset) + segment.bytes.size() >
                   layouts[plan.number].initialBytes;
    }
}

// Appends to the runtime what its wasm_calls needs: room for arguments and results, the list of the
// exported functions, their names and types. Offsets in runtimeBytes are addresses in the image.
void ImageBuilder::AppendCalls() {
    const Module& module = FirstModule();
    std::vector<const Export*> exports;
    u64 cells = kArgumentRegisters;
    for (const Export& item : module.exports) {
        // The runtime's strings end at a NUL.
        if (item.kind != ExternalKind::Function || item.name.find('\0') != std::string::npos) {
            continue;
        }
        const FunctionType& type = module.types[module.functions[item.index].type];
        cells = std::max<u64>({cells, type.parameters.size(), type.results.size()});
        exports.push_back(&item);
    }
    std::vector<u8>& bytes = runtimeBytes;
    const u64 argumentsAt = RoundUp(bytes.size(), 8);
    u64 at = argumentsAt + 8 * cells;
    const auto fill = [&](const char* name, u64 value) {
        StoreBytes(bytes.data() + runtime->ValueOf(name), static_cast<u32>(value));
    };
    fill("wasm_start", module.hasStart ? parts.functions[module.start] : 0);
    fill("wasm_exports", at);
    fill("wasm_arguments", argumentsAt);
    fill("wasm_results", layouts[0].dataAt + kResultCells);
    bytes.resize(at + 16 * exports.size() + 4);
    const auto word = [&](u64 value) {
        StoreBytes(bytes.data() + at, static_cast<u32>(value));
        at += 4;
    };
    const auto text = [&](const std::string& characters) {
        word(bytes.size());
        bytes.insert(bytes.end(), characters.begin(), characters.end());
        bytes.push_back(0);
    };
    const auto letters = [&](const std::vector<ValueType>& types) {
        std::string all;
        for (const ValueType each : types) {
            all += LetterOf(each);
        }
        text(all);
    };
    for (const Export* const item : exports) {
        const FunctionType& type = module.types[module.functions[item->index].type];
        text(item->name);
        word(parts.functions[item->index]);
        letters(type.parameters);
        letters(type.results);
    }
}

std::string ImageBuilder::RuntimeSource() const {
    std::string source = "        .include \"moxi/wasm_runtime.inc\"\n";
    source += "        .include \"moxi/wasm_math.inc\"\n";
    return source;
}

// The symbols that the runtime is assembled with; moxi/wasm_runtime.inc lists them.
void ImageBuilder::DefineConstants(AssembleOptions& assemble) const {
    const auto define = [&](const std::string& name, u64 value) {
        assemble.definitions.emplace_back(name, static_cast<i64>(value));
    };
    define("DATA", layouts[0].dataAt);
    define("MAX_PAGES", layouts[0].reservedBytes / kPage);
    const auto isNeeded = [&](const char* name) {
        return std::find(parts.routines.begin(), parts.routines.end(), name) !=
               parts.routines.end();
    };
    if (isNeeded("moxi_setjmp") || isNeeded("moxi_longjmp")) {
        define("STACK_POINTER", layouts[0].dataAt + StackPointerCell(parts.plans[0]));
    }
    DefineEntry(assemble);
    if (badElements) {
        define("BAD_ELEMENTS", 1);
    } else if (badData) {
        define("BAD_DATA", 1);
    }
    std::set<std::string> needed(parts.routines.begin(), parts.routines.end());
    needed.insert(options.routines.begin(), options.routines.end());
    for (const std::string& routine : needed) {
        define("NEED_" + routine, 1);
    }
}

// Those of them that say what the program is and which functions start it.
void ImageBuilder::DefineEntry(AssembleOptions& assemble) const {
    const Module& module = FirstModule();
    const auto define = [&](const char* name, i64 value) {
        assemble.definitions.emplace_back(name, value);
    };
    const auto defineExport = [&](const char* name, const char* exported) {
        const Export* const found = FindExport(module, exported, ExternalKind::Function);
        if (found != nullptr) {
            define(name, parts.functions[found->index]);
        }
    };
    switch (parts.entry) {
        case EntryKind::Messages:
            define("ENTRY_MESSAGES", 1);
            defineExport("F_MAIN", "moxi_message");
            break;
        case EntryKind::Program:
            define("ENTRY_PROGRAM", 1);
            defineExport("F_MAIN", "_start");
            break;
        case EntryKind::Calls: define("ENTRY_CALLS", 1); break;
    }
    if (parts.entry != EntryKind::Program) {
        defineExport("F_INITIALIZE", "_initialize");
    }
    if (module.hasStart && parts.entry != EntryKind::Calls) {
        define("F_START", parts.functions[module.start]);
    }
    if (parts.plans.size() > 1 && parts.plans[1].module->hasStart) {
        define("F_CARTRIDGE",
               parts.functions[parts.plans[1].functionBase + parts.plans[1].module->start]);
    }
}

// The runtime is assembled with room for the code and data before it, so that its labels have the
// addresses that they have in the image.
bool ImageBuilder::AssembleRuntime() {
    AssembleOptions assemble;
    assemble.includeFolders = {options.libraryFolder};
    DefineConstants(assemble);
    const std::string source =
        "        .space " + std::to_string(runtimeAt - kHeaderSize) + "\n" + RuntimeSource();
    runtime =
        options.runtimeAt != 0 ? AssembleOnce(source, assemble) : AssembleAnew(source, assemble);
    if (!runtime->assembled.ok) {
        return Fail("the runtime cannot be assembled: " + FormatErrors(runtime->assembled));
    }
    runtimeBytes = runtime->assembled.bytes;
    if (parts.entry == EntryKind::Calls) {
        AppendCalls();
    }
    for (const std::string& routine : parts.routines) {
        const u32 address = runtime->ValueOf(routine);
        if (address == 0xFFFFFFFF) {
            return Fail("the runtime lacks " + routine);
        }
        routineAddresses.push_back(address);
    }
    return true;
}

// Places the memories one behind the other, behind the runtime and the passive segments. With
// `identity` the first one begins at address 0 and contains all of that.
bool ImageBuilder::PlaceMemory() {
    u64 passive = 0;
    for (const ModulePlan& plan : parts.plans) {
        for (const DataSegment& segment : plan.module->data) {
            if (segment.isPassive) {
                passive += segment.bytes.size();
            }
        }
    }
    codeEnd = RoundUp(runtimeBytes.size() + passive, kMemoryAlignment);
    memoryEnd = codeEnd;
    for (const ModulePlan& plan : parts.plans) {
        Layout& layout = layouts[plan.number];
        if (options.identity && plan.number == 0) {
            memoryEnd = std::max(codeEnd, layout.reservedBytes);
            continue;
        }
        if (!plan.module->hasMemory) {
            continue;
        }
        layout.memoryAt = memoryEnd;
        memoryEnd += layout.reservedBytes;
    }
    result.codeEnd = static_cast<u32>(codeEnd);
    result.memoryAddress = static_cast<u32>(layouts[0].memoryAt);
    if (parts.plans.size() > 1) {
        result.cartridgeAddress = static_cast<u32>(layouts[1].memoryAt);
    }
    return memoryEnd < kHighestEnd || Fail(kNoRoom);
}

// Puts active data segments where they lie in memory; the file ends behind the last byte that is
// not 0.
bool ImageBuilder::LayDataSegments() {
    u64 lowest = ~u64{0};
    u64 highest = codeEnd;
    for (const ModulePlan& plan : parts.plans) {
        const u64 memoryAt = layouts[plan.number].memoryAt;
        ForEachSegment(plan, [&](const DataSegment& segment, u64 offset) {
            u64 used = segment.bytes.size();
            while (used > 0 && segment.bytes[used - 1] == 0) {
                --used;
            }
            lowest = std::min(lowest, offset);
            if (used > 0) {
                highest = std::max(highest, memoryAt + offset + used);
            }
        });
        // A cartridge's memory is not all zero before it starts.
        if (plan.number == 1) {
            highest = std::max(highest, memoryAt + kConsoleBytes);
        }
    }
    if (options.identity && lowest < codeEnd) {
        return Fail("data begins at " + std::to_string(lowest) + ", the code ends at " +
                    std::to_string(codeEnd) +
                    ": link with --global-base=" + std::to_string(codeEnd) + " or more");
    }
    result.bytes = runtimeBytes;
    result.bytes.resize(RoundUp(highest, 8));
    for (const ModulePlan& plan : parts.plans) {
        const u64 memoryAt = layouts[plan.number].memoryAt;
        if (plan.number == 1) {
            std::memcpy(result.bytes.data() + memoryAt, kConsoleMemory, kConsoleBytes);
        }
        // A segment of zeros still replaces what an earlier one put there.
        ForEachSegment(plan, [&](const DataSegment& segment, u64 offset) {
            if (memoryAt + offset >= highest) {
                return;
            }
            std::memcpy(result.bytes.data() + memoryAt + offset, segment.bytes.data(),
                        std::min<u64>(segment.bytes.size(), highest - memoryAt - offset));
        });
    }
    return true;
}

// Writes a module's own data: the cells that the runtime knows (layout.h), the first values of
// globals, and the passive data segments, whose bytes go to `passiveAt`, which moves on.
void ImageBuilder::FillCells(const ModulePlan& plan, u64& passiveAt) {
    const Module& module = *plan.module;
    const Layout& layout = layouts[plan.number];
    std::memcpy(OwnData(plan, 0), plan.ownData.data(), plan.ownData.size());
    StoreBytes(OwnData(plan, kPagesCell), static_cast<u32>(layout.initialBytes / kPage));
    StoreBytes(OwnData(plan, kBaseCell), static_cast<u32>(layout.memoryAt));
    StoreBytes(OwnData(plan, kLimitCell), layout.initialBytes);
    StoreBytes(OwnData(plan, kTableCell), u64{plan.tableSize});
    for (u32 i = 0; i < module.globals.size(); ++i) {
        StoreBytes(OwnData(plan, plan.globalCells[i]), ValueOf(plan, module.globals[i].initial));
    }
    for (u32 i = 0; i < module.data.size(); ++i) {
        const DataSegment& segment = module.data[i];
        if (!segment.isPassive) {
            continue;
        }
        const u64 size = segment.bytes.size();
        StoreBytes(OwnData(plan, plan.dataCells + 8 * i), static_cast<u32>(passiveAt));
        StoreBytes(OwnData(plan, plan.dataCells + 8 * i + 4), static_cast<u32>(size));
        if (size > 0) {
            std::memcpy(result.bytes.data() + passiveAt, segment.bytes.data(), size);
        }
        passiveAt += size;
    }
}

// An entry of the table or a segment: the function's address and its type's number, 0 for null.
void ImageBuilder::PutEntry(const ModulePlan& plan, u64 cell, const ConstantExpression& item) {
    if (item.kind != ConstantExpression::Kind::Function) {
        StoreBytes(OwnData(plan, cell), u64{0});
        return;
    }
    const u32 function = static_cast<u32>(item.value);
    StoreBytes(OwnData(plan, cell), parts.functions[plan.functionBase + function]);
    StoreBytes(OwnData(plan, cell + 4), plan.typeNumbers[plan.module->functions[function].type]);
}

// Writes the element segments: active ones into the table, up to the first that does not fit, and
// passive ones into their own cells.
void ImageBuilder::FillTables(const ModulePlan& plan) {
    const Module& module = *plan.module;
    for (u32 i = 0; i < module.elements.size(); ++i) {
        const ElementSegment& segment = module.elements[i];
        u64 cell = plan.elementItems[i];
        if (segment.mode == ElementSegment::Mode::Declared) {
            continue;
        }
        if (segment.mode == ElementSegment::Mode::Active) {
            const u64 offset = ValueOf(plan, segment.offset);
            if (offset + segment.items.size() > plan.tableSize) {
                return;
            }
            cell = plan.tableCell + 8 * offset;
        } else {
            const u64 address = layouts[plan.number].dataAt + cell;
            StoreBytes(OwnData(plan, plan.elementCells + 8 * i), static_cast<u32>(address));
            StoreBytes(OwnData(plan, plan.elementCells + 8 * i + 4),
                       static_cast<u32>(segment.items.size()));
        }
        for (u64 k = 0; k < segment.items.size(); ++k) {
            PutEntry(plan, cell + 8 * k, segment.items[k]);
        }
    }
}

// The list of the names of functions that may trap, from which the runtime's traps take theirs.
void ImageBuilder::FillTrapNames() {
    const ModulePlan& plan = parts.plans[0];
    StoreBytes(OwnData(plan, kNamesCell),
               static_cast<u32>(layouts[0].dataAt + parts.trapNamesCell));
    u64 cell = parts.trapNamesCell;
    for (const TrapName& name : parts.trapNames) {
        StoreBytes(OwnData(plan, cell), static_cast<u32>(layouts[name.module].dataAt + name.cell));
        cell += 4;
    }
}

// Gives every word that waited for an address its value.
void ImageBuilder::Patch() {
    for (const Fixup& fixup : parts.code.fixups) {
        u8* const at = result.bytes.data() + kHeaderSize + fixup.offset;
        u32 value = LoadBytes<u32>(at);
        switch (fixup.kind) {
            case Fixup::Kind::Memory:
                value += static_cast<u32>(layouts[fixup.module].memoryAt);
                break;
            case Fixup::Kind::Data: value += static_cast<u32>(layouts[fixup.module].dataAt); break;
            case Fixup::Kind::Function: value = parts.functions[fixup.target]; break;
            case Fixup::Kind::Routine: value = routineAddresses[fixup.target]; break;
        }
        StoreBytes(at, value);
    }
    // The first instruction goes to the entry.
    StoreBytes(result.bytes.data() + kHeaderSize,
               static_cast<u32>(Single::Jmp) | runtime->ValueOf("wasm_entry") >> 2 << 10);
}

// Behind the bytes of the file come zeros for the rest of the memory up to `limit`, then the stack
// up to `stackTop`, then the heap. The machine takes the sizes of the three from the header.
bool ImageBuilder::WriteHeader() {
    const u64 loaded = result.bytes.size();
    const u64 stackFloor = RoundUp(std::max(memoryEnd, loaded) + kStackReserve, kStackWindow);
    const u64 stackTop = stackFloor + options.stack;
    const u64 limit = stackFloor - kStackReserve;
    u8* const header = result.bytes.data();
    std::memset(header, 0, kHeaderSize);
    constexpr u8 kMagic[] = {'M', 'O', 'X', 'I', '6'};
    std::memcpy(header + kHeaderMagic, kMagic, sizeof kMagic);
    header[kHeaderModuleMajor] = 6;
    header[kHeaderModuleMinor] = 2;
    StoreBytes(header + kHeaderLoadedLength, static_cast<u32>(loaded));
    StoreBytes(header + kHeaderGlobalsSize, static_cast<u32>(limit - loaded));
    StoreBytes(header + kHeaderStackSize, static_cast<u32>(stackTop - limit));
    StoreBytes(header + kHeaderHeapSize, options.heap);
    return stackTop + options.heap <= kHighestEnd || Fail(kNoRoom);
}

void ImageBuilder::Run() {
    layouts.resize(parts.plans.size());
    u64 at = kHeaderSize + parts.code.bytes.size();
    for (const ModulePlan& plan : parts.plans) {
        SizeMemory(plan);
        layouts[plan.number].dataAt = RoundUp(at, 8);
        at = layouts[plan.number].dataAt + plan.ownData.size();
        CheckSegments(plan);
    }
    runtimeAt = RoundUp(at, 8);
    // Where the caller wants the runtime at a fixed address, and the code leaves room before it,
    // the module's own data gets a fixed address as well: the runtime's constants are then the
    // same.
    if (runtimeAt + kOwnDataRoom <= options.runtimeAt && layouts.size() == 1) {
        runtimeAt = options.runtimeAt;
        layouts[0].dataAt = runtimeAt - kOwnDataRoom;
    }
    if (runtimeAt > kMaxCode - kPage) {
        Fail("the code is larger than the 16 MB that the machine's branches reach");
        return;
    }
    if (!AssembleRuntime() || !PlaceMemory() || !LayDataSegments()) {
        return;
    }
    std::memcpy(result.bytes.data() + kHeaderSize, parts.code.bytes.data(),
                parts.code.bytes.size());
    u64 passiveAt = runtimeBytes.size();
    for (const ModulePlan& plan : parts.plans) {
        FillCells(plan, passiveAt);
        FillTables(plan);
    }
    FillTrapNames();
    Patch();
    if (!WriteHeader()) {
        return;
    }
    if (options.wantSymbols) {
        CollectSymbols();
    }
    if (options.wantAssembly) {
        result.assembly = FormatAssembly(result, parts.code);
    }
    result.codeBytes = static_cast<u32>(parts.code.bytes.size());
    result.ok = true;
}

void BuildImage(ImageParts& parts, const TranslateOptions& options, TranslatedModule& result) {
    ImageBuilder{parts, options, result}.Run();
}

}  // namespace moxi
