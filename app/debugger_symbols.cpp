#include "app/debugger_symbols.h"

#include "app/debugger_memory.h"
#include "base/log.h"
#include "host/message.h"
#include "tools/disassembler.h"
#include "tools/source.h"

namespace {

constexpr u64 kMostSymbolBytes = u64{64} << 20;
constexpr u32 kMostOffset = 65535;  // from a name to a place that is called by it

struct NamedMessage {
    const char* name;
    u32 command;
};

constexpr NamedMessage kMessages[] = {
    {"MSG_START1", MSG_START1},
    {"MSG_START2", MSG_START2},
    {"MSG_CLOSE", MSG_CLOSE},
    {"MSG_END", MSG_END},
    {"MSG_MINIMIZE", MSG_MINIMIZE},
    {"MSG_MOVE", MSG_MOVE},
    {"MSG_SIZE", MSG_SIZE},
    {"MSG_MUSICDONE", MSG_MUSICDONE},
    {"MSG_TICK", MSG_TICK},
    {"MSG_DOWN", MSG_DOWN},
    {"MSG_UP", MSG_UP},
    {"MSG_CHAR", MSG_CHAR},
    {"MSG_POINTER", MSG_POINTER},
    {"MSG_PRESENTED", MSG_PRESENTED},
};

SymbolNames symbols;

}  // namespace

std::string ReadSymbols(const std::string& path) {
    std::string why;
    const std::optional<std::string> text =
        mxasm::ReadWholeFile(path, kMostSymbolBytes, false, why);
    if (!text) return why;
    SymbolNames read;
    why = ParseSymbolFile(*text, read);
    if (why.empty()) symbols = std::move(read);
    return why;
}

size_t SymbolCount() {
    return symbols.values.size();
}

std::optional<u32> ValueOfName(std::string_view name) {
    const auto symbol = symbols.values.find(name);
    if (symbol != symbols.values.end()) return static_cast<u32>(symbol->second);
    for (const NamedMessage& row : kMessages) {
        if (name == row.name) return row.command;
    }
    if (!name.starts_with("HDR_")) return std::nullopt;
    for (u32 address = 0; address < kHeaderSize; ++address) {
        if (name == NameOfHeader(address)) return address;
    }
    return std::nullopt;
}

std::string MessageName(u32 command) {
    for (const NamedMessage& row : kMessages) {
        if (command == row.command) return row.name;
    }
    return {};
}

std::string DescribeMessage(u32 command, u32 p1, u32 p2, u32 p3) {
    const std::string name = MessageName(command);
    return FormatText("message %u%s%s: 0x%X, 0x%X, 0x%X", command, name.empty() ? "" : " ",
                      name.c_str(), p1, p2, p3);
}

std::string NameOfAddress(u32 address) {
    // Beyond the globals lie the stack and the heap, which have no names.
    if (address < kHeaderSize || address >= LoadBytes<u32>(image + kHeaderStackLimit)) return {};
    auto after = symbols.byAddress.upper_bound(address);
    if (after == symbols.byAddress.begin()) return {};
    --after;
    const u32 offset = address - after->first;
    if (offset > kMostOffset) return {};
    const std::string& name = after->second.front();
    return offset == 0 ? name : name + "+" + std::to_string(offset);
}

std::string LabelAt(u32 address) {
    std::string labels;
    const auto found = symbols.byAddress.find(address);
    if (found == symbols.byAddress.end()) return labels;
    for (const std::string& name : found->second)
        labels += (labels.empty() ? "" : " ") + name + ":";
    return labels;
}

std::string Place(u32 address) {
    const std::string name = address < kHeaderSize ? NameOfHeader(address) : NameOfAddress(address);
    const std::string number = FormatText("%8.8X", address);
    return name.empty() ? number : number + " <" + name + ">";
}

AddressNamer InstructionNames() {
    return [](u32 address, AddressUse use) {
        if (address < kHeaderSize) {
            return use == AddressUse::Memory ? NameOfHeader(address) : std::string();
        }
        // A number is an address only if somebody named it.
        if (use == AddressUse::Value && !symbols.byAddress.contains(address)) return std::string();
        return NameOfAddress(address);
    };
}
