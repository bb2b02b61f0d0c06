// The readable listing of a module.

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <ostream>

#include "base/bytes.h"
#include "tools/dis/data_text.h"
#include "tools/dis/disassembler.h"
#include "tools/dis/reach.h"
#include "vm/disassemble.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kWordsPerLine = 4;
constexpr u32 kMostOffset = 65535;  // from a variable's name to a part of it

std::string Hex8(u32 value) {
    char text[16];
    std::snprintf(text, sizeof text, "%08" PRIX32, value);
    return text;
}

struct HeaderName {
    u32 address;
    const char* name;
};

constexpr HeaderName kHeaderNames[] = {
    {kHeaderPC, "HDR_PC"},
    {kHeaderStackTop, "HDR_STACKTOP"},
    {kHeaderStackLimit, "HDR_STACKLIMIT"},
    {kHeaderSP, "HDR_SP"},
    {kHeaderFP, "HDR_FP"},
    {kHeaderModalChain, "HDR_MODAL"},
    {kHeaderBlockCount, "HDR_COUNT"},
    {kHeaderFlags, "HDR_FLAGS"},
    {kHeaderResult, "HDR_RESULT"},
};

struct Listing {
    const ModuleFile& module;
    const SymbolNames& names;
    const CodeMap& map;
    std::ostream& out;
    AddressNamer namer;
};

// The name of an address: from the symbol file, or made from what refers to it.
std::string NameOf(const SymbolNames& names, const CodeMap& map, u32 address) {
    const auto symbol = names.byAddress.find(address);
    if (symbol != names.byAddress.end()) {
        return symbol->second.front();
    }
    if (address == kEntryPoint) {
        return "entry";
    }
    const auto label = map.labels.find(address);
    if (label == map.labels.end()) {
        return {};
    }
    switch (label->second) {
        case LabelKind::Call: return "sub_" + Hex8(address);
        case LabelKind::Branch: return "loc_" + Hex8(address);
        case LabelKind::Table: return "table_" + Hex8(address);
        case LabelKind::Data: break;
    }
    return "data_" + Hex8(address);
}

// An address within the data or the globals as "name+offset".
std::string NameWithOffset(const SymbolNames& names, u32 address) {
    auto after = names.byAddress.upper_bound(address);
    if (after == names.byAddress.begin()) {
        return {};
    }
    --after;
    const u32 offset = address - after->first;
    if (!names.variables.contains(after->first) || offset > kMostOffset) {
        return {};
    }
    return after->second.front() + "+" + std::to_string(offset);
}

AddressNamer MakeNamer(const SymbolNames& names, const CodeMap& map) {
    return [&names, &map](u32 address, AddressUse use) {
        if (address < kHeaderSize) {
            return use == AddressUse::Memory ? NameOfHeader(address) : std::string();
        }
        // A number is an address only if somebody named it.
        if (use == AddressUse::Value && !names.byAddress.contains(address)) {
            return std::string();
        }
        std::string name = NameOf(names, map, address);
        const bool made = !names.byAddress.contains(address);
        if (use != AddressUse::Memory || !made) {
            return name;
        }
        std::string nearby = NameWithOffset(names, address);
        return nearby.empty() ? name : nearby;
    };
}

void WriteRow(Listing& listing, u32 address, u32 length, const std::string& text) {
    std::string words;
    const bool asWords = address % 4 == 0 && length % 4 == 0 && length <= 16;
    for (u32 at = 0; asWords && at < length; at += 4) {
        words += Hex8(LoadBytes<u32>(listing.module.bytes.data() + address + at)) + " ";
    }
    for (u32 at = 0; !asWords && at < length; ++at) {
        if (at == 15 && length > 16) {
            words += "..";
            break;
        }
        char byte[4];
        std::snprintf(byte, sizeof byte, "%02X", listing.module.bytes[address + at]);
        words += byte;
    }
    words.resize(std::max<size_t>(words.size(), 36), ' ');
    listing.out << "  " << Hex8(address) << "  " << words << "  " << text << "\n";
}

void WriteLabels(Listing& listing, u32 address) {
    const auto symbols = listing.names.byAddress.find(address);
    if (symbols != listing.names.byAddress.end()) {
        for (const std::string& name : symbols->second) {
            listing.out << name << ":\n";
        }
        return;
    }
    const std::string name = NameOf(listing.names, listing.map, address);
    if (!name.empty()) {
        listing.out << name << ":\n";
    }
}

void WriteHead(Listing& listing) {
    const ModuleFile& module = listing.module;
    char text[160];
    const auto row = [&](const char* what, u64 first, u64 size) {
        std::snprintf(text, sizeof text, "; %-14s %08" PRIX64 "  %" PRIu64 " bytes\n", what, first,
                      size);
        listing.out << text;
    };
    listing.out << "; module version " << module.major << "." << module.minor << "\n";
    row("header", 0, kHeaderSize);
    row("code and data", kHeaderSize, module.loaded - kHeaderSize);
    row("globals", module.loaded, module.globals);
    row("stack", u64{module.loaded} + module.globals, module.stack);
    row("heap", u64{module.loaded} + module.globals + module.stack, module.heap);
    if (module.bytes.size() > module.loaded) {
        row("not loaded", module.loaded, module.bytes.size() - module.loaded);
    }
    listing.out << "\n";
}

