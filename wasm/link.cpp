#include "wasm/link.h"

#include <algorithm>

namespace moxi {

namespace {

using Types = std::vector<ValueType>;

// The service of the machine that an import from "moxi" names; None for any other import.
ImportUse UseOf(const Import& import) {
    if (import.module != "moxi") {
        return ImportUse::None;
    }
    if (import.name == "sys") {
        return ImportUse::Sys;
    }
    if (import.name == "setjmp") {
        return ImportUse::Setjmp;
    }
    if (import.name == "longjmp") {
        return ImportUse::Longjmp;
    }
    if (import.name == "stop") {
        return ImportUse::Stop;
    }
    if (import.name == "memory_base") {
        return ImportUse::MemoryBase;
    }
    return ImportUse::None;
}

// Whether the import declares the type that its service has.
bool FitsUse(ImportUse use, const FunctionType& type) {
    constexpr ValueType kI32 = ValueType::I32;
    const auto has = [&](const Types& parameters, const Types& results) {
        return type.parameters == parameters && type.results == results;
    };
    switch (use) {
        case ImportUse::Sys: return has({kI32}, {ValueType::I64});
        case ImportUse::Setjmp: return has({kI32}, {kI32});
        case ImportUse::Longjmp: return has({kI32, kI32}, {});
        case ImportUse::Stop: return has({}, {});
        case ImportUse::MemoryBase:
        case ImportUse::CartridgeBase: return has({}, {kI32});
        default: return false;
    }
}

// Whether a call of one type can be served by a function of another one. Cartridges were made for
// consoles whose host counts neither arguments nor results: one that is missing is 0, one too many
// is dropped. What both have must be of the same types.
bool CanStandFor(const FunctionType& function, const FunctionType& call) {
    const auto agree = [](const Types& a, const Types& b) {
        return std::equal(a.begin(), a.begin() + static_cast<i64>(std::min(a.size(), b.size())),
                          b.begin());
    };
    return agree(function.parameters, call.parameters) && agree(function.results, call.results);
}

struct Resolver {
    ModulePlan& plan;
    ModulePlan* other;  // linked to it, or null
    std::vector<std::string>& errors;
    const Module& module = *plan.module;

    const FunctionType& TypeOf(u32 function) const {
        return module.types[module.functions[function].type];
    }
    void Refuse(const Import& import, const std::string& what) {
        errors.push_back(what + " \"" + import.module + "." + import.name + "\"");
    }
    bool ResolveByOther(const Import& import, ImportTarget& target);
    void ResolveFunction(const Import& import);
    void ResolveRest(const Import& import);
    void Run();
};

// Resolves an import of a function from the other module. False when it names nothing there; true,
// after an error has been noted, also where only its type is wrong.
bool Resolver::ResolveByOther(const Import& import, ImportTarget& target) {
    const bool isCartridge = plan.number == 1;
    if (other == nullptr || import.module != (isCartridge ? "env" : "cart")) {
        return false;
    }
    if (!isCartridge && import.name == "memory") {
        target.use = ImportUse::CartridgeBase;
        if (!FitsUse(target.use, TypeOf(import.index))) {
            Refuse(import, "wrong type of the import");
        }
        return true;
    }
    const Module& from = *other->module;
    const Export* const found = FindExport(from, import.name, ExternalKind::Function);
    if (found == nullptr) {
        if (isCartridge) {
            return false;
        }
        target.use = ImportUse::Empty;
        if (!TypeOf(import.index).results.empty()) {
            Refuse(import, "wrong type of the import");
        }
        return true;
    }
    const FunctionType& type = from.types[from.functions[found->index].type];
    if (type != TypeOf(import.index)) {
        if (!CanStandFor(type, TypeOf(import.index))) {
            Refuse(import, "wrong type of the import");
        }
        target.type = &type;
    }
    target.use = ImportUse::Linked;
    target.function = other->functionBase + found->index;
    return true;
}

void Resolver::ResolveFunction(const Import& import) {
    ImportTarget target;
    if (!ResolveByOther(import, target)) {
        // The machine's services are not for cartridges: those know nothing but their console.
        target.use = plan.number == 1 ? ImportUse::None : UseOf(import);
        if (target.use == ImportUse::None) {
            Refuse(import, "unknown import");
        } else if (!FitsUse(target.use, TypeOf(import.index))) {
            Refuse(import, "wrong type of the import");
        }
    }
    plan.imports.push_back(target);
}

// Imports that are no functions: the first module may import a global with the address of its
// memory, a cartridge the memory of its console. Nothing else is there to be imported.
void Resolver::ResolveRest(const Import& import) {
    switch (import.kind) {
        case ExternalKind::Function: return;
        case ExternalKind::Global: {
            const Global& global = module.globals[import.index];
            const bool isBase = plan.number == 0 && UseOf(import) == ImportUse::MemoryBase;
            if (!isBase || global.isMutable || global.type != ValueType::I32) {
                Refuse(import, "unknown import of a global");
            }
            return;
        }
        case ExternalKind::Memory:
            if (plan.number != 1 || import.module != "env" || import.name != "memory") {
                Refuse(import, "unknown import of a memory");
            }
            return;
        case ExternalKind::Table: Refuse(import, "unknown import of a table"); return;
    }
}

void Resolver::Run() {
    for (const Import& import : module.imports) {
        if (import.kind == ExternalKind::Function) {
            ResolveFunction(import);
        } else {
            ResolveRest(import);
        }
    }
}

}  // namespace

void ResolveImports(ModulePlan& plan, std::vector<std::string>& errors) {
    Resolver{plan, nullptr, errors}.Run();
}

void ResolveLinked(ModulePlan& first, ModulePlan& cartridge, std::vector<std::string>& errors) {
    Resolver{first, &cartridge, errors}.Run();
    Resolver{cartridge, &first, errors}.Run();
}

}  // namespace moxi
