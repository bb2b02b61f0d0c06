#include "vm/disassemble.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/bytes.h"
#include "vm/machine.h"
#include "vm/opcodes.h"

namespace moxi {

namespace {

// --- Numbers

std::string Hex(u64 value) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

std::string Signed(i64 value) {
    if (value >= -65536 && value <= 65535) {
        return std::to_string(value);
    }
    return Hex(static_cast<u64>(value));
}

std::string SignedLong(u32 bits) {
    const auto value = static_cast<i32>(bits);
    return value >= -65536 && value <= 65535 ? std::to_string(value) : Hex(bits);
}

// A number that reads as floating-point again: "-0.0", "1.5", "1e+20".
template <class T>
std::string Real(T value) {
    if (std::isnan(value)) {
        return "nan";
    }
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, value);
    std::string out(text, result.ptr);
    if (out.find_first_of(".en") == std::string::npos) {
        out += ".0";
    }
    return out;
}

// --- One instruction being put into words

struct Writer {
    std::span<const u32> words;
    const AddressNamer& namer;
    u32 next = 1;  // extension word that comes next

    u32 Word() { return words[next++]; }

    std::string Address(u32 address, AddressUse use) const {
        if (namer) {
            std::string name = namer(address, use);
            if (!name.empty()) {
                return name;
            }
        }
        return Hex(address);
    }

