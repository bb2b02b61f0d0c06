#pragma once
// The walk over a module's sections, shared by reader.cpp and reader_items.cpp. Every function that
// returns a bool is false after an error, which is noted in `error`; the first one counts.

#include <cstdio>
#include <string>
#include <vector>

#include "wasm/cursor.h"
#include "wasm/module.h"

namespace moxi {

enum class SectionId : u8 {
    Custom,
    Type,
    Import,
    Function,
    Table,
    Memory,
    Global,
    Export,
    Start,
    Element,
    Code,
    Data,
    DataCount,
};

struct ModuleReader {
    Module& module;
    ModuleError& error;
    ByteCursor cursor;          // over the whole file, or over the section that is being read
    const u8* start = nullptr;  // of the file
    u32 codeCount = 0;          // bodies in the code section

    // Notes an error at a place in the file. `function` names the one that it is in, with a comma
    // behind it.
    bool Fail(const std::string& text, const u8* at, const std::string& function = "") {
        if (error.failed) {
            return false;
        }
        error.failed = true;
        char place[32];
        std::snprintf(place, sizeof place, "offset 0x%llx)",
                      static_cast<unsigned long long>(at - start));
        error.text = text + " (" + function + place;
        return false;
    }
    bool Fail(const std::string& text) { return Fail(text, cursor.at); }
    // False when the cursor has run into something malformed.
    bool Good() { return cursor.failed == nullptr || Fail(cursor.failed); }

    // How many items a list has. No more than there are bytes left, so that it may be reserved for.
    bool Count(u32& count) {
        count = cursor.Unsigned32();
        if (!Good()) {
            return false;
        }
        // Every item takes one byte or more.
        return count <= cursor.Left() || Fail("unexpected end");
    }
    bool Name(std::string& name);
    bool Type(ValueType& type);
    // `tooLarge` is what is said of a limit above `highest`.
    bool ReadLimits(Limits& limits, u32 highest, const char* tooLarge);
    bool ReadTable();
    bool ReadMemory();
    bool GlobalType(Global& global);

    // A constant expression that gives a value of the type, up to and with its `end`.
    bool ReadConstant(ConstantExpression& expression, ValueType type);
    // The same of an element of a table: ref.func or ref.null.
    bool ReadReference(ConstantExpression& expression);
    // The number of a function that exists.
    bool FunctionIndex(u32& index);

    bool ReadTypes();
    bool ReadImports();
    bool ReadFunctions();
    bool ReadGlobals();
    bool ReadExports();
    bool ReadStart();
    bool ReadElement(ElementSegment& segment);
    bool ReadElements();
    // `number` is the function's, by which errors name it: the section of names comes later.
    bool ReadBody(Function& function, u32 number);
    bool ReadCode();
    bool ReadData();
    bool ReadSection(SectionId id);
    bool ReadAll();
};

}  // namespace moxi
