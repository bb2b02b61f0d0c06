#include "kit/debugger/inspect.h"

#include <algorithm>
#include <bit>

#include "base/log.h"
#include "kit/debugger/names.h"
#include "kit/debugger/source.h"
#include "kit/debugger/stops.h"
#include "kit/debugger/terminal.h"
#include "kit/module_memory.h"
#include "kit/symbols.h"

namespace moxi {

namespace {

constexpr u32 kMostArguments = 8;  // LONGs shown of a frame
constexpr u32 kMostText = 1024;
constexpr u32 kMessageArguments = 16;
constexpr u32 kRowBytes = 16;

DisassembledInstruction InstructionAt(u32 address) {
    return DisassembleAt({image, imageSize}, address, InstructionNames());
}

// Columns of the mnemonic as the disassembler sets them, and what the service is for SYS.
std::string NextInstruction() {
    std::string text = InstructionAt(HeaderLong(kHeaderPC)).text;
    const std::optional<u32> service = ServiceCommand();
    if (service) {
        text += FormatText("  ; service 0x%4.4X", *service);
    }
    return text;
}

// --- Frames

// The arguments of a message, or LONGs and what is left over.
std::string Arguments(u32 address, u32 bytes, bool message) {
    if (bytes == 0) {
        return "no arguments";
    }
    if (!InImage(address, bytes)) {
        return FormatText("%u bytes of arguments, outside the image", bytes);
    }
    const u8* const words = image + address;
    if (message && bytes == kMessageArguments) {
        return DescribeMessage(LoadBytes<u32>(words), LoadBytes<u32>(words + 4),
                               LoadBytes<u32>(words + 8), LoadBytes<u32>(words + 12));
    }
    std::string text = FormatText("%u byte%s of arguments:", bytes, bytes == 1 ? "" : "s");
    u32 at = 0;
    for (; at + 4 <= bytes && at < 4 * kMostArguments; at += 4) {
        text += FormatText(" 0x%X", LoadBytes<u32>(words + at));
    }
    if (at + 4 <= bytes) {
        return text + " ...";
    }
    for (; at < bytes; ++at) {
        text += FormatText(" %2.2X", words[at]);
    }
    return text;
}

// The address of the calling instruction. A return address behind a function's last instruction
// belongs to the next function already.
u32 CallBefore(u32 returnAddress) {
    return returnAddress - 4;
}

// Says what a frame holds. False at the message's frame and where the chain is broken.
bool ShowFrame(u32 number, u32 pc, const Frame& frame, const FrameRegisters& registers,
               u32& caller) {
    const u32 at = number == 0 ? pc : CallBefore(pc);
    const std::string head = FormatText("#%u  ", number) + Place(pc) + AtLine(at);
    const std::optional<u32> returnAddress = Peek<u32>(frame.at);
    const std::optional<u32> bytes = Peek<u32>(frame.at + 4);
    if (!returnAddress || !bytes) {
        Say(head + FormatText("  no frame: 0x%8.8X is outside the image", frame.at));
        return false;
    }
    caller = *returnAddress;
    const std::string pointer = frame.linked ? FormatText("  FP=0x%8.8X", frame.at - 4) : "";
    const std::string returns =
        caller == 0 ? "" : ", returns to " + Place(caller) + AtLine(CallBefore(caller));
    Say(head + pointer + returns);
    const std::string named =
        frame.linked ? NamedArguments(at, frame.at - 4, registers) : std::string();
    Say("    " + (named.empty() ? Arguments(frame.at + 8, *bytes, caller == 0) : named));
    const std::string variables =
        frame.linked ? NamedVariables(at, frame.at - 4, registers) : std::string();
    if (!variables.empty()) {
        Say("    variables: " + variables);
    }
    return caller != 0;
}

// --- Memory

std::string Item(const u8* bytes, char size) {
    switch (size) {
        case 'b': return FormatText("%2.2X", *bytes);
        case 'w': return FormatText("%4.4X", LoadBytes<u16>(bytes));
        case 'q':
            return FormatText("%16.16llX", static_cast<unsigned long long>(LoadBytes<u64>(bytes)));
        case 'f': return FormatText("%.9g", static_cast<double>(LoadBytes<f32>(bytes)));
        case 'd': return FormatText("%.17g", LoadBytes<f64>(bytes));
        default: return FormatText("%8.8X", LoadBytes<u32>(bytes));
    }
}

std::string Characters(const u8* bytes, u32 count) {
    std::string text;
    for (u32 i = 0; i < count; ++i) {
        text += bytes[i] >= 32 && bytes[i] < 127 ? static_cast<char>(bytes[i]) : '.';
    }
    return text;
}

}  // namespace

void ShowLocation() {
    const u32 pc = HeaderLong(kHeaderPC);
    if (pc == 0) {
        return Say("=> the message has been run");
    }
    if (IsFirstOfMessage()) {
        const u32 at = HeaderLong(kHeaderSP) + 8;
        const std::string nested = MessageDepth() > 1 ? ", within another message" : "";
        Say(Arguments(at, kMessageArguments, true) + nested);
    }
    ShowLine(pc);
    Say("=> " + Place(pc) + "  " + NextInstruction());
}

void ShowRegisters() {
    std::string row;
    for (u32 r = 0; r < 16; ++r) {
        const auto value = LoadBytes<u64>(image + RegisterAddress(r));
        row += FormatText("%-4s%16.16llX", FormatText("R%u", r).c_str(),
                          static_cast<unsigned long long>(value));
        if (r % 4 == 3) {
            Say(row);
            row.clear();
        } else {
            row += "  ";
        }
    }
    Say("PC  " + Place(HeaderLong(kHeaderPC)) +
        FormatText("  SP  %8.8X  FP  %8.8X  flags  ", HeaderLong(kHeaderSP),
                   HeaderLong(kHeaderFP)) +
        FlagNames(image[kHeaderFlags]));
}

void ShowRegister(u32 place) {
    const auto quad = LoadBytes<u64>(image + place);
    Say(FormatText("R%u = 0x%16.16llX", (place - kHeaderRegisters) / 8,
                   static_cast<unsigned long long>(quad)));
    Say(FormatText("quad %lld, long %d, word %d, byte %d", static_cast<long long>(quad),
                   static_cast<i32>(quad), static_cast<i16>(quad), static_cast<i8>(quad)));
    Say(FormatText("double %.17g, float %.9g", std::bit_cast<f64>(quad),
                   static_cast<double>(std::bit_cast<f32>(static_cast<u32>(quad)))));
}

void ShowFrames(u32 count) {
    Frame frame = CurrentFrame();
    u32 pc = HeaderLong(kHeaderPC);
    if (pc == 0) {
        return Say("no function runs");
    }
    u32 fp = frame.linked ? frame.at - 4 : 0;
    FrameRegisters registers = RegistersNow();
    for (u32 number = 0; number < count; ++number) {
        u32 caller = 0;
        if (!ShowFrame(number, pc, frame, registers, caller)) {
            return;
        }
        // The stack grows downwards, so frames further out lie higher.
        const u32 next = frame.linked ? frame.callersFP : HeaderLong(kHeaderFP);
        if (next <= fp) {
            Say(FormatText("the chain of frames is broken: 0x%8.8X follows 0x%8.8X", next, fp));
            return;
        }
        const FunctionSymbol* const function = FunctionSymbolAt(number == 0 ? pc : CallBefore(pc));
        if (frame.linked && function != nullptr) {
            Unwind(registers, function->address, fp);
        }
        pc = caller;
        fp = next;
        frame = {fp + 4, Peek<u32>(fp).value_or(0), true};
    }
    Say("there are more frames");
}

void ShowMemory(u32 address, char size, u32 count) {
    const u32 bytes = BytesOfSize(size);
    if (bytes == 0) {
        return;
    }
    const u32 perRow = kRowBytes / bytes;
    u64 at = address;
    for (u32 left = count; left > 0;) {
        const u64 room = at < imageSize ? (imageSize - at) / bytes : 0;
        const u32 items = static_cast<u32>(std::min<u64>({left, perRow, room}));
        if (items == 0) {
            Say(FormatText("0x%8.8llX is outside the image", static_cast<unsigned long long>(at)));
            return;
        }
        std::string row = FormatText("%8.8X ", static_cast<u32>(at));
        for (u32 i = 0; i < items; ++i) {
            row += " " + Item(image + at + u64{i} * bytes, size);
        }
        if (size == 'b') {
            row.resize(11 + 3 * kRowBytes, ' ');
            row += Characters(image + at, items);
        }
        Say(row);
        at += u64{items} * bytes;
        left -= items;
    }
}

void ShowText(u32 address) {
    std::string text = "\"";
    u64 at = address;
    for (; at < imageSize && image[at] != 0 && at < u64{address} + kMostText; ++at) {
        const u8 c = image[at];
        if (c == '\n') {
            text += "\\n";
        } else if (c < 32 || c == 127) {
            text += FormatText("\\x%2.2X", c);
        } else {
            if (c == '"' || c == '\\') {
                text += '\\';
            }
            text += static_cast<char>(c);
        }
    }
    const u32 length = static_cast<u32>(at - address);
    if (at >= imageSize) {
        Say(FormatText("the text at 0x%8.8X has no end inside the image", address));
    } else if (image[at] != 0) {
        Say(text + "\"...");
    } else {
        Say(text + FormatText("\", %u byte%s", length, length == 1 ? "" : "s"));
    }
}

void ShowInstructions(u32 address, u32 count) {
    for (u32 i = 0; i < count; ++i) {
        const DisassembledInstruction line = InstructionAt(address);
        const std::string labels = LabelAt(address);
        if (!labels.empty()) {
            Say(labels);
        }
        const char* mark = IsBreakpointAt(address) ? " * " : "   ";
        if (address == HeaderLong(kHeaderPC)) {
            mark = "=> ";
        }
        Say(mark + FormatText("%8.8X  ", address) + line.text);
        if (line.length == 0) {
            return;
        }
        address += line.length;
    }
}

void ShowTrace(u32 count) {
    const u64 kept = std::min<u64>({count, pcTraceCount, kPcTraceSize});
    if (kept == 0) {
        Say("nothing has been executed");
    }
    for (u64 i = pcTraceCount - kept; i < pcTraceCount; ++i) {
        const u32 pc = pcTrace[i % kPcTraceSize].pc;
        Say(Place(pc) + "  " + InstructionAt(pc).text);
    }
}

u32 BytesOfSize(char size) {
    switch (size) {
        case 'b': return 1;
        case 'w': return 2;
        case 'l':
        case 'f': return 4;
        case 'q':
        case 'd': return 8;
        default: return 0;
    }
}

}  // namespace moxi
