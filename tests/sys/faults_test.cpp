// Every open, read, write, seek and allocation of a session of file and settings work fails in
// turn: results are the normal one or that of a failure, and nothing leaks.

#include "service_fixture.h"

namespace moxi {

namespace {

enum Kind { kOpen, kRead, kWrite, kSeek, kAllocate, kKinds };

// The calls made so far of each kind, and which one is to fail.
int calls[kKinds];
Kind failingKind = kKinds;
int failingCall = -1;
int openStreams = 0;
int blocks = 0;

bool Fails(Kind kind) {
    return calls[kind]++ == failingCall && kind == failingKind;
}

void InstallFaults() {
    systemCalls.open = [](int folder, const char* name, int flags) -> std::FILE* {
        if (Fails(kOpen)) {
            return nullptr;
        }
        std::FILE* const stream = OpenStreamBeneath(folder, name, flags);
        if (stream != nullptr) {
            ++openStreams;
        }
        return stream;
    };
    systemCalls.close = [](std::FILE* stream) {
        --openStreams;
        return std::fclose(stream);
    };
    systemCalls.read = [](void* buffer, std::size_t count, std::FILE* stream) {
        return Fails(kRead) ? 0 : std::fread(buffer, 1, count, stream);
    };
    systemCalls.write = [](const void* data, std::size_t count, std::FILE* stream) {
        return Fails(kWrite) ? 0 : std::fwrite(data, 1, count, stream);
    };
    systemCalls.seek = [](std::FILE* stream, off_t offset, int origin) {
        return Fails(kSeek) ? -1 : fseeko(stream, offset, origin);
    };
    systemCalls.allocate = [](std::size_t size) -> void* {
        if (Fails(kAllocate)) {
            return nullptr;
        }
        ++blocks;
        return std::malloc(size);
    };
    systemCalls.release = [](void* block) {
        --blocks;
        std::free(block);
    };
}

struct Outcome {
    const char* what;
    u32 result;
    u32 failure;  // what the service returns when it or something before it has failed
};

class Faults : public ServiceTest {
  protected:
    void SetUp() override {
        ServiceTest::SetUp();
        failingKind = kKinds;
        failingCall = -1;
        openStreams = blocks = 0;
    }

    void Step(const char* what, u32 command, std::initializer_list<u32> arguments, u32 failure) {
        outcomes.push_back({what, Call(command, arguments), failure});
    }

    // The session. It starts from the same folders each time.
    std::vector<Outcome> RunSession(Kind kind, int call) {
        fs::remove_all(DataPath(""));
        WriteTestFile(DataPath("SET.INI"), kOldSettings);
        WriteTestFile(ResourcePath("SHIPPED.DAT"), "shipped");
        outcomes.clear();
        nextRoom = 0x2000;
        std::fill(calls, calls + kKinds, 0);
        failingKind = kind;
        failingCall = call;
        const u32 buffer = Room(100);
        const u32 key = Text("Key");
        Step("create", 0x0000, {Text("A/B/NEW.DAT"), 0x8302}, kNoFile);
        const u32 handle = outcomes.back().result;
        Step("write", 0x0003, {handle, Text("0123456789"), 10}, 0);
        Step("base64", 0x000E, {handle, Text("Man"), 3}, 0);
        Step("seek", 0x0004, {handle, 2, 0}, kNoFile);
        Call(0x0008, {handle});
        Step("open shipped", 0x0000, {Text("SHIPPED.DAT"), 0x8000}, kNoFile);
        const u32 shipped = outcomes.back().result;
        Step("read", 0x0002, {shipped, buffer, 7}, 0);
        Call(0x0008, {shipped});
        Step("size", 0x0009, {Text("SHIPPED.DAT")}, kNoFile);
        Step("find", 0x000B, {Text("*"), buffer, 0, 0}, kNoFile);
        Step("find next", 0x000C, {buffer, 0, 0}, kNoFile);
        Step("find next", 0x000C, {buffer, 0, 0}, kNoFile);
        Call(0x000D, {});
        Step("load", 0x0800, {Text("SET.INI")}, 0);
        Step("append", 0x080E, {key, 5, 0}, 0);
        Step("raw", 0x0808, {Text("Long"), Text(std::string(5000, 'x'))}, 0);
        Step("section", 0x0807, {Text("T")}, 0);
        Step("string", 0x080F, {key, Text(std::string(5000, 'y'))}, 0);
        Step("save", 0x0801, {Text("SET.INI")}, 0);
        Call(0x0802, {});
        return outcomes;
    }

