#include <sys/stat.h>
#include <unistd.h>

#include "service_fixture.h"

namespace moxi {

namespace {

struct Found {
    std::string name;
    u32 attribute;
    u32 folder;
    bool operator==(const Found&) const = default;
};

void PrintTo(const Found& found, std::ostream* out) {
    *out << found.name << " " << found.attribute << " " << found.folder;
}

class Find : public ServiceTest {
  protected:
    std::vector<Found> FindAll(std::string_view pattern) {
        const u32 name = Room(1024);
        const u32 attribute = Room(4);
        const u32 folder = Room(4);
        std::vector<Found> all;
        u32 result = Call(0x000B, {Text(pattern), name, attribute, folder});
        while (result == 0) {
            all.push_back({TextAt(name), Load<u32>(attribute), Load<u32>(folder)});
            result = Call(0x000C, {name, attribute, folder});
        }
        EXPECT_EQ(result, 0xFFFFFFFFu);
        return all;
    }
};

using List = std::vector<Found>;

TEST_F(Find, ANameInBothFoldersIsOneEntryOfTheDataFolder) {
    WriteTestFile(DataPath("X.SAV"), "1");
    WriteTestFile(ResourcePath("X.SAV"), "2");
    EXPECT_EQ(FindAll("*.SAV"), (List{{"X.SAV", 0, 1}}));
}

TEST_F(Find, TheDataFolderComesFirstAndFoldersAreMarked) {
    WriteTestFile(DataPath("z"), "1");
    fs::create_directories(DataPath("m"));
    WriteTestFile(ResourcePath("a"), "2");
    fs::create_directories(ResourcePath("b"));
    EXPECT_EQ(FindAll("*"), (List{{"m", 16, 1}, {"z", 0, 1}, {"a", 0, 0}, {"b", 16, 0}}));
}

TEST_F(Find, NamesThatDifferInTheCaseOfAsciiLettersAreDuplicates) {
    WriteTestFile(DataPath("Save.Dat"), "1");
    WriteTestFile(ResourcePath("SAVE.DAT"), "2");
    WriteTestFile(ResourcePath("save.dat"), "2");
    WriteTestFile(ResourcePath("save.dat2"), "2");
    EXPECT_EQ(FindAll("save*"), (List{{"Save.Dat", 0, 1}, {"save.dat2", 0, 0}}));
}

TEST_F(Find, CaseOfOtherLettersCounts) {
    WriteTestFile(DataPath("\xC3\xA9"), "1");
    WriteTestFile(ResourcePath("\xC3\x89"), "2");
    EXPECT_EQ(FindAll("*").size(), 2u);
}

TEST_F(Find, HiddenEntriesAndSubFoldersAreLeftOut) {
    WriteTestFile(DataPath(".hidden"), "1");
    WriteTestFile(DataPath("F/inside"), "1");
    EXPECT_EQ(FindAll("*"), (List{{"F", 16, 1}}));
    EXPECT_EQ(FindAll(".*"), List{});
}

TEST_F(Find, APatternMayNameAFolder) {
    WriteTestFile(DataPath("F/a.sav"), "1");
    WriteTestFile(ResourcePath("F/b.sav"), "1");
    WriteTestFile(ResourcePath("MUSIC/c.mid"), "1");
    EXPECT_EQ(FindAll("F/?.SAV"), (List{{"a.sav", 0, 1}, {"b.sav", 0, 0}}));
    EXPECT_EQ(FindAll("../MUSIC/*"), (List{{"c.mid", 0, 0}}));
    EXPECT_EQ(FindAll("F/"), List{});
    EXPECT_EQ(FindAll("missing/*"), List{});
}

TEST_F(Find, OptionalAddressesOfZeroAreSkipped) {
    WriteTestFile(DataPath("a"), "1");
    WriteTestFile(DataPath("b"), "1");
    const u32 name = Room(100);
    const u32 before = Load<u32>(0);
    EXPECT_EQ(Call(0x000B, {Text("*"), name, 0, 0}), 0u);
    EXPECT_EQ(TextAt(name), "a");
    EXPECT_EQ(Call(0x000C, {name, 0, 0}), 0u);
    EXPECT_EQ(TextAt(name), "b");
    EXPECT_EQ(Load<u32>(0), before);
}

TEST_F(Find, AFailedFindFirstHasDroppedTheOldList) {
    WriteTestFile(DataPath("a"), "1");
    WriteTestFile(DataPath("b"), "1");
    const u32 name = Room(100);
    EXPECT_EQ(Call(0x000B, {Text("*"), name, 0, 0}), 0u);
    EXPECT_EQ(Call(0x000B, {Text("*.none"), name, 0, 0}), 0xFFFFFFFFu);
    EXPECT_EQ(TextAt(name), "a") << "the buffer is left alone";
    EXPECT_EQ(Call(0x000C, {name, 0, 0}), 0xFFFFFFFFu);
}

TEST_F(Find, EndFindDropsTheList) {
    WriteTestFile(DataPath("a"), "1");
    WriteTestFile(DataPath("b"), "1");
    const u32 name = Room(100);
    EXPECT_EQ(Call(0x000C, {name, 0, 0}), 0xFFFFFFFFu);
    Call(0x000B, {Text("*"), name, 0, 0});
    EXPECT_EQ(Call(0x000D, {}), kResultBefore);
    EXPECT_EQ(Call(0x000C, {name, 0, 0}), 0xFFFFFFFFu);
}

TEST_F(Find, ANameBufferThatLeavesTheImageIsAFault) {
    WriteTestFile(DataPath("abcd"), "1");
    ExpectFault(0x000B, {Text("*"), kImageSize - 4, 0, 0});
    EXPECT_EQ(Call(0x000B, {Text("*"), kImageSize - 5, 0, 0}), 0u);
}

TEST_F(Find, PatternsBeyondTheirBuffersFindNothing) {
    WriteTestFile(DataPath("a"), "1");
    EXPECT_EQ(FindAll(std::string(255, '*')), (List{{"a", 0, 1}}));
    EXPECT_EQ(FindAll(std::string(256, '*')), List{});
    EXPECT_EQ(FindAll(std::string(5000, '*')), List{});
}

TEST_F(Find, AnUnreadableFolderListsNothing) {
    WriteTestFile(DataPath("F/a"), "1");
    chmod(DataPath("F").c_str(), 0);
    if (geteuid() != 0) {
        EXPECT_EQ(FindAll("F/*"), List{});
    }
    chmod(DataPath("F").c_str(), 0700);
    // A file is no folder to list either.
    EXPECT_EQ(FindAll("F/a/*"), List{});
}

TEST_F(Find, AnEntryWithoutMemoryIsReportedAndDropped) {
    WriteTestFile(DataPath("a"), "1");
    WriteTestFile(DataPath("b"), "1");
    WriteTestFile(DataPath("c"), "1");
    static int calls;
    calls = 0;
    systemCalls.allocate = [](std::size_t size) -> void* {
        return ++calls == 2 ? nullptr : std::malloc(size);
    };
    EXPECT_EQ(FindAll("*").size(), 2u);
    EXPECT_EQ(fatalMessages, std::vector<std::string>{"mFF:N"});
}

TEST_F(Find, AFolderOfManyEntriesIsListedWholeAndInOrder) {
    for (int i = 0; i < 600; ++i) {
        WriteTestFile(DataPath("many/f" + std::to_string(10000 + i)), "");
        WriteTestFile(ResourcePath("many/F" + std::to_string(10200 + i)), "");
    }
    const List all = FindAll("many/f*");
    ASSERT_EQ(all.size(), 800u);  // 10000..10799, of which 400 are in both folders
    EXPECT_EQ(all[0], (Found{"f10000", 0, 1}));
    EXPECT_EQ(all[599], (Found{"f10599", 0, 1}));
    EXPECT_EQ(all[600], (Found{"F10600", 0, 0}));
    EXPECT_EQ(all[799], (Found{"F10799", 0, 0}));
}

TEST(Wildcards, MatchAsAWhole) {
    EXPECT_TRUE(MatchWildcard("abc", "abc"));
    EXPECT_TRUE(MatchWildcard("abc", "ABC"));
    EXPECT_TRUE(MatchWildcard("ABC", "abc"));
    EXPECT_FALSE(MatchWildcard("abc", "ab"));
    EXPECT_FALSE(MatchWildcard("ab", "abc"));
    EXPECT_TRUE(MatchWildcard("", ""));
    EXPECT_FALSE(MatchWildcard("a", ""));
    EXPECT_FALSE(MatchWildcard("", "?"));
}

TEST(Wildcards, QuestionMarksMatchOneByte) {
    EXPECT_TRUE(MatchWildcard("abc", "a?c"));
    EXPECT_FALSE(MatchWildcard("ac", "a?c"));
    EXPECT_TRUE(MatchWildcard("\xC3\xA9", "??"));
}

TEST(Wildcards, StarsMatchAnyRunAndTrackBack) {
    EXPECT_TRUE(MatchWildcard("", "*"));
    EXPECT_TRUE(MatchWildcard("abc", "*"));
    EXPECT_TRUE(MatchWildcard("abc", "abc***"));
    EXPECT_TRUE(MatchWildcard("aabab", "*ab"));
    EXPECT_TRUE(MatchWildcard("game.sav.sav", "*.SAV"));
    EXPECT_TRUE(MatchWildcard("mississippi", "m*iss*ppi"));
    EXPECT_FALSE(MatchWildcard("mississippi", "m*iss*ppx"));
    EXPECT_TRUE(MatchWildcard("a*c", "a*c"));
    EXPECT_FALSE(MatchWildcard("abd", "a*c"));
}

TEST(Wildcards, AManyStarredPatternEndsSoon) {
    EXPECT_FALSE(MatchWildcard(std::string(255, 'a').c_str(), "a*a*a*a*a*a*a*a*a*a*a*a*a*b"));
}

}  // namespace

}  // namespace moxi
