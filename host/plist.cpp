#include "host/plist.h"

#include <cstring>

#include "base/read_file.h"

namespace moxi {

namespace {

// A list names a game or a menu.
constexpr u64 kLargestList = 16 << 20;

}  // namespace

bool LoadPlist(const std::string& path, pugi::xml_document& document, pugi::xml_node& dictionary) {
    std::string bytes;
    if (!ReadWholeFile(path, kLargestList, bytes).empty()) {
        return false;
    }
    if (!document.load_buffer(bytes.data(), bytes.size())) {
        return false;
    }
    dictionary = document.child("plist").child("dict");
    return static_cast<bool>(dictionary);
}

pugi::xml_node PlistValue(pugi::xml_node dictionary, const char* name) {
    for (const pugi::xml_node key : dictionary.children("key")) {
        if (std::strcmp(key.text().get(), name) != 0) {
            continue;
        }
        pugi::xml_node value = key.next_sibling();
        while (value && value.type() != pugi::node_element) {
            value = value.next_sibling();
        }
        return value;
    }
    return {};
}

std::optional<std::string> PlistString(pugi::xml_node dictionary, const char* name) {
    const pugi::xml_node value = PlistValue(dictionary, name);
    if (!value || std::strcmp(value.name(), "string") != 0) {
        return std::nullopt;
    }
    return std::string(value.text().get());
}

std::string EscapedXml(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&': escaped += "&amp;"; break;
            case '<': escaped += "&lt;"; break;
            case '>': escaped += "&gt;"; break;
            default: escaped += c;
        }
    }
    return escaped;
}

}  // namespace moxi
