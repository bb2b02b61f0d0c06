// What debuggers are told about an image: symbols, source lines, variables.

#include <algorithm>

#include "wasm/image_builder.h"

namespace moxi {

// The functions of a module that have code.
void ImageBuilder::CollectFunctions(const ModulePlan& plan) {
    const Module& module = *plan.module;
    for (u32 i = 0; i < module.functions.size(); ++i) {
        const u32 address = parts.functions[plan.functionBase + i];
        if (address == 0) {
            continue;
        }
        std::string name = module.functions[i].name;
        if (name.empty()) {
            name = "function_" + std::to_string(i);
        }
        result.symbols.push_back({address, true, std::move(name)});
    }
}

// The lines of both modules, one entry where the line changes.
void ImageBuilder::CollectLines() {
    std::vector<u32> firstFile;
    for (const ModulePlan& plan : parts.plans) {
        const std::vector<std::string>& files = plan.sources.files;
        firstFile.push_back(static_cast<u32>(result.files.size()));
        result.files.insert(result.files.end(), files.begin(), files.end());
    }
    const auto add = [&](TranslatedLine line) {
        if (line.line == 0 && result.lines.empty()) {
            return;
        }
        if (!result.lines.empty()) {
            TranslatedLine& last = result.lines.back();
            if (last.line == line.line && (line.line == 0 || last.file == line.file)) {
                return;
            }
            if (last.address == line.address) {
                last = line;
                return;
            }
        }
        result.lines.push_back(line);
    };
    for (const OriginMark& mark : parts.code.origins) {
        const SourceLine* const found =
            FindSourceLine(parts.plans[mark.module].sources, mark.origin);
        TranslatedLine line{parts.code.base + mark.offset, 0, 0};
        if (found != nullptr) {
            line.line = found->line;
            line.file = firstFile[mark.module] + found->file;
        }
        add(line);
    }
    add({parts.code.base + static_cast<u32>(parts.code.bytes.size()), 0, 0});
}

// The variables of all functions, now that it is known where the memories lie.
void ImageBuilder::CollectVariables() {
    for (FunctionVariables& function : parts.variables) {
        const auto memory = static_cast<i64>(layouts[function.module].memoryAt);
        for (TranslatedVariable& variable : function.variables) {
            for (TranslatedPlace& place : variable.places) {
                place.offset += memory;
            }
            result.variables.push_back(std::move(variable));
        }
    }
}

// Symbols in the order of their addresses, then lines and variables.
void ImageBuilder::CollectSymbols() {
    for (const ModulePlan& plan : parts.plans) {
        CollectFunctions(plan);
    }
    for (const AssembleSymbol& symbol : runtime->assembled.symbols) {
        if (symbol.kind != SymbolKind::Code) {
            continue;
        }
        result.symbols.push_back({static_cast<u32>(symbol.value), true, symbol.name});
    }
    // Of two linked modules the memory that matters to a user is the second one's, the cartridge's.
    const Layout& last = layouts.back();
    if (parts.plans.back().module->hasMemory) {
        result.symbols.push_back({static_cast<u32>(last.memoryAt), false, "wasm_memory"});
    }
    // The module that a cartridge is linked to may export a counter of frames, whose address is
    // wanted.
    const Export* const frames = FindExport(FirstModule(), "wasm_frames", ExternalKind::Global);
    if (frames != nullptr && parts.plans.size() > 1) {
        const u64 offset = ValueOf(parts.plans[0], FirstModule().globals[frames->index].initial);
        result.symbols.push_back(
            {static_cast<u32>(layouts[0].memoryAt + offset), false, "wasm_frames"});
    }
    std::stable_sort(
        result.symbols.begin(), result.symbols.end(),
        [](const TranslatedSymbol& a, const TranslatedSymbol& b) { return a.address < b.address; });
    CollectLines();
    CollectVariables();
}

}  // namespace moxi
