#pragma once
// XML property lists, read with pugixml: the information file of a game and the interface file.

#include <optional>
#include <pugixml.hpp>
#include <string>

namespace moxi {

// The top dictionary of a property list file; false, with nothing loaded, when the file cannot be
// read or is not an XML property list.
bool LoadPlist(const std::string& path, pugi::xml_document& document, pugi::xml_node& dictionary);

// The value element that follows <key>NAME</key>; an empty node when there is none.
pugi::xml_node PlistValue(pugi::xml_node dictionary, const char* name);

// The string value of a key; nothing when the key is missing or no string.
std::optional<std::string> PlistString(pugi::xml_node dictionary, const char* name);

// The text as the value of an element.
std::string EscapedXml(const std::string& text);

}  // namespace moxi
