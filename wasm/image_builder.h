#pragma once
// An image on its way to the file, shared by image.cpp and image_symbols.cpp.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/asm/assembler.h"
#include "wasm/image_parts.h"

namespace moxi {

// Where the parts of a module lie: addresses in the image and sizes in bytes.
struct Layout {
    u64 dataAt = 0;         // the translator's own data
    u64 memoryAt = 0;       // linear memory
    u64 initialBytes = 0;   // of the memory when the program starts
    u64 reservedBytes = 0;  // what it may grow to
};

struct AssembledRuntime {
    AssembleResult assembled;
    std::map<std::string, u32, std::less<>> values{};  // of the symbols, by name

    // All bits are set where there is no such symbol.
    u32 ValueOf(std::string_view name) const {
        const auto found = values.find(name);
        return found == values.end() ? 0xFFFFFFFF : found->second;
    }
};

struct ImageBuilder {
    ImageParts& parts;
    const TranslateOptions& options;
    TranslatedModule& result;
    std::vector<Layout> layouts{};
    u64 runtimeAt = 0;
    u64 codeEnd = 0;  // behind the runtime and the passive segments
    u64 memoryEnd = 0;
    bool badData = false;  // an active segment does not fit, so that the start traps
    bool badElements = false;
    std::shared_ptr<const AssembledRuntime> runtime{};
    std::vector<u8> runtimeBytes{};  // from address 0: room for the code, the runtime, its lists
    std::vector<u32> routineAddresses{};  // by number, as in ImageParts::routines

    bool Fail(const std::string& text) {
        result.errors.push_back(text);
        return false;
    }
    const Module& FirstModule() const { return *parts.plans[0].module; }
    // The place of a cell of the translator's own data; valid until result.bytes changes its size.
    u8* OwnData(const ModulePlan& plan, u64 offset) {
        return result.bytes.data() + layouts[plan.number].dataAt + offset;
    }
    // The value of a constant expression; no function, whose address is in `parts`.
    u64 ValueOf(const ModulePlan& plan, const ConstantExpression& expression) const {
        // The one global that can be imported is linear memory's address.
        const bool isAddress = expression.kind == ConstantExpression::Kind::Global;
        return isAddress ? layouts[plan.number].memoryAt : expression.value;
    }
    // Calls f(segment, offset) for the active data segments up to the first that does not fit.
    template <class F>
    void ForEachSegment(const ModulePlan& plan, F f) const {
        for (const DataSegment& segment : plan.module->data) {
            if (segment.isPassive) {
                continue;
            }
            const u64 offset = ValueOf(plan, segment.offset);
            if (offset + segment.bytes.size() > layouts[plan.number].initialBytes) {
                return;
            }
            if (!segment.bytes.empty()) {
                f(segment, offset);
            }
        }
    }

    void SizeMemory(const ModulePlan& plan);
    void CheckSegments(const ModulePlan& plan);
    std::string RuntimeSource() const;
    void AppendCalls();
    void DefineConstants(AssembleOptions& assemble) const;
    void DefineEntry(AssembleOptions& assemble) const;
    bool AssembleRuntime();
    bool PlaceMemory();
    bool LayDataSegments();
    void FillCells(const ModulePlan& plan, u64& passiveAt);
    void FillTables(const ModulePlan& plan);
    void PutEntry(const ModulePlan& plan, u64 cell, const ConstantExpression& item);
    void FillTrapNames();
    void Patch();
    bool WriteHeader();
    void CollectFunctions(const ModulePlan& plan);
    void CollectLines();
    void CollectVariables();
    void CollectSymbols();
    void Run();
};

}  // namespace moxi
