#include "kit/service_files.h"

#include <cctype>

#include "base/log.h"
#include "sys/services.h"

namespace moxi {

namespace {

std::string LowerCase(std::string_view text) {
    std::string lower;
    for (const char c : text) {
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return lower;
}

bool IsAddress(ServiceType type) {
    switch (type) {
        case ServiceType::Text:
        case ServiceType::Data:
        case ServiceType::Buffer:
        case ServiceType::Words:
        case ServiceType::Address:
        case ServiceType::Points:
        case ServiceType::Clip:
        case ServiceType::Info:
        case ServiceType::Window:
        case ServiceType::Event: return true;
        default: return false;
    }
}

size_t ArgumentCount(const Service& service) {
    size_t count = 0;
    while (count < service.arguments.size() && service.arguments[count].type != ServiceType::None) {
        ++count;
    }
    return count;
}

// Each argument as `item` makes it, with ", " between them.
template <class Item>
std::string Arguments(const Service& service, const Item& item) {
    std::string text;
    for (size_t i = 0; i < ArgumentCount(service); ++i) {
        text += (i > 0 ? ", " : "") + item(service.arguments[i]);
    }
    return text;
}

// --- Rust

// Names that mean something in the language get a line behind them.
std::string RustName(std::string_view name) {
    const std::string text(name);
    return text == "type" || text == "move" || text == "in" ? text + "_" : text;
}

std::string RustType(ServiceType type) {
    switch (type) {
        case ServiceType::None: return "()";
        case ServiceType::Signed: return "i32";
        case ServiceType::Wide:
        case ServiceType::Size: return "i64";
        case ServiceType::Flag: return "bool";
        case ServiceType::Text:
        case ServiceType::Data: return "*const u8";
        case ServiceType::Buffer:
        case ServiceType::Address: return "*mut u8";
        case ServiceType::Words: return "*mut u32";
        case ServiceType::Points: return "*const i32";
        default: return IsAddress(type) ? "*mut i32" : "u32";
    }
}

std::string RustWord(const ServiceArgument& argument) {
    const std::string name = RustName(argument.name);
    if (argument.type == ServiceType::Wide) {
        return name + " as u32, (" + name + " >> 32) as u32";
    }
    return RustType(argument.type) == "u32" ? name : name + " as u32";
}

std::string RustFunction(const Service& service) {
    const std::string result = RustType(service.result);
    const std::string parameters = Arguments(service, [](const ServiceArgument& argument) {
        return RustName(argument.name) + ": " + RustType(argument.type);
    });
    const std::string words = Arguments(service, RustWord);
    std::string call =
        FormatText("call(&[0x%4.4X", service.command) + (words.empty() ? "" : ", ") + words + "])";
    if (service.result == ServiceType::None) {
        call += ";";
    }
    if (service.result == ServiceType::Flag) {
        call += " as u32 != 0";
    }
    if (result != "()" && result != "i64" && result != "bool") {
        call += " as u32 as " + result;
    }
    return "\n/// " + std::string(service.effect) + "\n#[inline]\npub unsafe fn " +
           LowerCase(service.name) + "(" + parameters + ")" +
           (result == "()" ? "" : " -> " + result) + " {\n    " + call + "\n}\n";
}

// --- AssemblyScript

std::string ScriptType(ServiceType type) {
    if (type == ServiceType::None) {
        return "void";
    }
    if (type == ServiceType::Signed) {
        return "i32";
    }
    if (type == ServiceType::Wide || type == ServiceType::Size) {
        return "i64";
    }
    if (type == ServiceType::Flag) {
        return "bool";
    }
    return IsAddress(type) ? "usize" : "u32";
}

std::string ScriptFunction(const Service& service) {
    const std::string result = ScriptType(service.result);
    std::string text =
        "\n/** " + std::string(service.effect) + " */\nexport function " + LowerCase(service.name) +
        "(" +
        Arguments(service,
                  [](const ServiceArgument& argument) {
                      return std::string(argument.name) + ": " + ScriptType(argument.type);
                  }) +
        "): " + result + " {\n";
    text += FormatText("  store<u32>(words, 0x%4.4X);\n", service.command);
    u32 place = 4;
    for (size_t i = 0; i < ArgumentCount(service); ++i) {
        const ServiceArgument& argument = service.arguments[i];
        const std::string type = argument.type == ServiceType::Wide ? "i64" : "u32";
        const std::string name(argument.name);
        text += FormatText("  store<%s>(words, <%s>%s, %u);\n", type.c_str(), type.c_str(),
                           name.c_str(), place);
        place += argument.type == ServiceType::Wide ? 8 : 4;
    }
    if (result == "void") {
        return text + "  sys(words);\n}\n";
    }
    if (result == "bool") {
        return text + "  return <u32>sys(words) != 0;\n}\n";
    }
    if (result == "i64") {
        return text + "  return sys(words);\n}\n";
    }
    return text + "  return <" + result + "><u32>sys(words);\n}\n";
}

}  // namespace

std::string RustServices() {
    std::string page =
        "// The services as functions. Made from sys/services.def by `mxservices rust`; edit the "
        "table, not\n// this file. Texts end with a NUL. An address must lead to what the service "
        "reads or writes there;\n// that is all that makes them unsafe.\n\n"
        "#[link(wasm_import_module = \"moxi\")]\nextern \"C\" {\n"
        "    #[link_name = \"sys\"]\n    fn service(words: *const u32) -> i64;\n}\n\n"
        "#[inline]\nunsafe fn call(words: &[u32]) -> i64 {\n    service(words.as_ptr())\n}\n";
    for (const Service& service : kServices) {
        page += RustFunction(service);
    }
    return page;
}

std::string AssemblyScriptServices() {
    std::string page =
        "// The services as functions. Made from sys/services.def by `mxservices assemblyscript`; "
        "edit the\n// table, not this file. Texts are addresses of UTF-8 that ends with a NUL: "
        "`text(\"...\")` of moxi.ts.\n\n"
        "// @ts-ignore: decorator\n@external(\"moxi\", \"sys\")\n"
        "declare function sys(words: usize): i64;\n\n"
        "const words = memory.data(64, 8);\n";
    for (const Service& service : kServices) {
        page += ScriptFunction(service);
    }
    return page;
}

}  // namespace moxi
