// Loading MAIN.MX: what is accepted, what is refused with which words, and what is in memory then.

#include "vm/loader.h"

#include <string>
#include <vector>

#include "tests/support/bench_run.h"
#include "tests/support/vm_fixture.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

class Loader : public VmTest {
  protected:
    // The messages of a refused load.
    static std::vector<std::string> Refusal(const std::string& file) {
        const StandardError quiet(true);
        vmEvents = {};
        vmFiles.contents["MAIN.MX"] = file;
        EXPECT_FALSE(LoadTestModule());
        return vmEvents.messages;
    }

    static bool Loads(const std::string& file) {
        const StandardError quiet(true);
        vmEvents = {};
        vmFiles.contents["MAIN.MX"] = file;
        return LoadTestModule();
    }
};

std::string Versioned(char major, char minor) {
    std::string header = ModuleHeader(512, 0, 200, 100);
    header[218] = major;
    header[219] = minor;
    return header;
}

using Messages = std::vector<std::string>;

const Messages kMismatched = {"Mismatched MOXI.EXE and MAIN.MX files"};
const Messages kNotMoxi = {"Not a MOXI 6 .MX file"};

}  // namespace

TEST_F(Loader, AModuleStamped62LoadsAnd63And70AreRefusedAnd59Loads) {
    EXPECT_TRUE(Loads(Versioned(6, 2)));
    EXPECT_EQ(Refusal(Versioned(6, 3)), kMismatched);
    EXPECT_EQ(Refusal(Versioned(7, 0)), kMismatched);
    EXPECT_TRUE(Loads(Versioned(5, 9)));
}

TEST_F(Loader, AnyMajorFrom0To5LoadsWithAnyMinorAndAnyAbove6IsRefused) {
    for (int major = 0; major < 6; ++major) {
        EXPECT_TRUE(Loads(Versioned(static_cast<char>(major), 0))) << major;
        EXPECT_TRUE(Loads(Versioned(static_cast<char>(major), '\xFF'))) << major;
    }
    EXPECT_TRUE(Loads(Versioned(6, 0)));
    EXPECT_TRUE(Loads(Versioned(6, 1)));
    EXPECT_EQ(Refusal(Versioned(6, '\xFF')), kMismatched);  // the bytes are unsigned
    EXPECT_EQ(Refusal(Versioned('\x80', 0)), kMismatched);
    EXPECT_EQ(Refusal(Versioned('\xFF', 0)), kMismatched);
}

TEST_F(Loader, TheRightMagicAnd6ByteFollowedByANonZeroByteAt213AreRefused) {
    std::string file = ModuleHeader(512, 0, 200, 100);
    file[213] = 1;
    EXPECT_EQ(Refusal(file), kNotMoxi);
}

TEST_F(Loader, AWrongMagicOrAnotherGenerationIsRefused) {
    for (const size_t at : {208u, 209u, 210u, 211u, 212u}) {
        std::string file = ModuleHeader(512, 0, 200, 100);
        ++file[at];
        EXPECT_EQ(Refusal(file), kNotMoxi) << at;
    }
}

TEST_F(Loader, TheIdentityIsCheckedBeforeTheVersion) {
    std::string file = Versioned(7, 0);
    file[208] = 'm';
    EXPECT_EQ(Refusal(file), kNotMoxi);
}

TEST_F(Loader, WithoutTheFileTheMessageIsThatItWasNotFound) {
    const StandardError quiet(true);
    EXPECT_FALSE(LoadTestModule());
    EXPECT_EQ(vmEvents.messages, Messages{"MAIN.MX file not found"});
}

TEST_F(Loader, AFileOf0Or511BytesCannotBeRead) {
    EXPECT_EQ(Refusal(""), Messages{"Error reading .MX file"});
    EXPECT_EQ(Refusal(ModuleHeader(512, 0, 200, 100).substr(0, 511)),
              Messages{"Error reading .MX file"});
}

TEST_F(Loader, AFileOfExactly512BytesWithLoadedLength512Loads) {
    EXPECT_TRUE(Loads(ModuleHeader(512, 0, 200, 100)));
    EXPECT_EQ(imageSize, 812u);
}

TEST_F(Loader, SizesThatNeedMoreThan32BitsCannotBeAllocated) {
    const Messages refused = {"Error allocating .MX memory"};
    EXPECT_EQ(Refusal(ModuleHeader(512, 0xFFFFFFFF, 0, 0)), refused);
    EXPECT_EQ(Refusal(ModuleHeader(512, 0, 0xFFFFFFFF, 0xFFFFFFFF)), refused);
    EXPECT_EQ(Refusal(ModuleHeader(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF)), refused);
    EXPECT_EQ(Refusal(ModuleHeader(512, 0x80000000, 0x7FFFFE00, 0)), refused);  // exactly 2^32
}

TEST_F(Loader, ABodyThatComesShortIsRefusedWithoutAMessageButWithALogLine) {
    StandardError error;
    for (const u32 length : {513u, 600u}) {
        vmEvents = {};
        vmFiles.contents["MAIN.MX"] =
            ModuleHeader(length, 0, 200, 100) + std::string(length - 513, 'x');
        EXPECT_FALSE(LoadTestModule());
        EXPECT_TRUE(vmEvents.messages.empty());
    }
    const std::string text = error.Text();
    EXPECT_EQ(text.rfind("log: ", 0), 0u);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
}

