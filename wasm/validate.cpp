// Checks the bodies of functions: the types on the stack, the nesting, the indices, in one pass
// with a stack of types and one of open blocks (Haas and others, Bringing the Web up to Speed with
// WebAssembly, 2017). What is translated has passed here, so that the translation itself need not
// look at these again.

#include <algorithm>
#include <cstdio>

#include "wasm/block_type.h"
#include "wasm/cursor.h"
#include "wasm/module.h"
#include "wasm/operators.h"

namespace moxi {

namespace {

// Stands for a value of any type, which code that is never reached may take from the stack.
constexpr ValueType kAny = ValueType::None;

// A block that has begun and not ended.
struct Frame {
    Opcode opcode = Opcode::Block;
    BlockType type;
    u64 height = 0;            // of the stack where it began, without its parameters
    bool unreachable = false;  // what follows in it is never reached
};

// Checks one function. What returns a bool is false after an error.
struct Validator {
    const Module& module;
    ModuleError& error;
    u32 index;  // of the function
    ByteCursor cursor{};
    std::vector<ValueType> locals{};
    std::vector<ValueType> stack{};
    std::vector<Frame> frames{};
    const u8* at = nullptr;  // the instruction

    bool Fail(const std::string& text) {
        if (error.failed) {
            return false;
        }
        error.failed = true;
        const auto* const start = reinterpret_cast<const u8*>(module.bytes.data());
        char place[32];
        std::snprintf(place, sizeof place, ", offset 0x%llx)",
                      static_cast<unsigned long long>(at - start));
        error.text = text + " (" + NameOfFunction(module, index) + place;
        return false;
    }
    bool Mismatch() { return Fail("type mismatch"); }
    bool Good() { return cursor.failed == nullptr || Fail(cursor.failed); }

    void Push(ValueType type) { stack.push_back(type); }
    void PushAll(const TypeList& types) {
        for (u32 i = 0; i < types.count; ++i) {
            Push(types.items[i]);
        }
    }
    // In code that is never reached an empty stack gives values of any type.
    bool PopAny(ValueType& type) {
        const Frame& frame = frames.back();
        if (stack.size() == frame.height) {
            type = kAny;
            return frame.unreachable || Mismatch();
        }
        type = stack.back();
        stack.pop_back();
        return true;
    }
    bool Pop(ValueType expected) {
        ValueType type = kAny;
        if (!PopAny(type)) {
            return false;
        }
        return type == expected || type == kAny || expected == kAny || Mismatch();
    }
    bool PopAll(const TypeList& types) {
        for (u32 i = types.count; i > 0; --i) {
            if (!Pop(types.items[i - 1])) {
                return false;
            }
        }
        return true;
    }
    void SetUnreachable() {
        stack.resize(frames.back().height);
        frames.back().unreachable = true;
    }
    // What a branch to a block takes along: a loop begins anew, any other block ends.
    TypeList LabelTypes(const Frame& frame) const {
        return frame.opcode == Opcode::Loop ? frame.type.parameters : frame.type.results;
    }
    // Reads the number of a block, counted from the innermost, for what a branch to it takes along.
    bool Label(TypeList& types) {
        const u32 depth = cursor.Unsigned32();
        if (!Good()) {
            return false;
        }
        if (depth >= frames.size()) {
            return Fail("unknown label");
        }
        types = LabelTypes(frames[frames.size() - 1 - depth]);
        return true;
    }

