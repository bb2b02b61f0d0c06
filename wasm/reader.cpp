// Reads a module's sections. Every number that says how much follows is checked against what is
// there before anything is reserved for it.

#include <algorithm>
#include <set>

#include "wasm/module_reader.h"
#include "wasm/names.h"
#include "wasm/operators.h"

namespace moxi {

namespace {

constexpr u64 kMaxLocals = 50000;  // of one function, without its parameters
// Of a type, parameters and results each, as web browsers have it: the stack of a call has room for
// them.
constexpr u32 kMaxValues = 1000;

// Where a section stands in the order of the format. Its number says so, but for the data count,
// which was added late: it stands in front of the code.
u32 OrderOf(u8 id) {
    if (id == static_cast<u8>(SectionId::DataCount)) {
        return 2 * static_cast<u32>(SectionId::Code) - 1;
    }
    return 2u * id;
}

}  // namespace

bool ModuleReader::ReadTypes() {
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    module.types.resize(count);
    for (FunctionType& type : module.types) {
        const u8 form = cursor.Byte();
        if (!Good()) {
            return false;
        }
        if (form != 0x60) {
            return Fail("malformed function type", cursor.at - 1);
        }
        for (std::vector<ValueType>* list : {&type.parameters, &type.results}) {
            u32 length = 0;
            if (!Count(length)) {
                return false;
            }
            if (length > kMaxValues) {
                const bool isResults = list == &type.results;
                return Fail("more than " + std::to_string(kMaxValues) +
                            (isResults ? " results" : " parameters") + " are not supported");
            }
            list->resize(length);
            for (ValueType& item : *list) {
                if (!Type(item)) {
                    return false;
                }
            }
        }
    }
    return true;
}

bool ModuleReader::ReadImports() {
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    for (u32 i = 0; i < count; ++i) {
        Import import;
        if (!Name(import.module) || !Name(import.name)) {
            return false;
        }
        const u8 kind = cursor.Byte();
        if (!Good()) {
            return false;
        }
        if (kind == 4) {
            return Fail("exceptions are not supported (tag import)", cursor.at - 1);
        }
        if (kind > 3) {
            return Fail("malformed import kind", cursor.at - 1);
        }
        import.kind = static_cast<ExternalKind>(kind);
        switch (import.kind) {
            case ExternalKind::Function: {
                Function function;
                function.type = cursor.Unsigned32();
                if (!Good()) {
                    return false;
                }
                if (function.type >= module.types.size()) {
                    return Fail("unknown type");
                }
                function.isImported = true;
                function.import = i;
                import.index = static_cast<u32>(module.functions.size());
                module.functions.push_back(function);
                ++module.importedFunctions;
                break;
            }
            case ExternalKind::Table:
                if (!ReadTable()) {
                    return false;
                }
                module.tableIsImported = true;
                break;
            case ExternalKind::Memory:
                if (!ReadMemory()) {
                    return false;
                }
                module.memoryIsImported = true;
                break;
            case ExternalKind::Global: {
                Global global;
                if (!GlobalType(global)) {
                    return false;
                }
                global.isImported = true;
                import.index = static_cast<u32>(module.globals.size());
                module.globals.push_back(global);
                break;
            }
        }
        module.imports.push_back(std::move(import));
    }
    return true;
}

bool ModuleReader::ReadFunctions() {
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    for (u32 i = 0; i < count; ++i) {
        Function function;
        function.type = cursor.Unsigned32();
        if (!Good()) {
            return false;
        }
        if (function.type >= module.types.size()) {
            return Fail("unknown type " + std::to_string(function.type));
        }
        module.functions.push_back(function);
    }
    return true;
}

bool ModuleReader::ReadGlobals() {
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    for (u32 i = 0; i < count; ++i) {
        Global global;
        if (!GlobalType(global) || !ReadConstant(global.initial, global.type)) {
            return false;
        }
        module.globals.push_back(global);
    }
    return true;
}

bool ModuleReader::ReadExports() {
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    std::set<std::string> names;
    for (u32 i = 0; i < count; ++i) {
        Export item;
        if (!Name(item.name)) {
            return false;
        }
        const u8* const at = cursor.at;
        const u8 kind = cursor.Byte();
        item.index = cursor.Unsigned32();
        if (!Good()) {
            return false;
        }
        if (kind == 4) {
            return Fail("exceptions are not supported (tag export)", at);
        }
        if (kind > 3) {
            return Fail("malformed export kind", at);
        }
        item.kind = static_cast<ExternalKind>(kind);
        u64 known = 0;
        switch (item.kind) {
            case ExternalKind::Function: known = module.functions.size(); break;
            case ExternalKind::Table: known = module.hasTable ? 1 : 0; break;
            case ExternalKind::Memory: known = module.hasMemory ? 1 : 0; break;
            case ExternalKind::Global: known = module.globals.size(); break;
        }
        constexpr const char* kKinds[] = {"function", "table", "memory", "global"};
        if (item.index >= known) {
            return Fail(std::string("unknown ") + kKinds[kind] + " " + std::to_string(item.index),
                        at);
        }
        if (!names.insert(item.name).second) {
            return Fail("duplicate export name", at);
        }
        module.exports.push_back(std::move(item));
    }
    return true;
}

bool ModuleReader::ReadStart() {
    module.hasStart = true;
    if (!FunctionIndex(module.start)) {
        return false;
    }
    const FunctionType& type = module.types[module.functions[module.start].type];
    return (type.parameters.empty() && type.results.empty()) || Fail("start function");
}

bool ModuleReader::ReadElement(ElementSegment& segment) {
    const u8* const at = cursor.at;
    const u32 flags = cursor.Unsigned32();
    if (!Good()) {
        return false;
    }
    if (flags > 7) {
        return Fail("malformed elements segment kind", at);
    }
    const bool isActive = (flags & 1) == 0;
    segment.mode = isActive           ? ElementSegment::Mode::Active
                   : (flags & 2) == 0 ? ElementSegment::Mode::Passive
                                      : ElementSegment::Mode::Declared;
    if (isActive) {
        const u32 table = (flags & 2) != 0 ? cursor.Unsigned32() : 0;
        if (!Good()) {
            return false;
        }
        if (table != 0 || !module.hasTable) {
            return Fail("unknown table " + std::to_string(table), at);
        }
        if (!ReadConstant(segment.offset, ValueType::I32)) {
            return false;
        }
    }
    const bool asExpressions = (flags & 4) != 0;
    if ((flags & 3) != 0) {
        const u8 kind = cursor.Byte();
        if (!Good()) {
            return false;
        }
        if (asExpressions && kind == 0x6F) {
            return Fail("reference types are not supported (externref elements)", at);
        }
        if (kind != (asExpressions ? 0x70 : 0x00)) {
            return Fail("malformed element kind", at);
        }
    }
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    segment.items.resize(count);
    for (ConstantExpression& item : segment.items) {
        if (asExpressions) {
            if (!ReadReference(item)) {
                return false;
            }
            continue;
        }
        u32 index = 0;
        if (!FunctionIndex(index)) {
            return false;
        }
        item.kind = ConstantExpression::Kind::Function;
        item.value = index;
    }
    return true;
}

bool ModuleReader::ReadElements() {
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    module.elements.resize(count);
    return std::all_of(module.elements.begin(), module.elements.end(),
                       [this](ElementSegment& segment) { return ReadElement(segment); });
}

bool ModuleReader::ReadBody(Function& function, u32 number) {
    const u32 size = cursor.Unsigned32();
    const u8* const at = cursor.Bytes(size);
    if (!Good()) {
        return false;
    }
    const std::string name = "function " + std::to_string(number) + ", ";
    ByteCursor body{at, at + size, nullptr};
    const u32 groups = body.Unsigned32();
    u64 total = 0;
    for (u32 i = 0; i < groups && body.failed == nullptr; ++i) {
        Locals locals;
        locals.count = body.Unsigned32();
        const u8* const typeAt = body.at;
        const u8 type = body.Byte();
        if (body.failed != nullptr) {
            break;
        }
        if (type == 0x7B) {
            return Fail("SIMD is not supported (local)", typeAt, name);
        }
        if (type == 0x70 || type == 0x6F) {
            return Fail("reference types are not supported (local)", typeAt, name);
        }
        if (type < 0x7C || type > 0x7F) {
            return Fail("malformed value type", typeAt, name);
        }
        locals.type = static_cast<ValueType>(type);
        total += locals.count;
        if (total > 0xFFFFFFFF) {
            return Fail("too many locals", typeAt, name);
        }
        if (locals.count != 0) {
            function.locals.push_back(locals);
        }
    }
    if (body.failed != nullptr) {
        return Fail(body.failed, at);
    }
    if (total > kMaxLocals) {
        return Fail("more than " + std::to_string(kMaxLocals) + " locals are not supported", at,
                    name);
    }
    function.body = body.at;
    function.end = body.end;
    return true;
}

bool ModuleReader::ReadCode() {
    module.codeOffset = static_cast<u32>(cursor.at - start);
    if (!Count(codeCount)) {
        return false;
    }
    const u64 declared = module.functions.size() - module.importedFunctions;
    if (codeCount != declared) {
        return Fail("function and code section have inconsistent lengths");
    }
    for (u32 i = 0; i < codeCount; ++i) {
        const u32 number = module.importedFunctions + i;
        if (!ReadBody(module.functions[number], number)) {
            return false;
        }
    }
    return true;
}

bool ModuleReader::ReadData() {
    u32 count = 0;
    if (!Count(count)) {
        return false;
    }
    if (module.hasDataCount && count != module.dataCount) {
        return Fail("data count and data section have inconsistent lengths");
    }
    for (u32 i = 0; i < count; ++i) {
        DataSegment segment;
        const u8* const at = cursor.at;
        const u32 flags = cursor.Unsigned32();
        if (!Good()) {
            return false;
        }
        if (flags > 2) {
            return Fail("malformed data segment kind", at);
        }
        segment.isPassive = flags == 1;
        if (!segment.isPassive) {
            const u32 memory = flags == 2 ? cursor.Unsigned32() : 0;
            if (!Good()) {
                return false;
            }
            if (memory != 0 || !module.hasMemory) {
                return Fail("unknown memory " + std::to_string(memory), at);
            }
            if (!ReadConstant(segment.offset, ValueType::I32)) {
                return false;
            }
        }
        const u32 size = cursor.Unsigned32();
        const u8* const bytes = cursor.Bytes(size);
        if (!Good()) {
            return false;
        }
        segment.bytes = {reinterpret_cast<const char*>(bytes), size};
        module.data.push_back(segment);
    }
    return true;
}

bool ModuleReader::ReadSection(SectionId id) {
    switch (id) {
        case SectionId::Custom: {
            CustomSection section;
            if (!Name(section.name)) {
                return false;
            }
            section.bytes = {reinterpret_cast<const char*>(cursor.at), cursor.Left()};
            cursor.at = cursor.end;
            module.custom.push_back(std::move(section));
            return true;
        }
        case SectionId::Type: return ReadTypes();
        case SectionId::Import: return ReadImports();
        case SectionId::Function: return ReadFunctions();
        case SectionId::Table: {
            u32 count = 0;
            if (!Count(count)) {
                return false;
            }
            for (u32 i = 0; i < count; ++i) {
                if (!ReadTable()) {
                    return false;
                }
            }
            return true;
        }
        case SectionId::Memory: {
            u32 count = 0;
            if (!Count(count)) {
                return false;
            }
            for (u32 i = 0; i < count; ++i) {
                if (!ReadMemory()) {
                    return false;
                }
            }
            return true;
        }
        case SectionId::Global: return ReadGlobals();
        case SectionId::Export: return ReadExports();
        case SectionId::Start: return ReadStart();
        case SectionId::Element: return ReadElements();
        case SectionId::Code: return ReadCode();
        case SectionId::Data: return ReadData();
        case SectionId::DataCount:
            module.hasDataCount = true;
            module.dataCount = cursor.Unsigned32();
            return Good();
    }
    return true;
}

bool ModuleReader::ReadAll() {
    const ByteCursor file = cursor;
    if (cursor.Left() < 4 || cursor.Word() != 0x6D736100) {
        return Fail("magic header not detected", start);
    }
    if (cursor.Left() < 4 || cursor.Word() != 1) {
        return Fail("unknown binary version", start + 4);
    }
    u32 order = 0;
    while (!cursor.AtEnd()) {
        const u8* const at = cursor.at;
        const u8 id = cursor.Byte();
        const u32 size = cursor.Unsigned32();
        const u8* const contents = cursor.Bytes(size);
        if (!Good()) {
            return false;
        }
        if (id == 13) {
            return Fail("exceptions are not supported (tag section)", at);
        }
        if (id > static_cast<u8>(SectionId::DataCount)) {
            return Fail("malformed section id", at);
        }
        if (id != 0) {
            if (OrderOf(id) <= order) {
                return Fail("unexpected content after last section", at);
            }
            order = OrderOf(id);
        }
        const ByteCursor next = cursor;
        cursor = {contents, contents + size, nullptr};
        if (!ReadSection(static_cast<SectionId>(id))) {
            return false;
        }
        if (!cursor.AtEnd()) {
            return Fail("section size mismatch");
        }
        cursor = next;
    }
    cursor.at = file.end;
    if (codeCount != module.functions.size() - module.importedFunctions) {
        return Fail("function and code section have inconsistent lengths");
    }
    if (module.hasDataCount && module.dataCount != module.data.size()) {
        return Fail("data count and data section have inconsistent lengths");
    }
    return true;
}

std::string NameOfFunction(const Module& module, u32 index) {
    const std::string& name = module.functions[index].name;
    return name.empty() ? "function " + std::to_string(index) : name;
}

const Export* FindExport(const Module& module, std::string_view name, ExternalKind kind) {
    for (const Export& item : module.exports) {
        if (item.kind == kind && item.name == name) {
            return &item;
        }
    }
    return nullptr;
}

bool ReadModule(std::string_view bytes, Module& module, ModuleError& error) {
    module.bytes = bytes;
    const u8* const start = reinterpret_cast<const u8*>(bytes.data());
    ModuleReader reader{module, error, {start, start + bytes.size(), nullptr}, start, 0};
    if (!reader.ReadAll()) {
        return false;
    }
    ReadNames(module);
    return true;
}

}  // namespace moxi