// The first address behind `address` that has a name or starts code.
u32 EndOfData(const Listing& listing, u32 address) {
    u32 end = listing.module.loaded;
    const auto label = listing.map.labels.upper_bound(address);
    if (label != listing.map.labels.end()) {
        end = std::min(end, label->first);
    }
    const auto symbol = listing.names.byAddress.upper_bound(address);
    if (symbol != listing.names.byAddress.end()) {
        end = std::min(end, symbol->first);
    }
    u32 at = address;
    while (at < end && listing.map.At(at) != WordKind::Instruction &&
           listing.map.At(at) != WordKind::TableEntry) {
        at = (at & ~3u) + 4;
    }
    return std::min(at, end);
}

void WriteBody(Listing& listing) {
    const ModuleFile& module = listing.module;
    const std::span<const u8> memory(module.bytes.data(), module.loaded);
    u32 address = kHeaderSize;
    u32 dataEnd = 0;
    while (address < module.loaded) {
        WriteLabels(listing, address);
        const WordKind kind = listing.map.At(address);
        if (kind == WordKind::Instruction) {
            const DisassembledInstruction line = DisassembleAt(memory, address, listing.namer);
            WriteRow(listing, address, line.length, line.text);
            address += line.length;
        } else if (kind == WordKind::TableEntry) {
            const u32 target = LoadBytes<u32>(memory.data() + address);
            WriteRow(listing, address, 4, ".long    " + NameOf(listing.names, listing.map, target));
            address += 4;
        } else {
            if (address >= dataEnd) {
                dataEnd = EndOfData(listing, address);
            }
            const DataItem item =
                DescribeData(memory.subspan(address, dataEnd - address), address, kWordsPerLine);
            WriteRow(listing, address, item.length, item.text);
            address += item.length;
        }
    }
}

// Names in the zero-filled globals.
void WriteGlobals(Listing& listing) {
    const u64 end = u64{listing.module.loaded} + listing.module.globals;
    for (const auto& [address, names] : listing.names.byAddress) {
        if (address < listing.module.loaded || address >= end) {
            continue;
        }
        for (const std::string& name : names) {
            listing.out << "  " << Hex8(address) << "  globals  " << name << "\n";
        }
    }
}

}  // namespace

std::string NameOfHeader(u32 address) {
    for (const HeaderName& row : kHeaderNames) {
        if (row.address == address) {
            return row.name;
        }
    }
    const u32 slot = address - kHeaderRegisters;
    if (slot % 8 == 0 && slot / 8 < 16) {
        return "HDR_R" + std::to_string(slot / 8);
    }
    return {};
}

std::string ParseSymbolFile(const std::string& text, SymbolNames& names) {
    size_t start = 0;
    for (u32 line = 1; start < text.size(); ++line) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            end = text.size();
        }
        std::string_view row = std::string_view(text).substr(start, end - start);
        start = end + 1;
        if (row.ends_with('\r')) {
            row.remove_suffix(1);
        }
        if (row.empty()) {
            continue;
        }
        u64 value = 0;
        const auto [rest, error] = std::from_chars(row.data(), row.data() + row.size(), value, 16);
        const std::string_view tail = row.substr(static_cast<size_t>(rest - row.data()));
        const size_t space = tail.find(' ', 1);
        const bool good = error == std::errc{} && tail.starts_with(' ') &&
                          space != std::string_view::npos && space + 1 < tail.size();
        if (!good) {
            return "line " + std::to_string(line) + " is no line of a symbol file";
        }
        const std::string_view kind = tail.substr(1, space - 1);
        if (kind != "code" && kind != "data" && kind != "bss" && kind != "const") {
            return "line " + std::to_string(line) + " is no line of a symbol file";
        }
        std::string name;
        for (const char c : tail.substr(space + 1)) {
            name += static_cast<u8>(c) < 32 || c == 127 ? '?' : c;
        }
        names.values.emplace(name, value);
        if (kind == "const" || value > 0xFFFFFFFF) {
            continue;
        }
        names.byAddress[static_cast<u32>(value)].push_back(name);
        if (kind != "code") {
            names.variables.insert(static_cast<u32>(value));
        }
    }
    return {};
}

void WriteModuleListing(const ModuleFile& module, const SymbolNames& names, std::ostream& out) {
    const CodeMap map = FindCode(module);
    Listing listing{module, names, map, out, MakeNamer(names, map)};
    WriteHead(listing);
    WriteBody(listing);
    WriteGlobals(listing);
}

}  // namespace moxi
