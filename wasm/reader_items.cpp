// What a module's sections are made of: names, types, limits, constant expressions.

#include "base/utf8.h"
#include "wasm/module_reader.h"
#include "wasm/operators.h"

namespace moxi {

namespace {

constexpr u32 kMaxPages = 65536;  // of 64 KiB: 4 GiB

}  // namespace

bool ModuleReader::Name(std::string& name) {
    const u32 length = cursor.Unsigned32();
    const u8* const at = cursor.Bytes(length);
    if (!Good()) {
        return false;
    }
    name.assign(reinterpret_cast<const char*>(at), length);
    return IsUtf8(name) || Fail("malformed UTF-8 encoding", at);
}

bool ModuleReader::Type(ValueType& type) {
    const u8* const at = cursor.at;
    const u8 byte = cursor.Byte();
    if (!Good()) {
        return false;
    }
    if (byte == 0x7B) {
        return Fail("SIMD is not supported", at);
    }
    if (byte == 0x70 || byte == 0x6F) {
        return Fail("reference types are not supported as values", at);
    }
    if (byte < 0x7C || byte > 0x7F) {
        return Fail("malformed value type", at);
    }
    type = static_cast<ValueType>(byte);
    return true;
}

bool ModuleReader::ReadLimits(Limits& limits, u32 highest, const char* tooLarge) {
    const u8* const at = cursor.at;
    const u8 flags = cursor.Byte();
    if (!Good()) {
        return false;
    }
    if ((flags & 2) != 0 && flags < 8) {
        return Fail("threads are not supported (shared memory)", at);
    }
    if ((flags & 4) != 0 && flags < 8) {
        return Fail("memory64 is not supported", at);
    }
    if (flags > 1) {
        return Fail("malformed limits flags", at);
    }
    limits.minimum = cursor.Unsigned32();
    limits.hasMaximum = flags == 1;
    if (limits.hasMaximum) {
        limits.maximum = cursor.Unsigned32();
    }
    if (!Good()) {
        return false;
    }
    if (limits.minimum > highest || (limits.hasMaximum && limits.maximum > highest)) {
        return Fail(tooLarge, at);
    }
    if (limits.hasMaximum && limits.maximum < limits.minimum) {
        return Fail("size minimum must not be greater than maximum", at);
    }
    return true;
}

bool ModuleReader::ReadTable() {
    const u8* const at = cursor.at;
    const u8 type = cursor.Byte();
    if (!Good()) {
        return false;
    }
    if (type == 0x6F) {
        return Fail("reference types are not supported (externref table)", at);
    }
    if (type != 0x70) {
        return Fail("malformed reference type", at);
    }
    if (module.hasTable) {
        return Fail("multiple tables: reference types are not supported beyond one table", at);
    }
    module.hasTable = true;
    return ReadLimits(module.table, 0xFFFFFFFF, "table size");
}

bool ModuleReader::ReadMemory() {
    if (module.hasMemory) {
        return Fail("multiple memories are not supported");
    }
    module.hasMemory = true;
    return ReadLimits(module.memory, kMaxPages, "memory size must be at most 65536 pages (4GiB)");
}

bool ModuleReader::GlobalType(Global& global) {
    if (!Type(global.type)) {
        return false;
    }
    const u8 byte = cursor.Byte();
    if (!Good()) {
        return false;
    }
    if (byte > 1) {
        return Fail("malformed mutability", cursor.at - 1);
    }
    global.isMutable = byte == 1;
    return true;
}

bool ModuleReader::FunctionIndex(u32& index) {
    const u8* const at = cursor.at;
    index = cursor.Unsigned32();
    if (!Good()) {
        return false;
    }
    if (index < module.functions.size()) {
        return true;
    }
    return Fail("unknown function " + std::to_string(index), at);
}

// A constant expression of a type, up to and with its `end`.
bool ModuleReader::ReadConstant(ConstantExpression& expression, ValueType type) {
    const u8* const at = cursor.at;
    const u8 code = cursor.Byte();
    expression.kind = ConstantExpression::Kind::Value;
    switch (static_cast<Opcode>(code)) {
        case Opcode::I32Const:
            expression.type = ValueType::I32;
            expression.value = static_cast<u32>(cursor.Signed32());
            break;
        case Opcode::I64Const:
            expression.type = ValueType::I64;
            expression.value = static_cast<u64>(cursor.Signed64());
            break;
        case Opcode::F32Const:
            expression.type = ValueType::F32;
            expression.value = cursor.Word();
            break;
        case Opcode::F64Const:
            expression.type = ValueType::F64;
            expression.value = cursor.Quad();
            break;
        case Opcode::GlobalGet: {
            const u32 index = cursor.Unsigned32();
            if (!Good()) {
                return false;
            }
            // Only imported globals have their value before the module starts.
            if (index >= module.globals.size() || !module.globals[index].isImported) {
                return Fail("unknown global " + std::to_string(index), at);
            }
            if (module.globals[index].isMutable) {
                return Fail("constant expression required", at);
            }
            expression.kind = ConstantExpression::Kind::Global;
            expression.type = module.globals[index].type;
            expression.value = index;
            break;
        }
        case Opcode::End: return Good() && Fail("type mismatch", at);
        default:
            if (!Good()) {
                return false;
            }
            if (code == 0xD0 || code == 0xD2) {
                return Fail("reference types are not supported in a global", at);
            }
            return Fail("constant expression required", at);
    }
    const u8 end = cursor.Byte();
    if (!Good()) {
        return false;
    }
    if (end != static_cast<u8>(Opcode::End)) {
        // A second value, an operator, or no `end` at all.
        return Fail("constant expression required", cursor.at - 1);
    }
    return expression.type == type || Fail("type mismatch", at);
}

// An element given as an expression: ref.func or ref.null.
bool ModuleReader::ReadReference(ConstantExpression& expression) {
    const u8* const at = cursor.at;
    const u8 code = cursor.Byte();
    if (code == 0xD2) {
        u32 index = 0;
        if (!FunctionIndex(index)) {
            return false;
        }
        expression.kind = ConstantExpression::Kind::Function;
        expression.value = index;
    } else if (code == 0xD0) {
        const u8 type = cursor.Byte();
        if (!Good()) {
            return false;
        }
        if (type != 0x70) {
            return Fail("type mismatch", at);
        }
        expression.kind = ConstantExpression::Kind::Null;
    } else {
        return Good() && Fail("constant expression required", at);
    }
    const u8 end = cursor.Byte();
    if (!Good()) {
        return false;
    }
    return end == static_cast<u8>(Opcode::End) || Fail("constant expression required", at);
}

}  // namespace moxi