TEST_F(Loader, ALoadedLengthBelow512IsRefusedWithoutAMessageButWithALogLine) {
    for (const u32 length : {0u, 1u, 511u}) {
        StandardError error;
        vmEvents = {};
        vmFiles.contents["MAIN.MX"] = ModuleHeader(length, 0, 2000, 100);
        EXPECT_FALSE(LoadTestModule());
        EXPECT_TRUE(vmEvents.messages.empty());
        const std::string text = error.Text();
        EXPECT_EQ(text.rfind("log: ", 0), 0u) << length;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << length;
    }
}

TEST_F(Loader, BytesOfTheFileBeyondTheLoadedLengthAreNotLoaded) {
    EXPECT_TRUE(Loads(ModuleHeader(516, 8, 200, 100) + "abcdefgh"));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(image) + 512, 4), "abcd");
    EXPECT_EQ(Load<u64>(516), 0u);
}

TEST_F(Loader, AfterALoadTheHeaderDiffersFromTheFileOnlyAt144152160And195To199) {
    // Every byte without a meaning, the registers, PC and flags included, stays as it is.
    std::string file = ModuleHeader(600, 24, 200, 100);
    for (size_t i = 0; i < 512; ++i) {
        const bool meaning = (i >= 208 && i < 214) || (i >= 218 && i < 220) ||
                             (i >= 224 && i < 228) || (i >= 232 && i < 236) ||
                             (i >= 240 && i < 244) || (i >= 248 && i < 252);
        if (!meaning) {
            file[i] = static_cast<char>(i * 3 + 1);
        }
    }
    std::string body;
    for (int i = 0; i < 88; ++i) {
        body += static_cast<char>(200 - i);
    }
    ASSERT_TRUE(Loads(file + body));
    PaperImage wanted;
    wanted.bytes.assign(924, 0);
    for (size_t i = 0; i < 600; ++i) {
        wanted.bytes[i] = static_cast<u8>(i < 512 ? file[i] : body[i - 512]);
    }
    wanted.Put(144, 824, 4);  // 600 + 24 + 200
    wanted.Put(152, 624, 4);
    wanted.Put(160, 824, 4);
    wanted.Put(195, 0x0001020600, 5);  // bytes 0, 6, 2, 1, 0
    EXPECT_EQ(Differences(std::vector<u8>(image, image + imageSize), wanted.bytes), "");
}

TEST_F(Loader, TheFirstHeapBlockOf4BytesAtTheHeapsStartIsAllocated) {
    ASSERT_TRUE(Loads(ModuleHeader(600, 24, 200, 100) + std::string(88, 'x')));
    EXPECT_EQ(heapStart, 824u);
    EXPECT_EQ(heapSize, 100u);
    EXPECT_EQ(heapPtrs[0].offset, 824u);
    EXPECT_EQ(heapPtrs[0].size, 4u);
    EXPECT_EQ(heapPtrs[0].list, HeapList::Allocated);
    EXPECT_EQ(heapFree, 828u);
    EXPECT_EQ(AllocHeap(10), 1u);
}

TEST_F(Loader, TheStackPointerStartsEqualToTheStackTopAndToTheHeapStart) {
    ASSERT_TRUE(Loads(ModuleHeader(600, 24, 200, 100) + std::string(88, 'x')));
    EXPECT_EQ(Load<u32>(160), 824u);
    EXPECT_EQ(Load<u32>(144), 824u);
    EXPECT_EQ(heapStart, 824u);
}

TEST_F(Loader, TheFirstPushWritesJustBelowTheHeap) {
    std::string body(88, '\0');
    const u32 words[] = {756 | 7u << 10, 532};  // PUSH.L #7; STOP
    std::memcpy(body.data(), words, sizeof words);
    ASSERT_TRUE(Loads(ModuleHeader(600, 24, 200, 100) + body));
    const std::vector<u8> loaded(image, image + imageSize);
    PaperImage before{loaded};
    before.Put(136, 512, 4);
    const PaperImage after{RunOn(Engine::Fast, before.bytes).image};
    EXPECT_EQ(after.Get(820, 4), 7u);
    EXPECT_EQ(after.Get(160, 4), 820u);
}

TEST_F(Loader, AHeapWithoutRoomForTheFirstBlockEndsTheProcess) {
    const StandardError quiet(true);
    vmFiles.contents["MAIN.MX"] = ModuleHeader(512, 0, 200, 3);
    EXPECT_EQ(EndStatus([] { LoadTestModule(); }), 1);
    EXPECT_EQ(vmEvents.messages, Messages{"Terminating: insufficient Heap space. So sorry."});
}

TEST_F(Loader, HeaderAndBodyAreReadOnceEach) {
    ASSERT_TRUE(Loads(ModuleHeader(600, 24, 200, 100) + std::string(88, 'x')));
    EXPECT_EQ(vmEvents.reads, (std::vector<u32>{512, 88}));
}

TEST_F(Loader, ALargeZeroFilledImageLoads) {
    // 1 GiB of globals: reserved, not touched.
    EXPECT_TRUE(Loads(ModuleHeader(512, 1u << 30, 4096, 4096)));
    EXPECT_EQ(Load<u64>((1u << 30) - 8), 0u);
    EXPECT_EQ(heapStart, 512u + (1u << 30) + 4096);
}

}  // namespace moxi
