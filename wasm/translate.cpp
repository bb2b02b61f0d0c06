#include "wasm/translate.h"

#include <algorithm>

#include "wasm/allocate.h"
#include "wasm/build.h"
#include "wasm/encode.h"
#include "wasm/image.h"

namespace moxi {

namespace {

constexpr u32 kMaxTable = 1u << 20;
constexpr u32 kMaxName = 1023;  // what the line of a trap has room for

using Types = std::vector<ValueType>;

bool HasType(const FunctionType& type, const Types& parameters, const Types& results) {
    return type.parameters == parameters && type.results == results;
}

bool FitsService(Service service, const FunctionType& type) {
    constexpr ValueType kI32 = ValueType::I32;
    switch (service) {
        case Service::None: return false;
        case Service::Sys: return HasType(type, {kI32}, {ValueType::I64});
        case Service::Setjmp: return HasType(type, {kI32}, {kI32});
        case Service::Longjmp: return HasType(type, {kI32, kI32}, {});
        case Service::Stop: return HasType(type, {}, {});
        case Service::MemoryBase: return HasType(type, {}, {kI32});
    }
    return false;
}

// Names every import that nothing stands for.
void CheckImports(const Module& module, std::vector<std::string>& errors) {
    for (const Import& import : module.imports) {
        const std::string name = "\"" + import.module + "." + import.name + "\"";
        const Service service = ServiceOf(import);
        if (import.kind == ExternalKind::Function) {
            const FunctionType& type = module.types[module.functions[import.index].type];
            if (service == Service::None) {
                errors.push_back("unknown import " + name);
            } else if (!FitsService(service, type)) {
                errors.push_back("the import " + name + " has the wrong type");
            }
        } else if (import.kind == ExternalKind::Global) {
            const Global& global = module.globals[import.index];
            if (service != Service::MemoryBase || global.isMutable || global.type != ValueType::I32) {
                errors.push_back("unknown import " + name + " (a global)");
            }
        } else {
            const bool isTable = import.kind == ExternalKind::Table;
            errors.push_back("unknown import " + name + (isTable ? " (a table)" : " (a memory)"));
        }
    }
}

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
        if (HasType(typeOf(*message), {kI32, kI32, kI32, kI32}, {kI32})) return true;
        errors.push_back("moxi_message does not take four i32 and return one");
        return false;
    }
    if (const Export* const start = FindExport(module, "_start", ExternalKind::Function)) {
        entry = EntryKind::Program;
        if (HasType(typeOf(*start), {}, {})) return true;
        errors.push_back("_start takes or returns something");
        return false;
    }
    errors.push_back("neither moxi_message nor _start is exported (--calls tries functions out)");
    return false;
}

u32 Reserve(ModulePlan& plan, u64 bytes) {
    plan.ownData.resize((plan.ownData.size() + 7) / 8 * 8);
    const u32 at = static_cast<u32>(plan.ownData.size());
    plan.ownData.resize(at + bytes);
    return at;
}

void NumberTypes(ModulePlan& plan) {
    const Module& module = *plan.module;
    for (u32 i = 0; i < module.types.size(); ++i) {
        const auto same = std::find(module.types.begin(), module.types.begin() + i, module.types[i]);
        plan.typeNumbers.push_back(static_cast<u32>(same - module.types.begin()) + 1);
    }
}

bool UsesGrow(const Module& module) {
    // A byte that looks like the instruction only makes the reserve larger than it must be.
    for (const Function& function : module.functions) {
        if (function.body != nullptr &&
            std::find(function.body, function.end, static_cast<u8>(Opcode::MemoryGrow)) != function.end) {
            return true;
        }
    }
    return false;
}

void MakePlan(const Module& module, const TranslateOptions& options, ModulePlan& plan) {
    plan.module = &module;
    plan.checkBounds = options.checkBounds;
    plan.canGrow = module.hasMemory && UsesGrow(module);
    u64 results = 0;
    for (const FunctionType& type : module.types) results = std::max<u64>(results, type.results.size());
    plan.ownData.resize(kResultCells + 8 * results);
    for (u64 i = 0; i < module.globals.size(); ++i) plan.globalCells.push_back(Reserve(plan, 8));
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
}

// Imported functions get code only where their address is wanted.
std::vector<bool> WantedFunctions(const Module& module) {
    std::vector<bool> wanted(module.functions.size(), true);
    std::fill(wanted.begin(), wanted.begin() + module.importedFunctions, false);
    for (const ElementSegment& segment : module.elements) {
        for (const ConstantExpression& item : segment.items) {
            if (item.kind == ConstantExpression::Kind::Function) wanted[item.value] = true;
        }
    }
    for (const Export& item : module.exports) {
        if (item.kind == ExternalKind::Function) wanted[item.index] = true;
    }
    if (module.hasStart) wanted[module.start] = true;
    return wanted;
}

bool TranslateFunctions(ImageParts& parts, std::vector<std::string>& errors) {
    const Module& module = parts.module;
    parts.code.base = 512;
    parts.code.bytes.resize(4);  // the jump to the entry
    parts.functions.assign(module.functions.size(), 0);
    const std::vector<bool> wanted = WantedFunctions(module);
    for (u32 i = 0; i < module.functions.size(); ++i) {
        if (!wanted[i]) continue;
        FunctionCode code = BuildFunction(parts.plan, i);
        const Allocation allocation = Allocate(code);
        parts.functions[i] = parts.code.base + static_cast<u32>(parts.code.bytes.size());
        if (!EncodeFunction(code, allocation, parts.code)) {
            errors.push_back("the frame of " + NameOfFunction(module, i) +
                             " is larger than the machine can address");
            return false;
        }
    }
    return true;
}

}  // namespace

Translation Translate(std::string_view wasm, const TranslateOptions& options) {
    Translation result;
    Module module;
    ModuleError error;
    if (!ReadModule(wasm, module, error) || !ValidateFunctions(module, error)) {
        result.errors.push_back(error.text);
        return result;
    }
    CheckImports(module, result.errors);
    EntryKind entry = EntryKind::Program;
    if (!FindEntry(module, options, entry, result.errors) || !result.errors.empty()) return result;
    if (module.hasTable && module.table.minimum > kMaxTable) {
        result.errors.push_back("a table of more than " + std::to_string(kMaxTable) +
                                " entries is not supported");
        return result;
    }
    for (Function& function : module.functions) {
        if (function.name.size() > kMaxName) function.name.resize(kMaxName);
    }
    ModulePlan plan;
    MakePlan(module, options, plan);
    ImageParts parts{module, plan, {}, {}, entry};
    if (!TranslateFunctions(parts, result.errors)) return result;
    BuildImage(parts, options, result);
    return result;
}

}  // namespace moxi
