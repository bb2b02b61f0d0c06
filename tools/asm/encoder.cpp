#include "tools/asm/encoder.h"

#include <bit>
#include <unordered_map>

#include "base/bytes.h"
#include "tools/asm/operand.h"
#include "vm/opcodes.h"

namespace moxi {

namespace mxasm {

namespace {

enum class MnemonicKind : u8 { Two, One, Single, Branch, TestBranch };

struct Mnemonic {
    MnemonicKind kind;
    u32 index;  // of the row of its table, or the condition
};

std::unordered_map<std::string, Mnemonic> BuildMnemonics() {
    std::unordered_map<std::string, Mnemonic> map;
    u32 index = 0;
    for (const Operation& row : kTwoOperandOperations) {
        map[row.mnemonic] = {MnemonicKind::Two, index++};
    }
    index = 0;
    for (const Operation& row : kOneOperandOperations) {
        map[row.mnemonic] = {MnemonicKind::One, index++};
    }
    index = 0;
    for (const SingleInstruction& row : kSingleInstructions) {
        // Rows with a dot, such as PUSH.W, are found through the name before it.
        const std::string name = row.mnemonic;
        if (name.find('.') == std::string::npos) {
            map[name] = {MnemonicKind::Single, index};
        }
        ++index;
    }
    index = 0;
    for (const ConditionName& row : kConditions) {
        map[std::string("B") + row.suffix] = {MnemonicKind::Branch, index};
        map[std::string("TB") + row.suffix] = {MnemonicKind::TestBranch, index};
        ++index;
    }
    return map;
}

const std::unordered_map<std::string, Mnemonic>& Mnemonics() {
    static const std::unordered_map<std::string, Mnemonic> map = BuildMnemonics();
    return map;
}

struct Encoder {
    Sources& sources;
    SymbolTable& table;
    Cursor& cursor;
    EncodedInstruction& out;
    std::string name;    // mnemonic in upper case
    std::string suffix;  // upper case, without the dot
    SourcePosition suffixPosition;
    SourcePosition namePosition;

