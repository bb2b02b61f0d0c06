#include "wasm/assembly_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "base/bytes.h"
#include "tools/asm/assembler.h"
#include "vm/disassemble.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kWordsPerLine = 8;

std::string Hex(u32 value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", value);
    return text;
}

struct Writer {
    const TranslatedModule& result;
    const MachineCode& code;
    std::map<u32, std::string> labels{};  // by address
    std::string text{};

    u32 WordAt(u64 address) const { return LoadBytes<u32>(result.bytes.data() + address); }
    void NameFunctions(u32 end);
    void NameTargets(u32 end);
    bool IsTable(u32 address) const;
    void WriteInstruction(u32& address);
    void WriteCode(u32 end);
    void WriteData(u64 from);
    void Run();
};

// A function's label: its name, with an underscore for each byte that is no letter or digit, and
// with the address behind it where another function has that label already.
std::string LabelFor(const std::string& name, u32 address, std::set<std::string>& taken) {
    std::string label = "f_";
    for (const char c : name) {
        const bool isPlain =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        label += isPlain ? c : '_';
    }
    if (!taken.insert(label).second) {
        label += "_" + Hex(address);
    }
    taken.insert(label);
    return label;
}

void Writer::NameFunctions(u32 end) {
    std::set<std::string> taken;
    for (const TranslatedSymbol& symbol : result.symbols) {
        if (!symbol.isCode || symbol.address >= end) {
            continue;
        }
        labels.emplace(symbol.address, LabelFor(symbol.name, symbol.address, taken));
    }
}

// Whether the word at the address belongs to a jump table.
bool Writer::IsTable(u32 address) const {
    const u32 offset = address - code.base;
    for (const CodeTable& table : code.tables) {
        if (offset >= table.offset && offset < table.end) {
            return true;
        }
    }
    return false;
}

// Gives a label to every address in the code that an instruction or a jump table names.
void Writer::NameTargets(u32 end) {
    const auto name = [&](u32 target) {
        if (target >= kHeaderSize && target < end && target % 4 == 0) {
            labels.emplace(target, "at_" + Hex(target));
        }
    };
    for (u32 address = kHeaderSize; address < end;) {
        if (IsTable(address)) {
            name(WordAt(address));
            address += 4;
            continue;
        }
        const DisassembledInstruction instruction = DisassembleAt(
            {result.bytes.data(), end}, address, [&](u32 target, AddressUse use) -> std::string {
                if (use == AddressUse::Code) {
                    name(target);
                }
                return {};
            });
        address += std::max(instruction.length, 4u);
    }
}

// Writes the instruction at the address and moves on behind it. Where the assembler would choose
// other words for its text, the words themselves are written.
void Writer::WriteInstruction(u32& address) {
    const u32 end = code.base + static_cast<u32>(code.bytes.size());
    const std::span<const u8> memory{result.bytes.data(), end};
    const DisassembledInstruction plain = DisassembleAt(memory, address);
    const u32 length = std::max(plain.length, 4u);
    const std::vector<u32> words = AssembleInstruction(plain.text);
    const bool isSame = words.size() * 4 == length &&
                        std::memcmp(words.data(), result.bytes.data() + address, length) == 0;
    if (isSame) {
        const DisassembledInstruction named =
            DisassembleAt(memory, address, [&](u32 target, AddressUse use) -> std::string {
                if (use != AddressUse::Code) {
                    return {};
                }
                const auto found = labels.find(target);
                return found == labels.end() ? std::string() : found->second;
            });
        text += "        " + named.text + "\n";
    } else {
        for (u32 at = address; at < address + length; at += 4) {
            text += "        .long   " + Hex(WordAt(at)) + "\n";
        }
    }
    address += length;
}

// The translated functions with their jump tables.
void Writer::WriteCode(u32 end) {
    for (u32 address = kHeaderSize; address < end;) {
        const auto label = labels.find(address);
        if (label != labels.end()) {
            text += label->second + ":\n";
        }
        if (!IsTable(address)) {
            WriteInstruction(address);
            continue;
        }
        const auto target = labels.find(WordAt(address));
        text += "        .long   " +
                (target != labels.end() ? target->second : Hex(WordAt(address))) + "\n";
        address += 4;
    }
}

// Everything in the file behind the translated functions, byte by byte; long runs of zeros in one.
void Writer::WriteData(u64 from) {
    const u64 end = result.bytes.size();
    while (from < end) {
        u64 zeros = from;
        while (zeros < end && result.bytes[zeros] == 0) {
            ++zeros;
        }
        if (zeros - from >= u64{4} * kWordsPerLine || zeros == end) {
            text += "        .space  " + std::to_string(zeros - from) + "\n";
            from = zeros;
            continue;
        }
        const u64 stop = std::min(end, from + u64{4} * kWordsPerLine);
        text += "        .byte   ";
        for (u64 at = from; at < stop; ++at) {
            text += (at == from ? "" : ", ") + std::to_string(result.bytes[at]);
        }
        text += "\n";
        from = stop;
    }
}

void Writer::Run() {
    const u32 end = code.base + static_cast<u32>(code.bytes.size());
    const auto field = [&](u32 offset) { return std::to_string(WordAt(offset)); };
    text = "        .stack  " + field(kHeaderStackSize) + "\n        .heap   " +
           field(kHeaderHeapSize) + "\n        .code\n";
    NameFunctions(end);
    NameTargets(end);
    WriteCode(end);
    text += "; The runtime, and the module's data.\n";
    WriteData(end);
    text += "        .bss\n        .space  " + field(kHeaderGlobalsSize) + "\n";
}

}  // namespace

std::string FormatAssembly(const TranslatedModule& result, const MachineCode& code) {
    Writer writer{result, code};
    writer.Run();
    return writer.text;
}

}  // namespace moxi
