// The source that assembles to the identical file. An instruction is written as text only when
// assembling that text gives its words back; everything else is data.

#include <cstring>
#include <ostream>

#include "base/bytes.h"
#include "tools/asm/assembler.h"
#include "tools/dis/data_text.h"
#include "tools/dis/disassembler.h"
#include "tools/dis/reach.h"
#include "vm/disassemble.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kWordsPerLine = 8;
constexpr u32 kHeaderBytesPerLine = 16;

std::string Hex(u64 value) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

// The header that mxasm makes for this source, without .header lines.
void PredictHeader(const ModuleFile& module, bool sizesFit, u8 (&header)[kHeaderSize]) {
    std::memset(header, 0, sizeof header);
    std::memcpy(header + kHeaderMagic, "MOXI6", 5);
    header[kHeaderModuleMajor] = static_cast<u8>(module.major);
    header[kHeaderModuleMinor] = static_cast<u8>(module.minor);
    StoreBytes(header + kHeaderLoadedLength, static_cast<u32>(module.bytes.size()));
    if (!sizesFit) {
        return;
    }
    StoreBytes(header + kHeaderStackSize, module.stack);
    StoreBytes(header + kHeaderHeapSize, module.heap);
}

void WriteHeader(const ModuleFile& module, std::ostream& out) {
    const bool sizesFit = u64{module.bytes.size()} + module.stack + module.heap <= 0xFFFFFFFF;
    out << "; " << module.loaded << " bytes are loaded, " << module.globals
        << " bytes of globals, stack " << module.stack << ", heap " << module.heap << "\n";
    out << "    .version " << module.major << ", " << module.minor << "\n";
    out << "    .stack   " << (sizesFit ? module.stack : 0) << "\n";
    out << "    .heap    " << (sizesFit ? module.heap : 0) << "\n";
    u8 predicted[kHeaderSize];
    PredictHeader(module, sizesFit, predicted);
    u32 at = 0;
    while (at < kHeaderSize) {
        if (module.bytes[at] == predicted[at]) {
            ++at;
            continue;
        }
        out << "    .header  " << at;
        for (u32 count = 0;
             count < kHeaderBytesPerLine && at < kHeaderSize && module.bytes[at] != predicted[at];
             ++count, ++at) {
            out << ", " << Hex(module.bytes[at]);
        }
        out << "\n";
    }
}

// The instruction at `address` as a line, or an empty text when only data can stand for it.
std::string InstructionLine(const ModuleFile& module, u32 address) {
    const DisassembledInstruction instruction =
        DisassembleAt({module.bytes.data(), module.loaded}, address);
    const std::vector<u32> words = AssembleInstruction(instruction.text);
    if (words.empty() || words.size() * 4 != instruction.length) {
        return {};
    }
    if (std::memcmp(words.data(), module.bytes.data() + address, instruction.length) != 0) {
        return {};
    }
    return instruction.text;
}

// Where the data that starts at `address` ends: at the next code or at the end of what is loaded.
u32 EndOfData(const ModuleFile& module, const CodeMap& map, u32 address) {
    const u32 end = static_cast<u32>(module.bytes.size());
    if (address >= module.loaded) {
        return end;
    }
    u32 at = address;
    while (at < module.loaded && map.At(at) != WordKind::Instruction) {
        at = std::min((at & ~3u) + 4, module.loaded);
    }
    return at;
}

}  // namespace

void WriteRawSource(const ModuleFile& module, std::ostream& out) {
    const CodeMap map = FindCode(module);
    WriteHeader(module, out);
    out << "    .code\n";
    const u32 end = static_cast<u32>(module.bytes.size());
    u32 address = kHeaderSize;
    while (address < end) {
        if (map.At(address) == WordKind::Instruction && address < module.loaded) {
            const u32 length = InstructionLength(LoadBytes<u32>(module.bytes.data() + address));
            const std::string line = InstructionLine(module, address);
            if (!line.empty()) {
                out << "    " << line << "  ; " << Hex(address) << "\n";
            } else {
                out << "    .long   ";
                for (u32 at = address; at < address + length; at += 4) {
                    out << (at == address ? " " : ", ")
                        << Hex(LoadBytes<u32>(module.bytes.data() + at));
                }
                out << "  ; " << Hex(address) << "\n";
            }
            address += length;
            continue;
        }
        const u32 dataEnd = EndOfData(module, map, address);
        while (address < dataEnd) {
            const DataItem item = DescribeData({module.bytes.data() + address, dataEnd - address},
                                               address, kWordsPerLine);
            out << "    " << item.text << "  ; " << Hex(address) << "\n";
            address += item.length;
        }
    }
}

}  // namespace moxi