    static constexpr const char* kOldSettings = "[0x00000000=S]\nKey= 1\n";
    std::vector<Outcome> outcomes;
};

TEST_F(Faults, EveryCallThatFailsGivesItsResultAndLeaksNothing) {
    InstallFaults();
    const std::vector<Outcome> normal = RunSession(kKinds, -1);
    int counts[kKinds];
    std::copy(calls, calls + kKinds, counts);
    for (const Outcome& outcome : normal) {
        EXPECT_NE(outcome.result, outcome.failure) << outcome.what;
    }
    for (const int count : counts) {
        EXPECT_GT(count, 1);
    }
    const std::string newSettings = ReadTestFile(DataPath("SET.INI"));
    EXPECT_GT(newSettings.size(), 10000u);

    for (int kind = 0; kind < kKinds; ++kind) {
        for (int call = 0; call < counts[kind]; ++call) {
            SCOPED_TRACE("kind " + std::to_string(kind) + " call " + std::to_string(call));
            fatalMessages.clear();
            const std::vector<Outcome> faulty = RunSession(static_cast<Kind>(kind), call);
            ASSERT_EQ(faulty.size(), normal.size());
            for (std::size_t i = 0; i < faulty.size(); ++i) {
                EXPECT_TRUE(faulty[i].result == normal[i].result ||
                            faulty[i].result == faulty[i].failure ||
                            // The position or size stays where it was.
                            (kind == kSeek && faulty[i].result < normal[i].result))
                    << faulty[i].what << " " << faulty[i].result;
            }
            EXPECT_EQ(openStreams, 0);
            EXPECT_EQ(blocks, 0);
            failingKind = kKinds;
            EXPECT_EQ(Call(0x0000, {Text("SHIPPED.DAT"), 0x8000}), 0u) << "every handle is back";
            Call(0x0008, {0});
            const std::string settings = ReadTestFile(DataPath("SET.INI"));
            if (faulty.back().result == 1) {
                EXPECT_NE(settings, kOldSettings);
            } else if (kind == kOpen) {
                EXPECT_EQ(settings, kOldSettings);
            }
            if (!fatalMessages.empty()) {
                EXPECT_EQ(kind, kAllocate);
                EXPECT_EQ(fatalMessages, std::vector<std::string>{"mFF:N"});
            }
        }
    }
}

TEST_F(Faults, ALoadWhoseReadFailsIsEmpty) {
    InstallFaults();
    WriteTestFile(DataPath("SET.INI"), kOldSettings);
    failingKind = kRead;
    failingCall = 0;
    std::fill(calls, calls + kKinds, 0);
    EXPECT_EQ(LoadSettings("SET.INI"), 0u);
    EXPECT_EQ(AddSection("S"), 1u);
    EXPECT_EQ(SelectKey("Key"), 0u);
}

TEST_F(Faults, ALoadWhoseSeekFailsIsEmpty) {
    InstallFaults();
    WriteTestFile(DataPath("SET.INI"), kOldSettings);
    failingKind = kSeek;
    failingCall = 0;
    std::fill(calls, calls + kKinds, 0);
    EXPECT_EQ(LoadSettings("SET.INI"), 0u);
    EXPECT_EQ(AddSection("S"), 1u);
}

}  // namespace

}  // namespace moxi