    bool ReadType(BlockType& type);
    bool PushFrame(Opcode opcode, const BlockType& type);
    bool PopFrame(Frame& frame);
    bool BranchTable();
    bool CallType(const FunctionType& type);
    bool Local(ValueType& type);
    bool MemoryAccess(const MemoryOperator& row);
    bool NeedMemory() { return module.hasMemory || Fail("unknown memory 0"); }
    bool ZeroByte(const char* what);
    bool SelectTyped();
    bool PrefixedOperator();
    bool Unsupported(u8 code);
    bool Control(u8 code, bool& done);
    bool Variable(u8 code);
    bool Instruction();
    bool Run();
};

bool Validator::ReadType(BlockType& type) {
    const char* const wrong = ReadBlockType(module, cursor, type);
    if (!Good()) {
        return false;
    }
    return wrong == nullptr || Fail(wrong);
}

bool Validator::PushFrame(Opcode opcode, const BlockType& type) {
    frames.push_back({opcode, type, stack.size(), false});
    PushAll(type.parameters);
    return true;
}

bool Validator::PopFrame(Frame& frame) {
    frame = frames.back();
    if (!PopAll(frame.type.results)) {
        return false;
    }
    if (stack.size() != frame.height) {
        return Mismatch();
    }
    frames.pop_back();
    return true;
}

bool Validator::BranchTable() {
    if (!Pop(ValueType::I32)) {
        return false;
    }
    const u32 count = cursor.Unsigned32();
    if (!Good()) {
        return false;
    }
    if (count > cursor.Left()) {
        return Fail("unexpected end");
    }
    // The default label comes last. Every label must fit what is on the stack, so that what is
    // popped for one of them is pushed again for the next.
    std::vector<ValueType> held;
    u32 arity = 0;
    for (u32 i = 0; i <= count; ++i) {
        TypeList types;
        if (!Label(types)) {
            return false;
        }
        if (i == 0) {
            arity = types.count;
        }
        if (types.count != arity) {
            return Mismatch();
        }
        held.clear();
        for (u32 k = types.count; k > 0; --k) {
            ValueType type = kAny;
            if (!PopAny(type)) {
                return false;
            }
            if (type != types.items[k - 1] && type != kAny) {
                return Mismatch();
            }
            held.push_back(type);
        }
        for (u64 k = held.size(); k > 0; --k) {
            Push(held[k - 1]);
        }
    }
    for (u32 k = 0; k < arity; ++k) {
        ValueType type = kAny;
        if (!PopAny(type)) {
            return false;
        }
    }
    SetUnreachable();
    return true;
}

// What a call does to the stack.
bool Validator::CallType(const FunctionType& type) {
    if (!PopAll(ListOf(type.parameters))) {
        return false;
    }
    PushAll(ListOf(type.results));
    return true;
}

bool Validator::Local(ValueType& type) {
    const u32 number = cursor.Unsigned32();
    if (!Good()) {
        return false;
    }
    if (number >= locals.size()) {
        return Fail("unknown local " + std::to_string(number));
    }
    type = locals[number];
    return true;
}

bool Validator::MemoryAccess(const MemoryOperator& row) {
    if (!NeedMemory()) {
        return false;
    }
    const u32 alignment = cursor.Unsigned32();
    cursor.Unsigned32();
    if (!Good()) {
        return false;
    }
    if (alignment >= 32) {
        return Fail("malformed memop flags");
    }
    if ((u64{1} << alignment) > row.bytes) {
        return Fail("alignment must not be larger than natural");
    }
    if (row.isStore) {
        return Pop(row.type) && Pop(ValueType::I32);
    }
    if (!Pop(ValueType::I32)) {
        return false;
    }
    Push(row.type);
    return true;
}

bool Validator::ZeroByte(const char* what) {
    const u8 byte = cursor.Byte();
    if (!Good()) {
        return false;
    }
    return byte == 0 || Fail(what);
}

bool Validator::SelectTyped() {
    const u32 count = cursor.Unsigned32();
    const u8 byte = cursor.Byte();
    if (!Good()) {
        return false;
    }
    if (count != 1) {
        return Fail("invalid result arity");
    }
    if (byte == 0x70 || byte == 0x6F) {
        return Fail("reference types are not supported (select)");
    }
    if (byte < 0x7C || byte > 0x7F) {
        return Fail("malformed value type");
    }
    const auto type = static_cast<ValueType>(byte);
    if (!Pop(ValueType::I32) || !Pop(type) || !Pop(type)) {
        return false;
    }
    Push(type);
    return true;
}

// Instructions behind the byte Opcode::Prefix.
bool Validator::PrefixedOperator() {
    const u32 code = cursor.Unsigned32();
    if (!Good()) {
        return false;
    }
    if (code <= kLastSaturating - kFirstSaturating) {
        const PlainOperator& row = kOperators.plain[kFirstSaturating + code];
        if (!Pop(row.first)) {
            return false;
        }
        Push(row.result);
        return true;
    }
    const auto popThree = [this] {
        return Pop(ValueType::I32) && Pop(ValueType::I32) && Pop(ValueType::I32);
    };
    switch (static_cast<Prefixed>(code)) {
        case Prefixed::MemoryInit:
        case Prefixed::DataDrop: {
            const u32 segment = cursor.Unsigned32();
            if (!Good()) {
                return false;
            }
            const bool isInit = static_cast<Prefixed>(code) == Prefixed::MemoryInit;
            if (isInit && (!ZeroByte("zero byte expected") || !NeedMemory())) {
                return false;
            }
            if (!module.hasDataCount) {
                return Fail("data count section required");
            }
            if (segment >= module.dataCount) {
                return Fail("unknown data segment " + std::to_string(segment));
            }
            return !isInit || popThree();
        }
        case Prefixed::MemoryCopy:
            if (!ZeroByte("zero byte expected") || !ZeroByte("zero byte expected")) {
                return false;
            }
            return NeedMemory() && popThree();
        case Prefixed::MemoryFill:
            return ZeroByte("zero byte expected") && NeedMemory() && popThree();
        case Prefixed::TableInit:
        case Prefixed::ElemDrop: {
            const u32 segment = cursor.Unsigned32();
            const bool isInit = static_cast<Prefixed>(code) == Prefixed::TableInit;
            const u32 table = isInit ? cursor.Unsigned32() : 0;
            if (!Good()) {
                return false;
            }
            if (isInit && (table != 0 || !module.hasTable)) {
                return Fail("unknown table " + std::to_string(table));
            }
            if (segment >= module.elements.size()) {
                return Fail("unknown elem segment " + std::to_string(segment));
            }
            return !isInit || popThree();
        }
        case Prefixed::TableCopy: {
            const u32 to = cursor.Unsigned32();
            const u32 from = cursor.Unsigned32();
            if (!Good()) {
                return false;
            }
            if (to != 0 || from != 0 || !module.hasTable) {
                return Fail("unknown table");
            }
            return popThree();
        }
    }
    if (code <= 17) {
        return Fail("reference types are not supported (table operator)");
    }
    return Fail("illegal opcode 0xfc " + std::to_string(code));
}

// Refuses a byte that is no instruction we have; names the feature that it belongs to, if it is
// known.
bool Validator::Unsupported(u8 code) {
    if (code == 0xFD) {
        return Fail("SIMD is not supported");
    }
    if (code == 0xFE) {
        return Fail("threads are not supported (atomic operator)");
    }
    if (code == 0x12 || code == 0x13) {
        return Fail("tail calls are not supported");
    }
    if (code == 0x14 || code == 0x15) {
        return Fail("typed function references are not supported");
    }
    if ((code >= 0x06 && code <= 0x0A) || code == 0x18 || code == 0x19 || code == 0x1F) {
        return Fail("exceptions are not supported");
    }
    if (code == 0x25 || code == 0x26) {
        return Fail("reference types are not supported (table operator)");
    }
    if (code >= 0xD0 && code <= 0xD6) {
        return Fail("reference types are not supported");
    }
    if (code == 0xFB) {
        return Fail("garbage collection is not supported");
    }
    char text[32];
    std::snprintf(text, sizeof text, "illegal opcode 0x%02x", code);
    return Fail(text);
}

// Checks an instruction of control flow. `done` becomes whether it was one.
bool Validator::Control(u8 code, bool& done) {
    done = true;
    switch (static_cast<Opcode>(code)) {
        case Opcode::Unreachable: SetUnreachable(); return true;
        case Opcode::Nop: return true;
        case Opcode::Block:
        case Opcode::Loop:
        case Opcode::If: {
            BlockType type;
            if (!ReadType(type)) {
                return false;
            }
            if (code == static_cast<u8>(Opcode::If) && !Pop(ValueType::I32)) {
                return false;
            }
            return PopAll(type.parameters) && PushFrame(static_cast<Opcode>(code), type);
        }
        case Opcode::Else: {
            Frame frame;
            if (frames.back().opcode != Opcode::If) {
                return Fail("unexpected else");
            }
            return PopFrame(frame) && PushFrame(Opcode::Else, frame.type);
        }
        case Opcode::End: {
            Frame frame;
            if (!PopFrame(frame)) {
                return false;
            }
            // Without an else the parameters are the results.
            if (frame.opcode == Opcode::If &&
                !SameTypes(frame.type.parameters, frame.type.results)) {
                return Mismatch();
            }
            PushAll(frame.type.results);
            return true;
        }
        case Opcode::Br: {
            TypeList types;
            if (!Label(types) || !PopAll(types)) {
                return false;
            }
            SetUnreachable();
            return true;
        }
        case Opcode::BrIf: {
            TypeList types;
            if (!Label(types) || !Pop(ValueType::I32) || !PopAll(types)) {
                return false;
            }
            PushAll(types);
            return true;
        }
        case Opcode::BrTable: return BranchTable();
        case Opcode::Return:
            if (!PopAll(frames.front().type.results)) {
                return false;
            }
            SetUnreachable();
            return true;
        case Opcode::Call: {
            const u32 callee = cursor.Unsigned32();
            if (!Good()) {
                return false;
            }
            if (callee >= module.functions.size()) {
                return Fail("unknown function " + std::to_string(callee));
            }
            return CallType(module.types[module.functions[callee].type]);
        }
        case Opcode::CallIndirect: {
            const u32 type = cursor.Unsigned32();
            const u32 table = cursor.Unsigned32();
            if (!Good()) {
                return false;
            }
            if (table != 0 || !module.hasTable) {
                return Fail("unknown table " + std::to_string(table));
            }
            if (type >= module.types.size()) {
                return Fail("unknown type " + std::to_string(type));
            }
            return Pop(ValueType::I32) && CallType(module.types[type]);
        }
        default: done = false; return true;
    }
}

// Instructions on locals and globals.
bool Validator::Variable(u8 code) {
    switch (static_cast<Opcode>(code)) {
        case Opcode::LocalGet: {
            ValueType type = kAny;
            if (!Local(type)) {
                return false;
            }
            Push(type);
            return true;
        }
        case Opcode::LocalSet: {
            ValueType type = kAny;
            return Local(type) && Pop(type);
        }
        case Opcode::LocalTee: {
            ValueType type = kAny;
            if (!Local(type) || !Pop(type)) {
                return false;
            }
            Push(type);
            return true;
        }
        default: break;
    }
    const u32 number = cursor.Unsigned32();
    if (!Good()) {
        return false;
    }
    if (number >= module.globals.size()) {
        return Fail("unknown global " + std::to_string(number));
    }
    const Global& global = module.globals[number];
    if (code == static_cast<u8>(Opcode::GlobalGet)) {
        Push(global.type);
        return true;
    }
    return Pop(global.type) && (global.isMutable || Fail("global is immutable"));
}

bool Validator::Instruction() {
    at = cursor.at;
    const u8 code = cursor.Byte();
    if (!Good()) {
        return false;
    }
    bool done = false;
    if (!Control(code, done)) {
        return false;
    }
    if (done) {
        return true;
    }
    if (code >= static_cast<u8>(Opcode::LocalGet) && code <= static_cast<u8>(Opcode::GlobalSet)) {
        return Variable(code);
    }
    const PlainOperator& plain = kOperators.plain[code];
    if (plain.text != nullptr && code < kFirstSaturating) {
        if (plain.second != ValueType::None && !Pop(plain.second)) {
            return false;
        }
        if (!Pop(plain.first)) {
            return false;
        }
        Push(plain.result);
        return true;
    }
    const MemoryOperator& memory = kOperators.memory[code];
    if (memory.text != nullptr) {
        return MemoryAccess(memory);
    }
    switch (static_cast<Opcode>(code)) {
        case Opcode::I32Const:
            cursor.Signed32();
            Push(ValueType::I32);
            return Good();
        case Opcode::I64Const:
            cursor.Signed64();
            Push(ValueType::I64);
            return Good();
        case Opcode::F32Const:
            cursor.Word();
            Push(ValueType::F32);
            return Good();
        case Opcode::F64Const:
            cursor.Quad();
            Push(ValueType::F64);
            return Good();
        case Opcode::Drop: return Pop(kAny);
        case Opcode::Select: {
            ValueType first = kAny;
            ValueType second = kAny;
            if (!Pop(ValueType::I32) || !PopAny(first) || !PopAny(second)) {
                return false;
            }
            if (first != second && first != kAny && second != kAny) {
                return Mismatch();
            }
            Push(first == kAny ? second : first);
            return true;
        }
        case Opcode::SelectTyped: return SelectTyped();
        case Opcode::MemorySize:
            if (!ZeroByte("zero byte expected") || !NeedMemory()) {
                return false;
            }
            Push(ValueType::I32);
            return true;
        case Opcode::MemoryGrow:
            if (!ZeroByte("zero byte expected") || !NeedMemory() || !Pop(ValueType::I32)) {
                return false;
            }
            Push(ValueType::I32);
            return true;
        case Opcode::Prefix: return PrefixedOperator();
        default: return Unsupported(code);
    }
}

bool Validator::Run() {
    const Function& function = module.functions[index];
    const FunctionType& type = module.types[function.type];
    locals = type.parameters;
    for (const Locals& run : function.locals) {
        locals.insert(locals.end(), run.count, run.type);
    }
    cursor = {function.body, function.end, nullptr};
    at = cursor.at;
    BlockType whole;
    whole.results = ListOf(type.results);
    frames.push_back({Opcode::Block, whole, 0, false});
    while (!frames.empty()) {
        if (cursor.AtEnd()) {
            return Fail("END opcode expected");
        }
        if (!Instruction()) {
            return false;
        }
    }
    at = cursor.at;
    return cursor.AtEnd() || Fail("section size mismatch");
}

}  // namespace

bool ValidateFunctions(const Module& module, ModuleError& error) {
    for (u32 i = module.importedFunctions; i < module.functions.size(); ++i) {
        if (!Validator{module, error, i}.Run()) {
            return false;
        }
    }
    return true;
}

}  // namespace moxi
