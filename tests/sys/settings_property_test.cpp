// 10,000 random edits of a settings file, each followed by a save and a reload, against a plain
// model of what the file must hold. New keys get numbers or raw values: a new string would
// overwrite what follows it, which has tests of its own.

#include <cstdio>

#include "service_fixture.h"

namespace moxi {

namespace {

struct Line {
    std::string key;
    std::string values;
};

struct Section {
    std::string name;
    std::vector<Line> lines;
};

// The file's text, with the checksums worked out anew from their definition.
std::string FileText(const std::vector<Section>& sections) {
    std::string file;
    for (const Section& section : sections) {
        std::string text = "[" + std::string(10, '\0') + "=" + section.name + "]\n";
        for (const Line& line : section.lines) {
            text += line.key + "=" + line.values + "\n";
        }
        u64 sum = 0;
        std::size_t i = 0;
        for (; text.size() - i >= 4; i += 4) {
            for (std::size_t byte = 0; byte < 4; ++byte) {
                sum += u64{static_cast<u8>(text[i + byte])} << 8 * byte;
            }
        }
        i64 tail = 0;
        for (; i < text.size(); ++i) {
            tail = tail * 256;
            tail |= static_cast<signed char>(text[i]);
        }
        char checksum[16];
        std::snprintf(checksum, sizeof checksum, "0x%08X",
                      static_cast<u32>(sum + static_cast<u64>(tail)));
        text.replace(1, 10, checksum);
        file += text;
    }
    return file;
}

class SettingsProperty : public ServiceTest {
  protected:
    u32 Random(u32 limit) {
        seed = seed * 6364136223846793005u + 1442695040888963407u;
        return static_cast<u32>((seed >> 33) % limit);
    }

    std::string RandomText(const char* alphabet, u32 longest) {
        std::string text;
        for (u32 length = Random(longest + 1); length != 0; --length) {
            text += alphabet[Random(static_cast<u32>(std::strlen(alphabet)))];
        }
        return text;
    }

    // One edit of the buffer and the model. `section` is the model's current section.
    void Edit(std::vector<Section>& sections) {
        if (sections.empty() || Random(20) == 0) {
            AddRandomSection(sections);
            return;
        }
        const u32 index = Random(static_cast<u32>(sections.size()));
        ASSERT_EQ(SelectSection(sections[index].name), 1u);
        if (Random(40) == 0) {
            DeleteSection();
            sections.erase(sections.begin() + index);
            return;
        }
        EditKey(sections[index].lines, "Key" + std::to_string(Random(8)));
    }

    void AddRandomSection(std::vector<Section>& sections) {
        const std::string name = "S" + RandomText("abc \x80\xFE=\"", 3);
        // A quote in a name would hide the next header from a load.
        if (name.find('"') != std::string::npos) {
            return;
        }
        ASSERT_EQ(AddSection(name), 1u);
        for (const Section& section : sections) {
            if (section.name == name) {
                return;
            }
        }
        sections.push_back({name, {}});
    }

    void EditKey(std::vector<Line>& lines, const std::string& key) {
        auto line = lines.begin();
        while (line != lines.end() && line->key != key) {
            ++line;
        }
        const bool exists = line != lines.end();
        const u32 kind = Random(5);
        if (kind == 0) {
            ASSERT_EQ(DeleteKey(key), exists ? 1u : 0u);
            if (exists) {
                lines.erase(line);
            }
            return;
        }
        if (exists && line->values.size() > 200) {
            ASSERT_EQ(WriteRawValue(key, ""), 1u);
            line->values.clear();
            return;
        }
        std::string added;
        if (kind == 1) {
            added = RandomText("xyz 019=]\t\x80\xFF", 30);
            ASSERT_EQ(WriteRawValue(key, added), 1u);
            if (exists) {
                line->values.clear();
            }
        } else if (kind == 2 && exists) {
            // A backslash before a quote would hide the string's end from a load.
            const std::string text = RandomText("ab[]\" \xFF", 20);
            ASSERT_EQ(AppendString(key, text), 1u);
            added = " \"";
            for (const char c : text) {
                added += c == '"' ? std::string("\\\"") : std::string(1, c);
            }
            added += '"';
        } else {
            const u32 value = Random(0x7FFFFFFF) << Random(2);
            const u32 style = Random(3);
            char text[32];
            std::snprintf(text, sizeof text,
                          style == 1   ? " 0%o"
                          : style == 2 ? " 0x%08X"
                                       : " %d",
                          value);
            ASSERT_EQ(AppendNumber(key, value, style), 1u);
            added = text;
        }
        if (exists) {
            line->values += added;
        } else {
            lines.push_back({key, added});
        }
    }

    u64 seed = 20240307;
};

TEST_F(SettingsProperty, ASaveAndReloadAfterEachOf10000EditsGivesBackWhatWasWritten) {
    std::vector<Section> sections;
    EXPECT_EQ(LoadSettings("SET.INI"), 0u);
    for (u32 edit = 0; edit < 10000; ++edit) {
        Edit(sections);
        if (HasFatalFailure()) {
            break;
        }
        ASSERT_EQ(SaveSettings("SET.INI"), 1u);
        ASSERT_EQ(ReadTestFile(DataPath("SET.INI")), FileText(sections)) << "after edit " << edit;
        ASSERT_EQ(LoadSettings("SET.INI"), sections.empty() ? 0u : 1u);
    }
    EXPECT_TRUE(fatalMessages.empty());
}

TEST_F(SettingsProperty, TheSameHoldsForEditsWithoutAReloadBetween) {
    std::vector<Section> sections;
    LoadSettings("SET.INI");
    for (u32 edit = 0; edit < 10000; ++edit) {
        Edit(sections);
        if (HasFatalFailure()) {
            break;
        }
        if (edit % 10 != 0) {
            continue;
        }
        ASSERT_EQ(SaveSettings("SET.INI"), 1u);
        ASSERT_EQ(ReadTestFile(DataPath("SET.INI")), FileText(sections)) << "after edit " << edit;
    }
}

}  // namespace

}  // namespace moxi
