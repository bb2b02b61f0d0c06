#include "wasm/link.h"

#include <algorithm>

namespace moxi {

namespace {

using Types = std::vector<ValueType>;

Service ServiceOf(const Import& import) {
    if (import.module != "moxi") {
        return Service::None;
    }
    if (import.name == "sys") {
        return Service::Sys;
    }
    if (import.name == "setjmp") {
        return Service::Setjmp;
    }
    if (import.name == "longjmp") {
        return Service::Longjmp;
    }
    if (import.name == "stop") {
        return Service::Stop;
    }
    if (import.name == "memory_base") {
        return Service::MemoryBase;
    }
    return Service::None;
}

bool FitsService(Service service, const FunctionType& type) {
    constexpr ValueType kI32 = ValueType::I32;
    const auto has = [&](const Types& parameters, const Types& results) {
        return type.parameters == parameters && type.results == results;
    };
    switch (service) {
        case Service::Sys: return has({kI32}, {ValueType::I64});
        case Service::Setjmp: return has({kI32}, {kI32});
        case Service::Longjmp: return has({kI32, kI32}, {});
        case Service::Stop: return has({}, {});
        case Service::MemoryBase:
        case Service::CartridgeBase: return has({}, {kI32});
        default: return false;
    }
}

// Whether a call of one type can be served by a function of another one. Cartridges were made for
// consoles whose host counts neither arguments nor results: one that is missing is 0, one too many
// is dropped.
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

// Functions of the other module. False when the import does not name any.
bool Resolver::ResolveByOther(const Import& import, ImportTarget& target) {
    const bool isCartridge = plan.number == 1;
    if (other == nullptr || import.module != (isCartridge ? "env" : "cart")) {
        return false;
    }
    if (!isCartridge && import.name == "memory") {
        target.service = Service::CartridgeBase;
        if (!FitsService(target.service, TypeOf(import.index))) {
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
        target.service = Service::Empty;
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
    target.service = Service::Linked;
    target.function = other->functionBase + found->index;
    return true;
}

void Resolver::ResolveFunction(const Import& import) {
    ImportTarget target;
    if (!ResolveByOther(import, target)) {
        // A cartridge knows its console alone.
        target.service = plan.number == 1 ? Service::None : ServiceOf(import);
        if (target.service == Service::None) {
            Refuse(import, "unknown import");
        } else if (!FitsService(target.service, TypeOf(import.index))) {
            Refuse(import, "wrong type of the import");
        }
    }
    plan.imports.push_back(target);
}

void Resolver::ResolveRest(const Import& import) {
    switch (import.kind) {
        case ExternalKind::Function: return;
        case ExternalKind::Global: {
            const Global& global = module.globals[import.index];
            const bool isBase = plan.number == 0 && ServiceOf(import) == Service::MemoryBase;
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
