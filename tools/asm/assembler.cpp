#include "tools/asm/assembler.h"

#include <filesystem>

#include "tools/asm/assembly.h"
#include "vm/machine.h"

namespace moxi {

namespace mxasm {

namespace {

void Predefine(Assembly& assembly, const std::string& name, i64 number) {
    Symbol& symbol = assembly.table.symbols[InternSymbol(assembly.table, name)];
    symbol.state = SymbolState::Constant;
    symbol.value = {};
    symbol.value.integer = number;
    symbol.valueEpoch = 1;
}

void PredefineHeader(Assembly& assembly) {
    for (u32 r = 0; r < 16; ++r) {
        Predefine(assembly, "HDR_R" + std::to_string(r), RegisterAddress(r));
    }
    Predefine(assembly, "HDR_PC", kHeaderPC);
    Predefine(assembly, "HDR_STACKTOP", kHeaderStackTop);
    Predefine(assembly, "HDR_STACKLIMIT", kHeaderStackLimit);
    Predefine(assembly, "HDR_SP", kHeaderSP);
    Predefine(assembly, "HDR_FP", kHeaderFP);
    Predefine(assembly, "HDR_MODAL", kHeaderModalChain);
    Predefine(assembly, "HDR_COUNT", kHeaderBlockCount);
    Predefine(assembly, "HDR_FLAGS", kHeaderFlags);
    Predefine(assembly, "HDR_RESULT", kHeaderResult);
    Predefine(assembly, "HDR_SLOT", 256);
}

u32 MacroDepth(const Assembly& assembly) {
    u32 depth = 0;
    for (const std::unique_ptr<Frame>& frame : assembly.frames) {
        if (frame->kind != FrameKind::File) {
            ++depth;
        }
    }
    return depth;
}

// Assembles a line and notes for the listing what it made.
void AssembleListed(Assembly& assembly, const Line& line) {
    if (!assembly.options.wantListing) {
        AssembleLine(assembly, line);
        return;
    }
    ListingLine entry;
    entry.file = line.position.file;
    entry.line = line.position.line;
    entry.depth = MacroDepth(assembly);
    entry.text = std::string(line.text);
    const bool quiet = assembly.collecting || IsSkipping(assembly);
    u64 before[kSectionCount];
    for (u32 i = 0; i < kSectionCount; ++i) {
        before[i] = assembly.sections[i].size;
    }
    AssembleLine(assembly, line);
    entry.section = assembly.section;
    const auto section = static_cast<u32>(assembly.section);
    entry.offset = before[section];
    entry.size = assembly.sections[section].size - before[section];
    // Lines of macros are shown for what they make.
    if (entry.depth > 0 && (quiet || entry.size == 0)) {
        return;
    }
    assembly.listing.push_back(std::move(entry));
}

}  // namespace

}  // namespace mxasm

AssembleResult Assemble(std::string_view source, const std::string& fileName,
                        const AssembleOptions& options) {
    using namespace mxasm;
    Assembly assembly;
    assembly.options = options;
    PredefineHeader(assembly);
    std::error_code error;
    std::string identity = std::filesystem::weakly_canonical(fileName, error).string();
    const u32 file = AddSource(assembly.sources, fileName, error ? std::string() : identity,
                               std::string(source));
    for (const auto& [name, value] : options.definitions) {
        Predefine(assembly, name, value);
    }
    EnterFile(assembly, file, {file, 1, 1, 0});
    Line line;
    while (NextLine(assembly, line)) {
        ++assembly.sources.sequence;
        const size_t mark = assembly.table.nodes.size();
        assembly.keepNodes = false;
        AssembleListed(assembly, line);
        if (!assembly.keepNodes) {
            assembly.table.nodes.resize(mark);
        }
        if (assembly.table.nodes.size() > 50'000'000) {
            ReportAndStop(assembly.sources, PositionIn(line, 0),
                          "too many expressions wait for a later definition");
        }
    }
    AssembleResult result;
    Finish(assembly, result);
    return result;
}

std::vector<u32> AssembleInstruction(std::string_view text) {
    using namespace mxasm;
    thread_local Sources sources;
    thread_local SymbolTable table;
    sources.errors.clear();
    sources.stopped = false;
    table.nodes.clear();
    Line line;
    line.text = text;
    std::vector<Token> tokens;
    if (!Tokenize(sources, line, tokens)) {
        return {};
    }
    Cursor cursor;
    cursor.line = &line;
    cursor.tokens = &tokens;
    EncodedInstruction encoded;
    if (!EncodeInstruction(sources, table, cursor, encoded) || !cursor.AtEnd()) {
        return {};
    }
    std::vector<u32> words(encoded.words, encoded.words + encoded.count);
    for (u32 i = 0; i < encoded.valueCount; ++i) {
        const SlotValue& slot = encoded.values[i];
        const Value value = Evaluate(table, slot.expression);
        if (value.state != ValueState::Known) {
            return {};
        }
        auto* bytes = reinterpret_cast<u8*>(words.data() + slot.word);
        if (!PutValue(slot.slot, value, bytes).empty()) {
            return {};
        }
    }
    return words;
}

}  // namespace moxi