    // "+12", "-4", "+0x290", "+table" or nothing for 0.
    std::string Offset(u32 bits, bool mayBeAddress) const {
        if (bits == 0) {
            return {};
        }
        const auto value = static_cast<i32>(bits);
        if (value < 0 && value >= -65536) {
            return std::to_string(value);
        }
        if (mayBeAddress && value >= 512) {
            return "+" + Address(bits, AddressUse::Memory);
        }
        if (value >= 0 && value < 512) {
            return "+" + std::to_string(value);
        }
        return "+" + Hex(bits);
    }
};

std::string Register(u32 number) {
    const std::string digits = std::to_string(number);
    return number < 16 ? "R" + digits : "R(" + digits + ")";
}

std::string Padded(std::string mnemonic) {
    if (mnemonic.size() < 8) {
        mnemonic.resize(8, ' ');
    }
    return mnemonic + " ";
}

std::string Raw(std::span<const u32> words, const char* comment) {
    std::string text = Padded(".long");
    for (size_t i = 0; i < words.size(); ++i) {
        char number[16];
        std::snprintf(number, sizeof number, "0x%08X", words[i]);
        text += (i == 0 ? "" : ", ") + std::string(number);
    }
    return text + "  ; " + comment;
}

std::string Immediate(Writer& writer, const Operation& operation, u32 size) {
    const bool isReal = operation.sizes == Sizes::Float;
    const u64 low = writer.Word();
    if (size == 3) {
        const u64 bits = low | u64{writer.Word()} << 32;
        if (isReal) {
            return (bits == 0 ? "#.I " : "#") + Real(std::bit_cast<f64>(bits));
        }
        const auto value = static_cast<i64>(bits);
        return (value >= -8 && value <= 7 ? "#.I " : "#") + Signed(value);
    }
    const auto bits = static_cast<u32>(low);
    if (isReal) {
        return (bits == 0 ? "#.I " : "#") + Real(std::bit_cast<f32>(bits));
    }
    const auto value = static_cast<i32>(bits);
    if (value >= -8 && value <= 7) {
        return "#.I " + std::to_string(value);
    }
    if (size == 2 && value >= 512) {
        return "#" + writer.Address(bits, AddressUse::Value);
    }
    return "#" + SignedLong(bits);
}

std::string TwoOperandText(Writer& writer, const Operation& operation, Mode mode, Field field,
                           u32 size) {
    const u32 w = writer.words[0];
    const u32 reg = field == Field::Low ? LowRegister(w) : HighRegister(w);
    switch (mode) {
        case Mode::Register: return Register(reg);
        case Mode::Indexed: return "[" + Register(reg) + writer.Offset(writer.Word(), true) + "]";
        case Mode::Absolute: return "[" + writer.Address(writer.Word(), AddressUse::Memory) + "]";
        case Mode::Frame:
            return "[FP" + writer.Offset(static_cast<u32>(FrameOffset(w)), false) + "]";
        case Mode::Frame32: return "[FP" + writer.Offset(writer.Word(), false) + "]";
        case Mode::Quick: {
            const i32 value = field == Field::Low ? LowQuick(w) : HighQuick(w);
            const bool forced = operation.sizes == Sizes::Float && value != 0;
            return (forced ? "#.Q " : "#") + std::to_string(value);
        }
        case Mode::Immediate: return Immediate(writer, operation, size);
    }
    return {};
}

// The size suffix of an operation's number, empty where it has none.
std::string Suffix(const Operation& operation, u32 number) {
    const u32 size = number & 3;
    if (operation.sizes == Sizes::Single) {
        return {};
    }
    if (operation.sizes == Sizes::Float) {
        return size == 2 ? ".F" : ".D";
    }
    if (operation.sizes == Sizes::Any && size == 0) {
        return {};
    }
    constexpr const char* kSuffixes[] = {".B", ".W", ".L", ".Q"};
    return kSuffixes[size];
}

std::string TwoOperandInstruction(Writer& writer) {
    const u32 w = writer.words[0];
    const u32 number = TwoOperandNumber(w);
    const Operation* operation = FindOperation(kTwoOperandOperations, number);
    if (operation == nullptr) {
        return Raw(writer.words, "illegal opcode");
    }
    const u32 size = number & 3;
    if (operation->sizes == Sizes::Float && size < 2) {
        return Raw(writer.words, "floating point of an illegal size");
    }
    const OperandForm& form = FindForm(w);
    std::string a;
    const bool isPush = operation->first == static_cast<u8>(TwoOperand::Pushblock);
    if (isPush && form.code == kCountInWordForm) {
        a = "#" + std::to_string(writer.Word());  // the count itself
    } else {
        a = TwoOperandText(writer, *operation, form.a, form.aField, size);
    }
    const std::string b = TwoOperandText(writer, *operation, form.b, form.bField, size);
    return Padded(operation->mnemonic + Suffix(*operation, number)) + a + ", " + b;
}

std::string OneOperandInstruction(Writer& writer) {
    const u32 w = writer.words[0];
    const u32 number = OneOperandNumber(w);
    const Operation* operation = FindOperation(kOneOperandOperations, number);
    if (operation == nullptr) {
        return Raw(writer.words,
                   IsLegalOneOperand(w) ? "floating point of an illegal size" : "illegal opcode");
    }
    if (operation->sizes == Sizes::ByteToLong && (number & 3) == 3) {
        return Raw(writer.words, "no operation");
    }
    const std::string head = Padded(operation->mnemonic + Suffix(*operation, number));
    const Mode mode = FindOneOperandForm(w).mode;
    if (mode == Mode::Register) {
        return head + Register(WideRegister(w));
    }
    return head + TwoOperandText(writer, *operation, mode, Field::High, number & 3);
}

std::string TestBranchInstruction(Writer& writer) {
    const u32 w = writer.words[0];
    constexpr const char* kSuffixes[] = {".B ", ".W ", ".L ", ".Q "};
    std::string text = Padded(std::string("TB") + kConditions[BranchCondition(w)].suffix +
                              std::string(kSuffixes[TestSize(w)], 2));
    const u32 x = writer.Word();
    switch (static_cast<TestOperand>(TestMode(w))) {
        case TestOperand::Register: text += Register(x); break;
        case TestOperand::Absolute:
            text += "[" + writer.Address(x, AddressUse::Memory) + "]";
            break;
        case TestOperand::Indirect: text += "[" + Register(x) + "]"; break;
        case TestOperand::Frame32: text += "[FP" + writer.Offset(x, false) + "]"; break;
    }
    return text + ", " + writer.Address(BranchTarget(w), AddressUse::Code);
}

// PUSH of a constant whose words hold `value`; `.I` where a shorter instruction would do.
std::string PushConstant(const char* mnemonic, bool forced, const std::string& value) {
    return Padded(mnemonic) + (forced ? "#.I " : "#") + value;
}

bool FitsShortPush(i64 value) {
    return value >= -2097152 && value <= 2097151;
}

std::string SingleInstructionText(Writer& writer, const SingleInstruction& single) {
    const u32 w = writer.words[0];
    const std::string head = Padded(single.mnemonic);
    switch (single.operands) {
        case SingleOperands::None: return single.mnemonic;
        case SingleOperands::Target:
            return head + writer.Address(BranchTarget(w), AddressUse::Code);
        case SingleOperands::CallTarget:
            return head + writer.Address(writer.Word(), AddressUse::Code) + ", " +
                   std::to_string(ArgumentBytes(w));
        case SingleOperands::CallRegister:
            return head + Register(CallRegister(w)) + ", " + std::to_string(ArgumentBytes(w));
        case SingleOperands::Link:
            return head + std::to_string(LocalBytes(w)) + ", " + std::to_string(SavedRegisters(w));
        case SingleOperands::Return: return head + std::to_string(SavedRegisters(w));
        case SingleOperands::Word32: {
            const auto value = static_cast<i32>(writer.Word());
            const bool fits = value >= -32768 && value <= 65535;
            return PushConstant(single.mnemonic, true,
                                std::to_string(fits ? value : value & 65535));
        }
        case SingleOperands::Short16:
            return PushConstant(single.mnemonic, false, std::to_string((w >> 10) & 65535));
        case SingleOperands::Long32: {
            const u32 bits = writer.Word();
            if (FitsShortPush(static_cast<i32>(bits))) {
                return PushConstant(single.mnemonic, true, SignedLong(bits));
            }
            return PushConstant(single.mnemonic, false, writer.Address(bits, AddressUse::Value));
        }
        case SingleOperands::Short22:
            return PushConstant(single.mnemonic, false, Signed(static_cast<i32>(w) >> 10));
        case SingleOperands::Quad64: {
            const u64 low = writer.Word();
            const auto value = static_cast<i64>(low | u64{writer.Word()} << 32);
            return PushConstant(single.mnemonic, FitsShortPush(value), Signed(value));
        }
    }
    return {};
}

std::string Text(Writer& writer) {
    const u32 w = writer.words[0];
    switch (ClassOf(w)) {
        case InstructionClass::TwoOperands: return TwoOperandInstruction(writer);
        case InstructionClass::OneOperand: return OneOperandInstruction(writer);
        case InstructionClass::TestBranch: return TestBranchInstruction(writer);
        case InstructionClass::FlagBranch:
            return Padded(std::string("B") + kConditions[BranchCondition(w)].suffix) +
                   writer.Address(BranchTarget(w), AddressUse::Code);
        case InstructionClass::TableJump: {
            const u32 table = BranchTarget(w);
            const std::string offset =
                table == 0 ? std::string() : "+" + writer.Address(table, AddressUse::Memory);
            return Padded("JMP") + "[" + Register(TableRegister(w)) + offset + "]";
        }
        case InstructionClass::Single: return SingleInstructionText(writer, FindSingle(w));
        case InstructionClass::NoOperation: return Raw(writer.words, "no operation");
        case InstructionClass::Illegal:
        case InstructionClass::None: break;
    }
    return Raw(writer.words, "illegal opcode");
}

}  // namespace

