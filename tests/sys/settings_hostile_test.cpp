// Settings under a module that means harm: long texts, keys whose gap was too small, every command
// of the group in random order. Each block that the buffer allocates has a margin of bytes that
// nobody may touch.

#include <map>

#include "settings_fixture.h"
#include "sys/settings_buffer.h"

namespace moxi {

namespace {

constexpr std::size_t kMargin = 16384;
constexpr u8 kUntouched = 0xA5;

std::map<u8*, std::size_t> blocks;  // each with its size, the margin not counted
u32 spoiledBlocks = 0;

void* AllocateWithMargin(std::size_t size) {
    u8* const block = static_cast<u8*>(std::malloc(size + kMargin));
    if (block == nullptr) {
        return nullptr;
    }
    std::memset(block + size, kUntouched, kMargin);
    blocks[block] = size;
    return block;
}

void ReleaseWithMargin(void* pointer) {
    u8* const block = static_cast<u8*>(pointer);
    if (block == nullptr) {
        return;
    }
    const u8* const margin = block + blocks.at(block);
    for (std::size_t i = 0; i < kMargin; ++i) {
        if (margin[i] == kUntouched) {
            continue;
        }
        ++spoiledBlocks;
        break;
    }
    blocks.erase(block);
    std::free(block);
}

class HostileSettings : public SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        spoiledBlocks = 0;
        systemCalls.allocate = AllocateWithMargin;
        systemCalls.release = ReleaseWithMargin;
    }
    void TearDown() override {
        DiscardSettings();
        EXPECT_TRUE(blocks.empty());
        SettingsTest::TearDown();
    }

    u32 Random(u32 limit) {
        seed = seed * 6364136223846793005u + 1442695040888963407u;
        return static_cast<u32>((seed >> 33) % limit);
    }
    std::string RandomText(const char* alphabet, u32 longest) {
        const u32 length = Random(2) == 0 ? Random(longest + 1) : Random(20);
        std::string text;
        while (text.size() < length) {
            text += alphabet[Random(static_cast<u32>(std::strlen(alphabet)))];
        }
        return text;
    }
    std::string RandomKey() { return std::string(1, static_cast<char>('a' + Random(12))); }

    void RunRandomCommand() {
        const char* const kText = Random(2) == 0 ? "ab [=]\"\\\n\t\x80\xFF" : "ab\"\\";
        constexpr u32 kLongest = 5000;
        ForgetTexts();
        if (HasSettings() && !HasCurrentSection()) {
            AddSection("a");
        }
        switch (Random(24)) {
            case 0: Load(Random(3) == 0 ? "A.INI" : "NONE.INI"); break;
            case 1: Save("A.INI"); break;
            case 2:
                if (Random(8) == 0) {
                    Call(0x0802, {});
                }
                break;
            case 3: Section(RandomKey()); break;
            case 4: Key(RandomKey()); break;
            case 5: ReadNumber(); break;
            case 6: ReadString(1 + Random(5000)); break;
            case 7: AddSection(Random(9) == 0 ? RandomText(kText, kLongest) : RandomKey()); break;
            case 8:
            case 18:
            case 19:
            case 20: Raw(RandomKey(), RandomText(kText, kLongest)); break;
            case 9:
                if (Random(4) == 0) {
                    DeleteSection();
                }
                break;
            case 10: DeleteKey(RandomKey()); break;
            case 11: NextSection(1 + Random(5000)); break;
            case 12:
                if (Random(8) == 0) {
                    Call(0x080C, {});
                }
                break;
            case 13: AtEnd(); break;
            case 14: Number(RandomKey(), Random(0x7FFFFFFF), Random(4)); break;
            case 15:
            case 21:
            case 22:
            case 23: String(RandomKey(), RandomText(kText, kLongest)); break;
            default: RawLine(1 + Random(5000));
        }
    }

    u64 seed = 31;
};

// The new key's gap is too small by the text, so that most of the line stands beyond the used
// length: 8,000 bytes in place of 4,097 make the used part about 4,000 bytes long, which fits, and
// end at 8,018, which does not.
TEST_F(HostileSettings, ALongerRawValueOverAStringThatOutgrewItsGapStaysInTheBuffer) {
    Load("NONE.INI");
    AddSection("S");
    EXPECT_EQ(String("K", std::string(4090, 'x')), 1u);
    const std::string raw(8000, 'y');
    EXPECT_EQ(Raw("K", raw), 1u);
    EXPECT_LT(SettingsTextEnd(), SettingsCapacity());
    EXPECT_EQ(Saved(), "[S]\nK=" + raw + "\n");
    DiscardSettings();
    EXPECT_EQ(spoiledBlocks, 0u);
}

TEST_F(HostileSettings, EveryWriteAfterAnOutgrownGapStaysInTheBuffer) {
    for (u32 kind = 0; kind < 5; ++kind) {
        for (const u32 length : {1u, 2030u, 2048u, 4096u, 5000u}) {
            ForgetTexts();
            Load("NONE.INI");
            AddSection("S");
            String("K", std::string(length, '"'));
            switch (kind) {
                case 0: Raw("K", std::string(3 * length + 100, 'y')); break;
                case 1: String("K", std::string(length, '\\')); break;
                case 2: Number("K", 1, 2); break;
                case 3: String("L", std::string(length, 'z')); break;
                default: AddSection(std::string(length, 'n'));
            }
            EXPECT_LT(SettingsTextEnd(), SettingsCapacity());
            DiscardSettings();
            EXPECT_EQ(spoiledBlocks, 0u) << "kind " << kind << ", length " << length;
        }
    }
}

TEST_F(HostileSettings, FiftyThousandRandomCommandsWithLongTextsStayInTheBuffer) {
    for (u32 step = 0; step < 50000; ++step) {
        RunRandomCommand();
        if (!HasSettingsBuffer()) {
            continue;
        }
        ASSERT_LT(SettingsTextEnd(), SettingsCapacity()) << "step " << step;
        ASSERT_EQ(SettingsByte(SettingsTextEnd()), 0) << "step " << step;
        // Again from a small buffer, where little is to spare.
        if (SettingsCapacity() > 20000) {
            ForgetTexts();
            Load("NONE.INI");
            AddSection("a");
        }
    }
    DiscardSettings();
    EXPECT_EQ(spoiledBlocks, 0u);
}

TEST_F(HostileSettings, WithoutMemoryAWriteChangesNothing) {
    Load("NONE.INI");
    AddSection("S");
    Number("K", 5);
    systemCalls.allocate = [](std::size_t) -> void* { return nullptr; };
    EXPECT_EQ(Raw("K", std::string(5000, 'y')), 1u);
    EXPECT_EQ(String("L", std::string(5000, 'y')), 1u);
    EXPECT_EQ(String("K", std::string(5000, 'y')), 1u);
    EXPECT_EQ(AddSection(std::string(5000, 'n')), 0u);
    Section("S");
    systemCalls.allocate = AllocateWithMargin;
    EXPECT_EQ(Saved(), "[S]\nK= 5\n");
}

}  // namespace

}  // namespace moxi
