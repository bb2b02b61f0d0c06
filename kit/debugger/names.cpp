#include "kit/debugger/names.h"

#include "base/log.h"
#include "kit/call_names.h"
#include "kit/module_memory.h"
#include "kit/symbols.h"
#include "tools/dis/disassembler.h"

namespace moxi {

namespace {

constexpr u32 kMostOffset = 65535;  // from a name to a place that is called by it

}  // namespace

std::optional<u32> ValueOfName(std::string_view name) {
    if (const std::optional<u32> value = ValueOfSymbol(name)) {
        return value;
    }
    if (const std::optional<u32> command = MessageOfName(name)) {
        return command;
    }
    if (!name.starts_with("HDR_")) {
        return std::nullopt;
    }
    for (u32 address = 0; address < kHeaderSize; ++address) {
        if (name == NameOfHeader(address)) {
            return address;
        }
    }
    return std::nullopt;
}

std::string MessageWithName(u32 command) {
    const std::string name(MessageName(command));
    return FormatText("message %u%s%s", command, name.empty() ? "" : " ", name.c_str());
}

std::string DescribeMessage(u32 command, u32 p1, u32 p2, u32 p3) {
    return MessageWithName(command) + FormatText(": 0x%X, 0x%X, 0x%X", p1, p2, p3);
}

std::string NameOfAddress(u32 address) {
    // Beyond the globals lie the stack and the heap, which have no names.
    if (address < kHeaderSize || address >= HeaderLong(kHeaderStackLimit)) {
        return {};
    }
    const std::optional<u32> start = NearestNamed(address);
    if (!start || address - *start > kMostOffset) {
        return {};
    }
    const std::string& name = NamesAt(*start).front();
    return address == *start ? name : name + "+" + std::to_string(address - *start);
}

std::string LabelAt(u32 address) {
    std::string labels;
    for (const std::string& name : NamesAt(address)) {
        labels += (labels.empty() ? "" : " ") + name + ":";
    }
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
        if (use == AddressUse::Value && NamesAt(address).empty()) {
            return std::string();
        }
        return NameOfAddress(address);
    };
}

}  // namespace moxi
