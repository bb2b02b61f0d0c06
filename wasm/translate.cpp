#include "wasm/translate.h"

#include <algorithm>

#include "wasm/allocate.h"
#include "wasm/build.h"
#include "wasm/debug_values.h"
#include "wasm/encode.h"
#include "wasm/image.h"
#include "wasm/link.h"
#include "wasm/stack_checks.h"
#include "wasm/straighten.h"
#include "wasm/tails.h"

namespace moxi {

namespace {

constexpr u32 kFirstCode = 512;         // behind the image's header
constexpr u32 kMaxTable = 1u << 20;     // entries
constexpr u64 kMostSteps = 200u << 20;  // to find where variables are
constexpr u32 kMaxName = 1023;          // what the line of a trap has room for

bool HasType(const FunctionType& type, const std::vector<ValueType>& parameters,
             const std::vector<ValueType>& results) {
    return type.parameters == parameters && type.results == results;
}

// How the module is entered, by what it exports. False after an error.
bool FindEntry(const Module& module, const TranslateOptions& options, EntryKind& entry,
               std::vector<std::string>& errors) {
    const auto typeOf = [&](const Export& item) -> const FunctionType& {
        return module.types[module.functions[item.index].type];
    };
    constexpr ValueType kI32 = ValueType::I32;
    if (options.calls) {
        entry = EntryKind::Calls;
        return true;
    }
    const Export* const initialize = FindExport(module, "_initialize", ExternalKind::Function);
    if (initialize != nullptr && !HasType(typeOf(*initialize), {}, {})) {
        errors.push_back("_initialize takes or returns something");
        return false;
    }
    if (const Export* const message = FindExport(module, "moxi_message", ExternalKind::Function)) {
        entry = EntryKind::Messages;
        if (HasType(typeOf(*message), {kI32, kI32, kI32, kI32}, {kI32})) {
            return true;
        }
        errors.push_back("moxi_message does not take four i32 and return one");
        return false;
    }
    if (const Export* const start = FindExport(module, "_start", ExternalKind::Function)) {
        entry = EntryKind::Program;
        if (HasType(typeOf(*start), {}, {})) {
            return true;
        }
        errors.push_back("_start takes or returns something");
        return false;
    }
    errors.push_back("neither moxi_message nor _start is exported (--calls tries functions out)");
    return false;
}

// Adds zeros to the translator's own data, at a multiple of 8. Returns where they begin.
u32 Reserve(ModulePlan& plan, u64 bytes) {
    plan.ownData.resize((plan.ownData.size() + 7) / 8 * 8);
    const u32 at = static_cast<u32>(plan.ownData.size());
    plan.ownData.resize(at + bytes);
    return at;
}

// Numbers from 1, so that an empty entry of the table has a type that no call asks for.
void NumberTypes(ModulePlan& plan) {
    const Module& module = *plan.module;
    for (u32 i = 0; i < module.types.size(); ++i) {
        const auto same =
            std::find(module.types.begin(), module.types.begin() + i, module.types[i]);
        plan.typeNumbers.push_back(static_cast<u32>(same - module.types.begin()) + 1);
    }
}

// Whether the module may change its memory's size.
bool UsesGrow(const Module& module) {
    // This looks for a byte. One that only looks like the instruction does no harm but that more
    // memory is reserved than must be.
    for (const Function& function : module.functions) {
        if (function.body != nullptr &&
            std::find(function.body, function.end, static_cast<u8>(Opcode::MemoryGrow)) !=
                function.end) {
            return true;
        }
    }
    return false;
}

// Lays out the translator's own data of a module, whose plan knows it already.
void MakePlan(ModulePlan& plan, const TranslateOptions& options) {
    const Module& module = *plan.module;
    plan.checkBounds = options.checkBounds;
    // A cartridge's memory keeps its size, and so does that of what it is linked to.
    plan.canGrow = module.hasMemory && options.cartridge.empty() && UsesGrow(module);
    u64 results = 0;
    for (const FunctionType& type : module.types) {
        results = std::max<u64>(results, type.results.size());
    }
    plan.ownData.resize(kResultCells + 8 * results);
    for (u64 i = 0; i < module.globals.size(); ++i) {
        plan.globalCells.push_back(Reserve(plan, 8));
    }
    NumberTypes(plan);
    plan.tableSize = module.hasTable ? module.table.minimum : 0;
    plan.tableCell = Reserve(plan, 8 * u64{plan.tableSize});
    plan.dataCells = Reserve(plan, 8 * module.data.size());
    plan.elementCells = Reserve(plan, 8 * module.elements.size());
    for (const ElementSegment& segment : module.elements) {
        const bool isPassive = segment.mode == ElementSegment::Mode::Passive;
        plan.elementItems.push_back(isPassive ? Reserve(plan, 8 * segment.items.size()) : 0);
    }
    plan.nameCells.assign(module.functions.size(), 0);
    plan.trapNumbers.assign(module.functions.size(), 0);
}

// By function: whether it gets code of its own. Imported functions, and those that are built in
// where they are called, get some only where their address is wanted.
std::vector<bool> WantedFunctions(const ModulePlan& plan) {
    const Module& module = *plan.module;
    std::vector<bool> wanted(module.functions.size(), true);
    std::fill(wanted.begin(), wanted.begin() + module.importedFunctions, false);
    for (u64 i = 0; i < wanted.size(); ++i) {
        if (plan.leaves[i].isOne) {
            wanted[i] = false;
        }
    }
    for (const ElementSegment& segment : module.elements) {
        for (const ConstantExpression& item : segment.items) {
            if (item.kind == ConstantExpression::Kind::Function) {
                wanted[item.value] = true;
            }
        }
    }
    for (const Export& item : module.exports) {
        if (item.kind == ExternalKind::Function) {
            wanted[item.index] = true;
        }
    }
    if (module.hasStart) {
        wanted[module.start] = true;
    }
    return wanted;
}

// Appends the code of all functions of one module to the image's. False after an error.
bool TranslateFunctions(ImageParts& parts, ModulePlan& plan, std::vector<std::string>& errors) {
    const Module& module = *plan.module;
    parts.code.module = plan.number;
    const std::vector<bool> wanted = WantedFunctions(plan);
    const auto* const start = reinterpret_cast<const u8*>(module.bytes.data());
    u64 steps = kMostSteps;
    for (u32 i = 0; i < module.functions.size(); ++i) {
        if (!wanted[i]) {
            continue;
        }
        const u8* const body = module.functions[i].body;
        const DebugFunction* const known =
            body == nullptr
                ? nullptr
                : FindDebugFunction(plan.debugFunctions, static_cast<u32>(body - start));
        FunctionCode code = BuildFunction(plan, i);
        Straighten(code);
        UseLowHalves(code);
        UseFlags(code);
        AddInMemory(code);
        const Allocation allocation = Allocate(code);
        RemoveIdle(code, allocation);
        if (known == nullptr && plan.sources.files.empty()) {
            MergeTails(code, allocation);
            RemoveIdle(code, allocation);
        }
        parts.functions[plan.functionBase + i] =
            parts.code.base + static_cast<u32>(parts.code.bytes.size());
        if (!EncodeFunction(code, allocation, parts.code)) {
            errors.push_back("the frame of " + NameOfFunction(module, i) +
                             " is larger than the machine can address");
            return false;
        }
        if (known != nullptr) {
            parts.variables.push_back(
                {plan.number, FindVariables(*known, code, allocation, parts.code,
                                            parts.functions[plan.functionBase + i], steps)});
        }
    }
    return true;
}

// Reads a module and finds what can be said about it alone. False after an error.
bool Load(std::string_view wasm, Module& module, std::vector<std::string>& errors) {
    ModuleError error;
    if (!ReadModule(wasm, module, error) || !ValidateFunctions(module, error)) {
        errors.push_back(error.text);
        return false;
    }
    if (module.hasTable && module.table.minimum > kMaxTable) {
        errors.push_back("a table of more than " + std::to_string(kMaxTable) +
                         " entries is not supported");
        return false;
    }
    for (Function& function : module.functions) {
        if (function.name.size() > kMaxName) {
            function.name.resize(kMaxName);
        }
    }
    return true;
}

// A cartridge's memory is one page, also where it declares 0 pages. False where it has no memory,
// or wants more.
bool TakeCartridgeMemory(Module& cartridge, std::vector<std::string>& errors) {
    if (!cartridge.hasMemory || cartridge.memory.minimum > 1) {
        errors.push_back("a cartridge has one page of memory");
        return false;
    }
    cartridge.memory = {1, 1, true};
    return true;
}

}  // namespace

TranslatedModule Translate(std::string_view wasm, const TranslateOptions& options) {
    TranslatedModule result;
    const bool isLinked = !options.cartridge.empty();
    Module modules[2];
    if (!Load(wasm, modules[0], result.errors)) {
        return result;
    }
    if (isLinked && (!Load(options.cartridge, modules[1], result.errors) ||
                     !TakeCartridgeMemory(modules[1], result.errors))) {
        return result;
    }
    ImageParts parts;
    for (u32 i = 0; i < (isLinked ? 2 : 1); ++i) {
        ModulePlan plan;
        plan.module = &modules[i];
        plan.number = i;
        plan.functionBase = i == 0 ? 0 : static_cast<u32>(modules[0].functions.size());
        plan.routines = &parts.routines;
        plan.sources = ReadSourceLines(modules[i]);
        plan.debugFunctions = ReadDebugFunctions(modules[i]);
        plan.leaves = FindSmallLeaves(modules[i], plan.debugFunctions);
        plan.stackChecks = FindStackChecks(modules[i], plan.leaves);
        plan.trapNames = &parts.trapNames;
        parts.plans.push_back(std::move(plan));
    }
    if (isLinked) {
        ResolveLinked(parts.plans[0], parts.plans[1], result.errors);
    } else {
        ResolveImports(parts.plans[0], result.errors);
    }
    if (!FindEntry(modules[0], options, parts.entry, result.errors) || !result.errors.empty()) {
        return result;
    }
    parts.code.base = kFirstCode;
    parts.code.bytes.resize(4);  // the jump to the entry
    parts.functions.assign(modules[0].functions.size() + modules[1].functions.size(), 0);
    for (ModulePlan& plan : parts.plans) {
        MakePlan(plan, options);
        if (!TranslateFunctions(parts, plan, result.errors)) {
            return result;
        }
    }
    parts.trapNamesCell = Reserve(parts.plans[0], 4 * parts.trapNames.size());
    BuildImage(parts, options, result);
    return result;
}

}  // namespace moxi