    bool Fail(const SourcePosition& position, const std::string& what) const {
        Report(sources, position, what);
        return false;
    }
    bool FailHere(const std::string& what) const { return Fail(PositionOf(cursor), what); }
    void Add(Slot slot, u32 word, const Expression& expression) const {
        out.values[out.valueCount++] = {slot, word, expression};
    }
    bool Comma() const {
        if (cursor.Accept(",")) {
            return true;
        }
        return FailHere(cursor.AtEnd() ? name + " needs another operand" : "expected a comma");
    }
};

// The size number of a suffix, or -1.
int SizeOfSuffix(const std::string& suffix) {
    if (suffix == "B") {
        return 0;
    }
    if (suffix == "W") {
        return 1;
    }
    if (suffix == "L" || suffix == "F") {
        return 2;
    }
    if (suffix == "Q" || suffix == "D") {
        return 3;
    }
    return -1;
}

bool IsRealSuffix(const std::string& suffix) {
    return suffix == "F" || suffix == "D";
}

// Instructions that only move bits treat integers and floating-point numbers alike, so .F and .D
// are accepted, too.
bool TakesRealSuffix(const std::string& name) {
    return name == "MOVE" || name == "PUSH" || name == "POP";
}

const char* SuffixesOf(Sizes sizes) {
    switch (sizes) {
        case Sizes::Float: return ".F or .D";
        case Sizes::ByteToLong: return ".B, .W or .L";
        default: return ".B, .W, .L or .Q";
    }
}

bool ChooseSize(const Encoder& encoder, Sizes sizes, u32& size) {
    const int number = SizeOfSuffix(encoder.suffix);
    const bool isReal = IsRealSuffix(encoder.suffix);
    if (sizes == Sizes::Single) {
        size = 0;
        if (encoder.suffix.empty()) {
            return true;
        }
        return encoder.Fail(encoder.suffixPosition, encoder.name + " takes no size");
    }
    if (encoder.suffix.empty()) {
        size = 0;
        if (sizes == Sizes::Any) {
            return true;
        }
        return encoder.Fail(encoder.namePosition,
                            encoder.name + " needs a size: " + SuffixesOf(sizes));
    }
    bool fits = number >= 0;
    if (sizes == Sizes::Float) {
        fits = isReal;
    } else if (isReal) {
        fits = TakesRealSuffix(encoder.name);
    } else if (sizes == Sizes::ByteToLong) {
        fits = number >= 0 && number < 3;
    }
    if (!fits) {
        return encoder.Fail(encoder.suffixPosition,
                            "the size of " + encoder.name + " is " + SuffixesOf(sizes));
    }
    size = static_cast<u32>(number);
    return true;
}

Slot ImmediateSlot(u32 size, bool isReal) {
    if (isReal) {
        return size == 3 ? Slot::ImmediateDouble : Slot::ImmediateFloat;
    }
    constexpr Slot kFields[] = {Slot::ImmediateByte, Slot::ImmediateWord, Slot::ImmediateLong,
                                Slot::ImmediateQuad};
    return kFields[size];
}

Slot QuickSlot(Field field, u32 size) {
    if (size == 2) {
        return field == Field::Low ? Slot::LowQuickLong : Slot::HighQuickLong;
    }
    return field == Field::Low ? Slot::LowQuick : Slot::HighQuick;
}

// The whole number that a known value stands for in an operand of that size. False for a value
// that is not known yet or has no short form.
bool ShortNumber(const Value& value, u32 size, bool isReal, i64& number) {
    if (value.state != ValueState::Known || value.base != Base::Absolute) {
        return false;
    }
    if (isReal) {
        // Zero is the one number whose bits are those of a small integer.
        u8 bytes[8] = {};
        const Slot slot = ImmediateSlot(size, true);
        if (!PutValue(slot, value, bytes).empty() || LoadBytes<u64>(bytes) != 0) {
            return false;
        }
        number = 0;
        return true;
    }
    if (value.isFloat) {
        return false;
    }
    number = size == 2 ? AsSignedLong(value.integer) : value.integer;
    return true;
}

// --- Two operands

Mode ModeOf(OperandKind kind) {
    switch (kind) {
        case OperandKind::Register: return Mode::Register;
        case OperandKind::Indexed: return Mode::Indexed;
        case OperandKind::Absolute: return Mode::Absolute;
        case OperandKind::Frame: return Mode::Frame;
        case OperandKind::Immediate: break;
    }
    return Mode::Immediate;
}

bool CheckRegister(const Encoder& encoder, const Operand& operand) {
    const bool hasRegister =
        operand.kind == OperandKind::Register || operand.kind == OperandKind::Indexed;
    if (!hasRegister || operand.reg < 16) {
        return true;
    }
    return encoder.Fail(operand.position, "the registers are R0 to R15");
}

// Adds an operand's field or extension word.
void PlaceOperand(const Encoder& encoder, const Operand& operand, Mode mode, Field field, u32 size,
                  bool isReal) {
    EncodedInstruction& out = encoder.out;
    if (mode == Mode::Register || mode == Mode::Indexed) {
        out.words[0] |= operand.reg << (field == Field::Low ? 5 : 16);
    }
    switch (mode) {
        case Mode::Register: break;
        case Mode::Frame:
            if (operand.hasValue) {
                encoder.Add(Slot::FrameOffset, 0, operand.value);
            }
            break;
        case Mode::Quick: encoder.Add(QuickSlot(field, size), 0, operand.value); break;
        case Mode::Indexed:
        case Mode::Frame32:
            if (operand.hasValue) {
                encoder.Add(Slot::Displacement, out.count, operand.value);
            }
            ++out.count;
            break;
        case Mode::Absolute:
            encoder.Add(Slot::Address, out.count, operand.value);
            ++out.count;
            break;
        case Mode::Immediate: {
            const Slot immediate = ImmediateSlot(size, isReal);
            encoder.Add(immediate, out.count, operand.value);
            out.count += size == 3 ? 2 : 1;
            break;
        }
    }
}

// The mode of an immediate: quick where the source asks for it, or where the value is already known
// and small enough.
Mode ChooseImmediate(const Encoder& encoder, const Operand& operand, u32 size, bool isReal) {
    if (operand.forced == Forced::Immediate) {
        return Mode::Immediate;
    }
    if (operand.forced == Forced::Quick) {
        return Mode::Quick;
    }
    i64 number = 0;
    const Value value = Evaluate(encoder.table, operand.value);
    const bool known = ShortNumber(value, size, isReal, number);
    return known && number >= -8 && number <= 7 ? Mode::Quick : Mode::Immediate;
}

bool EncodeTwo(Encoder& encoder, const Operation& operation) {
    u32 size = 0;
    if (!ChooseSize(encoder, operation.sizes, size)) {
        return false;
    }
    Operand a;
    Operand b;
    if (!ParseOperand(encoder.sources, encoder.table, encoder.cursor, a)) {
        return false;
    }
    if (!encoder.Comma()) {
        return false;
    }
    if (!ParseOperand(encoder.sources, encoder.table, encoder.cursor, b)) {
        return false;
    }
    if (!CheckRegister(encoder, a) || !CheckRegister(encoder, b)) {
        return false;
    }

    // With an indexed B, PUSHBLOCK takes the first extension word itself as the count.
    if (a.kind == OperandKind::Immediate) {
        const bool isPush = operation.first == static_cast<u8>(TwoOperand::Pushblock);
        if (!isPush || b.kind != OperandKind::Indexed) {
            return encoder.Fail(a.position, isPush ? "an immediate count goes with [Rn+offset] only"
                                                   : "the first operand cannot be an immediate");
        }
        a.kind = OperandKind::Absolute;
    }
    const bool isReal = IsRealSuffix(encoder.suffix);
    // Where the size may be left out, the operand is an address, which is a LONG whatever the size.
    const u32 valueSize = operation.sizes == Sizes::Any && size < 3 ? 2 : size;
    const Mode modeA = ModeOf(a.kind);
    Mode modeB = ModeOf(b.kind);
    if (modeB == Mode::Immediate) {
        modeB = ChooseImmediate(encoder, b, valueSize, isReal);
    }
    if (modeB == Mode::Frame && modeA == Mode::Frame) {
        modeB = Mode::Frame32;
    }
    const OperandForm* form = FindForm(modeA, modeB);
    if (form == nullptr) {
        return encoder.Fail(b.position, "these operands do not go together");
    }

    encoder.out.words[0] = form->code | (operation.first + size) << 9;
    encoder.out.count = 1;
    PlaceOperand(encoder, a, modeA, form->aField, valueSize, isReal);
    PlaceOperand(encoder, b, modeB, form->bField, valueSize, isReal);
    return true;
}

// --- One operand, and PUSH of a constant

// PUSH of a constant, in one of its three lengths: one word that holds the value itself, or a word
// and one or two extension words.
bool EncodePushConstant(Encoder& encoder, const Operand& operand) {
    u32 size = 0;
    if (!ChooseSize(encoder, Sizes::Integer, size)) {
        return false;
    }
    if (size < 1 || size > 3) {
        return encoder.Fail(encoder.suffixPosition, "a constant is pushed as .W .L or .Q");
    }
    const bool isReal = IsRealSuffix(encoder.suffix);
    i64 number = 0;
    const Value value = Evaluate(encoder.table, operand.value);
    const bool reaches =
        ShortNumber(value, size, isReal, number) && number >= -2097152 && number <= 2097151;
    bool isShort = size == 1 || reaches;
    if (operand.forced != Forced::None) {
        isShort = operand.forced == Forced::Quick;
    }

    constexpr Single kShort[] = {Single::PushWord, Single::PushLong, Single::PushQuad};
    constexpr Single kLong[] = {Single::PushWordExt, Single::PushLongExt, Single::PushQuadExt};
    EncodedInstruction& out = encoder.out;
    out.words[0] = static_cast<u32>(isShort ? kShort[size - 1] : kLong[size - 1]);
    out.count = isShort ? 1 : size == 3 ? 3 : 2;
    if (isShort) {
        encoder.Add(size == 1 ? Slot::Short16 : Slot::Short22, 0, operand.value);
    } else {
        encoder.Add(ImmediateSlot(size, isReal), 1, operand.value);
    }
    return true;
}

bool EncodeOne(Encoder& encoder, const Operation& operation) {
    Operand operand;
    if (!ParseOperand(encoder.sources, encoder.table, encoder.cursor, operand)) {
        return false;
    }
    if (operand.kind == OperandKind::Immediate) {
        if (operation.first == static_cast<u8>(OneOperand::Push)) {
            return EncodePushConstant(encoder, operand);
        }
        return encoder.Fail(operand.position, encoder.name + " takes no immediate");
    }
    u32 size = 0;
    if (!ChooseSize(encoder, operation.sizes, size)) {
        return false;
    }
    // The register number of this class has 16 bits, so that it reaches the header's other words.
    const u32 limit = operand.kind == OperandKind::Register ? 65535 : 15;
    if (operand.reg > limit) {
        return encoder.Fail(operand.position, limit == 15 ? "the registers are R0 to R15"
                                                          : "a register number is 0 to 65535");
    }
    EncodedInstruction& out = encoder.out;
    const Mode mode = ModeOf(operand.kind);
    out.words[0] = OneOperandCode(mode) | (operation.first + size) << 8;
    out.count = 1;
    PlaceOperand(encoder, operand, mode, Field::High, size, false);
    return true;
}

// --- Branches, jumps, calls and the rest

bool ParseValue(Encoder& encoder, Slot slot, u32 word) {
    Expression expression;
    if (!ParseExpression(encoder.sources, encoder.table, encoder.cursor, expression)) {
        return false;
    }
    encoder.Add(slot, word, expression);
    return true;
}

bool NoSuffix(const Encoder& encoder) {
    if (encoder.suffix.empty()) {
        return true;
    }
    return encoder.Fail(encoder.suffixPosition, encoder.name + " takes no size");
}

bool EncodeBranch(Encoder& encoder, u32 condition) {
    if (!NoSuffix(encoder)) {
        return false;
    }
    encoder.out.words[0] = kFlagBranchCode | condition << 7;
    encoder.out.count = 1;
    return ParseValue(encoder, Slot::Target, 0);
}

bool EncodeTestBranch(Encoder& encoder, u32 condition) {
    u32 size = 0;
    if (IsRealSuffix(encoder.suffix)) {
        encoder.suffix = "?";
    }
    if (!ChooseSize(encoder, Sizes::Integer, size)) {
        return false;
    }
    Operand operand;
    if (!ParseOperand(encoder.sources, encoder.table, encoder.cursor, operand)) {
        return false;
    }
    EncodedInstruction& out = encoder.out;
    out.count = 2;
    TestOperand mode = TestOperand::Register;
    switch (operand.kind) {
        case OperandKind::Register: out.words[1] = operand.reg; break;
        case OperandKind::Indexed:
            if (operand.hasValue) {
                return encoder.Fail(operand.position,
                                    "test-and-branch takes [Rn] without an offset");
            }
            mode = TestOperand::Indirect;
            out.words[1] = operand.reg;
            break;
        case OperandKind::Absolute:
            mode = TestOperand::Absolute;
            encoder.Add(Slot::Address, 1, operand.value);
            break;
        case OperandKind::Frame:
            mode = TestOperand::Frame32;
            if (operand.hasValue) {
                encoder.Add(Slot::Displacement, 1, operand.value);
            }
            break;
        case OperandKind::Immediate:
            return encoder.Fail(operand.position, encoder.name + " takes no immediate");
    }
    out.words[0] = static_cast<u32>(mode) << 3 | size << 5 | condition << 7;
    return encoder.Comma() && ParseValue(encoder, Slot::Target, 0);
}

bool EncodeJump(Encoder& encoder) {
    EncodedInstruction& out = encoder.out;
    out.count = 1;
    if (!encoder.cursor.Is("[")) {
        out.words[0] = static_cast<u32>(Single::Jmp);
        return ParseValue(encoder, Slot::Target, 0);
    }
    Operand operand;
    if (!ParseOperand(encoder.sources, encoder.table, encoder.cursor, operand)) {
        return false;
    }
    if (operand.kind != OperandKind::Indexed || operand.reg > 15) {
        return encoder.Fail(operand.position, "a jump through memory is JMP [Rn+table]");
    }
    out.words[0] = kTableJumpCode | operand.reg << 6;
    if (operand.hasValue) {
        encoder.Add(Slot::Target, 0, operand.value);
    }
    return true;
}

bool EncodeCallRegister(Encoder& encoder) {
    u32 reg = 0;
    bool bad = false;
    const SourcePosition position = PositionOf(encoder.cursor);
    if (!ParseRegister(encoder.sources, encoder.table, encoder.cursor, reg, bad) || reg > 15) {
        return !bad && encoder.Fail(position, "CALLR takes a register, R0 to R15");
    }
    encoder.out.words[0] |= reg << 12;
    if (!encoder.cursor.Accept(",")) {
        return true;
    }
    return ParseValue(encoder, Slot::ArgumentBytes, 0);
}

bool EncodeSingle(Encoder& encoder, const SingleInstruction* single) {
    if (encoder.name == "MODAL" && encoder.suffix == "N") {
        encoder.suffix.clear();
        encoder.out.words[0] = static_cast<u32>(Single::ModalNotify);
        encoder.out.count = 1;
        return true;
    }
    if (!NoSuffix(encoder)) {
        return false;
    }
    encoder.out.words[0] = single->code;
    encoder.out.count = single->length / 4;
    switch (single->operands) {
        case SingleOperands::Target: return EncodeJump(encoder);
        case SingleOperands::CallTarget:
            if (encoder.cursor.Now().kind == TokenKind::Name &&
                RegisterNumber(encoder.cursor.Now().text) >= 0) {
                return encoder.FailHere("a call through a register is CALLR");
            }
            if (!ParseValue(encoder, Slot::CallTarget, 1)) {
                return false;
            }
            if (!encoder.cursor.Accept(",")) {
                return true;
            }
            return ParseValue(encoder, Slot::ArgumentBytes, 0);
        case SingleOperands::CallRegister: return EncodeCallRegister(encoder);
        case SingleOperands::Link:
            if (encoder.cursor.AtEnd()) {
                return true;
            }
            if (!ParseValue(encoder, Slot::Locals, 0)) {
                return false;
            }
            if (!encoder.cursor.Accept(",")) {
                return true;
            }
            return ParseValue(encoder, Slot::Registers, 0);
        case SingleOperands::Return:
            if (encoder.cursor.AtEnd()) {
                return true;
            }
            return ParseValue(encoder, Slot::Registers, 0);
        default: return true;
    }
}

}  // namespace

bool IsMnemonic(const std::string& upperName) {
    return Mnemonics().contains(upperName);
}

std::vector<std::string> MnemonicNames() {
    std::vector<std::string> names;
    for (const auto& [name, mnemonic] : Mnemonics()) {
        names.push_back(name);
    }
    return names;
}

bool EncodeInstruction(Sources& sources, SymbolTable& table, Cursor& cursor,
                       EncodedInstruction& out) {
    out = {};
    Encoder encoder{sources, table, cursor, out, UpperCase(cursor.Now().text), {}, {}, {}};
    encoder.namePosition = PositionOf(cursor);
    const auto found = Mnemonics().find(encoder.name);
    if (found == Mnemonics().end()) {
        return encoder.FailHere(Quoted(cursor.Now().text) + " is no instruction or macro");
    }
    ++cursor.at;
    if (cursor.Now().kind == TokenKind::DotName && !cursor.Now().spaceBefore) {
        encoder.suffixPosition = PositionOf(cursor);
        encoder.suffix = UpperCase(cursor.Now().text.substr(1));
        ++cursor.at;
    }
    const Mnemonic mnemonic = found->second;
    switch (mnemonic.kind) {
        case MnemonicKind::Two: return EncodeTwo(encoder, kTwoOperandOperations[mnemonic.index]);
        case MnemonicKind::One: return EncodeOne(encoder, kOneOperandOperations[mnemonic.index]);
        case MnemonicKind::Single:
            return EncodeSingle(encoder, &kSingleInstructions[mnemonic.index]);
        case MnemonicKind::Branch: return EncodeBranch(encoder, mnemonic.index);
        case MnemonicKind::TestBranch: break;
    }
    return EncodeTestBranch(encoder, mnemonic.index);
}

}  // namespace mxasm

}  // namespace moxi
