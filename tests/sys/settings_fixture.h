#pragma once
// The settings services under names, through the dispatcher.

#include "service_fixture.h"

namespace moxi {

class SettingsTest : public ServiceTest {
  protected:
    u32 Load(std::string_view name) { return Call(0x0800, {Text(name)}); }
    u32 Save(std::string_view name) { return Call(0x0801, {Text(name)}); }
    u32 Section(std::string_view name) { return Call(0x0803, {Text(name)}); }
    u32 Key(std::string_view key) { return Call(0x0804, {Text(key)}); }
    u32 AddSection(std::string_view name) { return Call(0x0807, {Text(name)}); }
    u32 Raw(std::string_view key, std::string_view text) {
        return Call(0x0808, {Text(key), Text(text)});
    }
    static u32 DeleteSection() { return Call(0x0809, {}); }
    u32 DeleteKey(std::string_view key) { return Call(0x080A, {Text(key)}); }
    u32 Number(std::string_view key, u32 value, u32 style = 0) {
        return Call(0x080E, {Text(key), value, style});
    }
    u32 String(std::string_view key, std::string_view text) {
        return Call(0x080F, {Text(key), Text(text)});
    }
    static u32 AtEnd() { return Call(0x080D, {}); }

    // Results and what stands in the buffer afterwards, as "result:text".
    std::string ReadNumber() {
        const u32 address = Room(4);
        Store<u32>(address, 0xEEEEEEEE);
        const u32 result = Call(0x0805, {address});
        return std::to_string(result) + ":" + std::to_string(moxi::Load<u32>(address));
    }
    std::string ReadString(u32 size = 100) { return ReadText(0x0806, size); }
    std::string NextSection(u32 size = 100) { return ReadText(0x080B, size); }
    std::string RawLine(u32 size = 100) { return ReadText(0x0810, size); }

    std::string ReadText(u32 command, u32 size) {
        const u32 buffer = Room(size + 1);
        std::memset(image + buffer, '#', size + 1);
        const u32 result = Call(command, {buffer, size});
        EXPECT_EQ(BytesAt(buffer + size, 1), "#") << "the buffer's size is kept";
        const std::string bytes = BytesAt(buffer, size + 1);
        const std::string text = bytes.substr(0, bytes.find('\0'));
        return (result == 0xFFFFFFFF ? "bad" : std::to_string(result)) + ":" + text;
    }

    // A file of these bytes, loaded.
    u32 LoadBytes(std::string_view bytes) {
        WriteTestFile(DataPath("SET.INI"), bytes);
        return Load("SET.INI");
    }

    // What a save writes now, with the checksums left out: "[0x01234567=S]" becomes "[S]".
    std::string Saved() {
        EXPECT_EQ(Save("OUT.INI"), 1u);
        const std::string bytes = ReadTestFile(DataPath("OUT.INI"));
        std::string text;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            text += bytes[i];
            if (bytes[i] == '[' && bytes.compare(i + 1, 2, "0x") == 0 && bytes[i + 11] == '=') {
                i += 11;
            }
        }
        return text;
    }
};

class Settings : public SettingsTest {};

}  // namespace moxi
