// The listing and the symbol file.

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "base/bytes.h"
#include "tools/asm/assembler.h"
#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

namespace {

constexpr u64 kBytesPerRow = 8;
constexpr u64 kMaxRows = 8;

std::string Hex(u64 value, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%0*" PRIX64, digits, value);
    return text;
}

// Up to eight bytes of a row: words where they are instructions, else bytes.
std::string RowBytes(const std::vector<u8>& file, u64 address, u64 count, bool asWords) {
    std::string text;
    if (asWords && count % 4 == 0) {
        for (u64 i = 0; i < count; i += 4) {
            text += Hex(LoadBytes<u32>(file.data() + address + i), 8) + " ";
        }
        return text;
    }
    for (u64 i = 0; i < count; ++i) {
        text += Hex(file[address + i], 2);
    }
    return text;
}

void AppendRow(std::string& out, const std::string& lineNumber, const std::string& address,
               const std::string& bytes, const std::string& source) {
    char head[64];
    std::snprintf(head, sizeof head, "%6s  %-8s  %-18s  ", lineNumber.c_str(), address.c_str(),
                  bytes.c_str());
    out += head;
    out += source;
    while (!out.empty() && out.back() == ' ') {
        out.pop_back();
    }
    out += '\n';
}

}  // namespace

std::string FormatListing(const Assembly& assembly, const std::vector<u8>& file,
                          const AssembleResult& result) {
    std::string out;
    u32 currentFile = ~0u;
    for (const ListingLine& line : assembly.listing) {
        if (line.file != currentFile) {
            currentFile = line.file;
            out += "; " + assembly.sources.files[line.file].name + "\n";
        }
        const auto section = static_cast<u32>(line.section);
        const u64 address = static_cast<u64>(assembly.table.sectionBase[section]) + line.offset;
        const std::string source = (line.depth > 0 ? "+ " : "  ") + line.text;
        const bool inFile = line.section != Section::Bss;
        const u64 first = inFile ? std::min(line.size, kBytesPerRow) : 0;
        AppendRow(out, std::to_string(line.line), line.size > 0 ? Hex(address, 8) : std::string(),
                  RowBytes(file, address, first, line.section == Section::Code), source);
        for (u64 at = kBytesPerRow; inFile && at < line.size; at += kBytesPerRow) {
            if (at >= kBytesPerRow * kMaxRows) {
                AppendRow(out, "", "", "...", "");
                break;
            }
            const u64 count = std::min(line.size - at, kBytesPerRow);
            AppendRow(out, "", Hex(address + at, 8),
                      RowBytes(file, address + at, count, line.section == Section::Code), "");
        }
    }
    out += "\n; Symbols\n";
    return out + FormatSymbols(result);
}

}  // namespace mxasm

std::string FormatSymbols(const AssembleResult& result) {
    constexpr const char* kKinds[] = {"code", "data", "bss", "const"};
    std::string out;
    for (const AssembleSymbol& symbol : result.symbols) {
        const bool isShort = symbol.value >= 0 && symbol.value <= 0xFFFFFFFF;
        out += mxasm::Hex(static_cast<u64>(symbol.value), isShort ? 8 : 16) + " " +
               kKinds[static_cast<u32>(symbol.kind)] + " " + symbol.name + "\n";
    }
    return out;
}

u32 SymbolValue(const AssembleResult& result, std::string_view name) {
    for (const AssembleSymbol& symbol : result.symbols) {
        if (symbol.name == name) {
            return static_cast<u32>(static_cast<u64>(symbol.value));
        }
    }
    return 0xFFFFFFFF;
}

}  // namespace moxi