u32 InstructionLength(u32 w) {
    switch (ClassOf(w)) {
        case InstructionClass::TwoOperands: {
            if (!IsLegalTwoOperand(w)) {
                return 4;
            }
            const OperandForm& form = FindForm(w);
            const bool isQuad = (TwoOperandNumber(w) & 3) == 3;
            return form.length + (form.b == Mode::Immediate && isQuad ? 4u : 0u);
        }
        case InstructionClass::OneOperand:
            return IsLegalOneOperand(w) ? FindOneOperandForm(w).length : 4;
        case InstructionClass::TestBranch: return 8;
        case InstructionClass::Single: return FindSingle(w).length;
        default: return 4;
    }
}

std::string Disassemble(std::span<const u32> words, const AddressNamer& namer) {
    if (words.empty()) {
        return "; nothing is here";
    }
    const u32 count = InstructionLength(words[0]) / 4;
    if (count > words.size()) {
        return Raw(words, "cut off");
    }
    Writer writer{words.first(count), namer};
    return Text(writer);
}

DisassembledInstruction DisassembleAt(std::span<const u8> memory, u32 address,
                                      const AddressNamer& namer) {
    if (address >= memory.size()) {
        return {"; outside the image", 0};
    }
    const u64 room = memory.size() - address;
    if (room < 4) {
        return {"; cut off by the end of the image", static_cast<u32>(room)};
    }
    u32 words[kMaxInstructionWords] = {};
    const u32 first = LoadBytes<u32>(memory.data() + address);
    const u64 wanted = std::min<u64>(InstructionLength(first), room / 4 * 4);
    std::memcpy(words, memory.data() + address, wanted);
    return {Disassemble({words, wanted / 4}, namer), static_cast<u32>(wanted)};
}

std::string FlagNames(u8 flags) {
    std::string names;
    if ((flags & kOdd) != 0) {
        names += 'O';
    }
    if ((flags & kZero) != 0) {
        names += 'Z';
    }
    if ((flags & kNeg) != 0) {
        names += 'N';
    }
    return names.empty() ? "-" : names;
}

}  // namespace moxi
