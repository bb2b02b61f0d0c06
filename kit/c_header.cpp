#include "kit/service_files.h"

#include <cctype>
#include <sstream>
#include <vector>

#include "base/log.h"
#include "sys/services.h"

namespace moxi {

namespace {

constexpr size_t kLineLimit = 100;

constexpr const char* kTop =
    R"(// The services as functions, included by moxi.h. Made from sys/services.def by `mxservices`; edit
// the table, not this file.
// clang-format off
#ifndef MOXI_SERVICES_H
#define MOXI_SERVICES_H

)";

constexpr const char* kFrame = R"(
// A service is inlined in every build: a lock that it takes belongs to the function that calls it.
#define MOXI_SERVICE static inline __attribute__((always_inline, unused))
#define MOXI_WORD(address) ((uint32_t)(uintptr_t)(address))
)";

const char* CType(ServiceType type) {
    switch (type) {
        case ServiceType::None: return "void";
        case ServiceType::Number: return "uint32_t";
        case ServiceType::Signed: return "int32_t";
        case ServiceType::Wide: return "int64_t";
        case ServiceType::Flag: return "bool";
        case ServiceType::Colour: return "moxi_colour";
        case ServiceType::Size: return "moxi_size";
        case ServiceType::Text: return "const char*";
        case ServiceType::Data: return "const void*";
        case ServiceType::Buffer:
        case ServiceType::Address: return "void*";
        case ServiceType::Words: return "uint32_t*";
        case ServiceType::Points: return "const moxi_point*";
        case ServiceType::Clip: return "moxi_area*";
        case ServiceType::Info: return "moxi_info*";
        case ServiceType::Window: return "moxi_window*";
        case ServiceType::Event: return "moxi_event*";
        case ServiceType::File: return "moxi_file";
        case ServiceType::Bitmap: return "moxi_bitmap";
        case ServiceType::Block: return "moxi_block";
    }
    return "";
}

// The word or words of an argument in the parameter block.
std::string Words(const ServiceArgument& argument) {
    const std::string name(argument.name);
    const std::string type = CType(argument.type);
    if (type.ends_with('*')) {
        return "MOXI_WORD(" + name + ")";
    }
    if (argument.type == ServiceType::Wide) {
        return "(uint32_t)" + name + ", (uint32_t)((uint64_t)" + name + " >> 32)";
    }
    return type == "int32_t" || type == "bool" ? "(uint32_t)" + name : name;
}

// What is given back, made of the call.
std::string Returned(ServiceType type) {
    const std::string call = "moxi_sys(words)";
    switch (type) {
        case ServiceType::None: return call + ";";
        case ServiceType::Wide: return "return " + call + ";";
        case ServiceType::Signed: return "return (int32_t)" + call + ";";
        case ServiceType::Flag: return "return (uint32_t)" + call + " != 0;";
        case ServiceType::Address: return "return (void*)(uintptr_t)(uint32_t)" + call + ";";
        case ServiceType::Size:
            return "const uint64_t size = (uint64_t)" + call +
                   ";\n    const moxi_size result = {(int)(uint32_t)size, (int)(size >> 32)};\n"
                   "    return result;";
        default: return "return (uint32_t)" + call + ";";
    }
}

std::string LowerCase(std::string_view text) {
    std::string lower;
    for (const char c : text) {
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return lower;
}

// The items with ", " between them, in lines that go on under the text before them.
std::string Joined(const std::string& before, const std::vector<std::string>& items,
                   const std::string& after, size_t indent) {
    std::string text = before;
    size_t column = before.size();
    for (size_t i = 0; i < items.size(); ++i) {
        const std::string item = items[i] + (i + 1 < items.size() ? "," : after);
        if (i > 0 && column + 1 + item.size() > kLineLimit) {
            text += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (i > 0) {
            text += " ";
            ++column;
        }
        text += item;
        column += item.size();
    }
    return items.empty() ? text + after : text;
}

std::string Comment(std::string_view effect) {
    std::istringstream words{std::string(effect)};
    std::string text = "//";
    size_t column = 2;
    for (std::string word; words >> word;) {
        if (column + 1 + word.size() > kLineLimit) {
            text += "\n//";
            column = 2;
        }
        text += " " + word;
        column += 1 + word.size();
    }
    return text + "\n";
}

std::string Function(const Service& service) {
    std::vector<std::string> parameters;
    std::vector<std::string> words = {"MOXI_SYS_" + std::string(service.name)};
    for (const ServiceArgument& argument : service.arguments) {
        if (argument.type == ServiceType::None) {
            break;
        }
        parameters.push_back(std::string(CType(argument.type)) + " " + std::string(argument.name));
        words.push_back(Words(argument));
    }
    if (parameters.empty()) {
        parameters.emplace_back("void");
    }
    const std::string head = std::string("MOXI_SERVICE ") + CType(service.result) + " moxi_" +
                             LowerCase(service.name) + "(";
    return "\n" + Comment(service.effect) + Joined(head, parameters, ") {", head.size()) + "\n" +
           Joined("    const uint32_t words[] = {", words, "};", 8) + "\n    " +
           Returned(service.result) + "\n}\n";
}

const char* GroupTitle(u32 group) {
    switch (group << 8) {
        case kFileServices: return "files";
        case kTimeServices: return "time";
        case kTextServices: return "text and memory";
        case kGraphicsServices: return "graphics";
        case kSoundServices: return "music and sounds";
        case kHostServices: return "the desktop and the host";
        case kSettingsServices: return "the settings file";
        default: return "the heap";
    }
}

// "moxi_file_open(const char* name, uint32_t mode)"
std::string Prototype(const Service& service) {
    std::string arguments;
    for (const ServiceArgument& argument : service.arguments) {
        if (argument.type == ServiceType::None) {
            break;
        }
        arguments += (arguments.empty() ? "" : ", ") + std::string(CType(argument.type)) + " " +
                     std::string(argument.name);
    }
    return "moxi_" + LowerCase(service.name) + "(" + arguments + ")";
}

// A text as a cell of a table.
std::string Cell(std::string_view text) {
    std::string cell;
    for (const char c : text) {
        cell += c == '|' ? std::string("\\|") : std::string(1, c);
    }
    return cell;
}

}  // namespace

std::string ServicesHeader() {
    std::string page = kTop;
    page += "enum {\n";
    for (const Service& service : kServices) {
        page += FormatText("    MOXI_SYS_%s = 0x%4.4X,  // %s\n", std::string(service.name).c_str(),
                           service.command, std::string(service.title).c_str());
    }
    page += "};\n";
    page += kFrame;
    for (const Service& service : kServices) {
        page += Function(service);
    }
    return page + "\n#endif\n";
}

std::string ServicesPage() {
    std::string page =
        "# The services in C\n\n"
        "This page is made from the table in `sys/services.def` by `mxservices page`; edit the "
        "table, not "
        "the page.\nThe functions are those of `moxi.h`; [c.md](c.md) tells the rest. Constants "
        "that are "
        "named here begin with\n`MOXI_` in C.\n";
    u32 group = ~0u;
    for (const Service& service : kServices) {
        if (service.command >> 8 != group) {
            group = service.command >> 8;
            page +=
                FormatText("\n## Group %u: %s\n\n| Function | Gives | Effect |\n|---|---|---|\n",
                           group, GroupTitle(group));
        }
        page += "| `" + Prototype(service) + "` | `" + CType(service.result) + "` | " +
                Cell(service.effect) + " |\n";
    }
    return page;
}

}  // namespace moxi
