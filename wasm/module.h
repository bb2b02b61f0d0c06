#pragma once
// A WebAssembly module as it was read: plain records, owned by the caller, valid as long as the
// bytes that they were read from (bodies and segments point into them).

#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

enum class ValueType : u8 { None = 0, I32 = 0x7F, I64 = 0x7E, F32 = 0x7D, F64 = 0x7C };

struct FunctionType {
    std::vector<ValueType> parameters;
    std::vector<ValueType> results;
    bool operator==(const FunctionType&) const = default;
};

enum class ExternalKind : u8 { Function, Table, Memory, Global };

struct Limits {
    u32 minimum = 0;
    u32 maximum = 0;
    bool hasMaximum = false;
};

struct Import {
    std::string module;
    std::string name;
    ExternalKind kind = ExternalKind::Function;
    u32 index = 0;  // among the functions or globals of the module; 0 for a table or a memory
};

struct Export {
    std::string name;
    ExternalKind kind = ExternalKind::Function;
    u32 index = 0;
};

// A value that is known when the module starts: a constant, an imported global or a function.
struct ConstantExpression {
    enum class Kind : u8 { Value, Global, Function, Null } kind = Kind::Value;
    ValueType type = ValueType::None;  // of a Value or Global
    u64 value = 0;                     // bits, or an index
};

struct Global {
    ValueType type = ValueType::I32;
    bool isMutable = false;
    bool isImported = false;
    ConstantExpression initial;
};

struct Locals {
    u32 count = 0;
    ValueType type = ValueType::I32;
};

struct Function {
    u32 type = 0;
    bool isImported = false;
    u32 import = 0;              // of an imported one, in Module::imports
    std::vector<Locals> locals;  // runs of equal types, parameters not included
    const u8* body = nullptr;    // the first instruction
    const u8* end = nullptr;     // behind the last `end`
    std::string name;            // from the name section, else empty
};

struct ElementSegment {
    enum class Mode : u8 { Active, Passive, Declared } mode = Mode::Active;
    ConstantExpression offset;              // in the table; of an Active one
    std::vector<ConstantExpression> items;  // Function or Null
};

struct DataSegment {
    bool isPassive = false;
    ConstantExpression offset;  // in memory; of one that is not passive
    std::string_view bytes;
};

struct CustomSection {
    std::string name;
    std::string_view bytes;
};

// The members stand in the order of the file's sections; there are so few modules that the gaps
// between members cost nothing.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Module {
    std::string_view bytes;  // the whole file
    std::vector<FunctionType> types;
    std::vector<Import> imports;
    std::vector<Function> functions;  // imported ones first
    u32 importedFunctions = 0;
    bool hasTable = false;
    bool tableIsImported = false;
    Limits table;  // in entries
    bool hasMemory = false;
    bool memoryIsImported = false;
    Limits memory;  // in pages of 64 KiB
    std::vector<Global> globals;
    std::vector<Export> exports;
    bool hasStart = false;
    u32 start = 0;
    std::vector<ElementSegment> elements;
    std::vector<DataSegment> data;
    bool hasDataCount = false;
    u32 dataCount = 0;  // as its own section declares it; the same as data.size()
    std::vector<CustomSection> custom;
    std::vector<std::string> globalNames;  // from the name section; may be shorter than `globals`
    u32 codeOffset = 0;                    // of the code section's contents, in the file
};

// What is wrong with a module, in words for its author: the first thing that was found, one line.
struct ModuleError {
    bool failed = false;
    std::string text;
};

// What people call a function: the name section's name, else "function N". `index` is one of
// `module.functions`.
std::string NameOfFunction(const Module& module, u32 index);

// The export of that name and kind, owned by the module; null where there is none.
const Export* FindExport(const Module& module, std::string_view name, ExternalKind kind);

// Reads and checks the whole module but for the bodies of its functions. `module` is empty before.
// Any bytes are welcome: false when `error` says what is wrong, and `module` is of no use then.
bool ReadModule(std::string_view bytes, Module& module, ModuleError& error);

// Checks the bodies of all functions of a module that has been read. False when `error` says what
// is wrong.
bool ValidateFunctions(const Module& module, ModuleError& error);

}  // namespace moxi
