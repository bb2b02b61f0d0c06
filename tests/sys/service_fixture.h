#pragma once
// A machine without a module, for tests of the services: an image to put parameter blocks and
// texts into, empty data and resources folders, and everything that a service tells the outside.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "sys/dispatch.h"
#include "sys/files.h"
#include "sys/find.h"
#include "sys/settings.h"
#include "sys/system_calls.h"
#include "sys/time_group.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

namespace fs = std::filesystem;

// Thrown in place of the process's end.
struct ProcessEnded {
    int status;
};

inline std::vector<std::string> fatalMessages;

class ServiceTest : public ::testing::Test {
  protected:
    static constexpr u32 kImageSize = 0x40000;
    static constexpr u32 kHeap = 0x20000;
    static constexpr u32 kBlock = 0x0FFD;  // of parameters; the address need not be even
    static constexpr u32 kResultBefore = 0x5A5A5A5A;

    void SetUp() override {
        root = MakeRoot();
        folders = {};
        folders.resources = root + "/resources";
        folders.dataOverride = root + "/data";
        fs::create_directories(folders.resources);
        fs::create_directories(folders.dataOverride);
        InitFolders();
        ASSERT_TRUE(AllocateImage(kImageSize));
        heapStart = kHeap;
        heapSize = kImageSize - kHeap;
        InitHeapTable();
        Store<u32>(kHeaderSP, kHeap);
        Store<u32>(kHeaderPC, 0x0000ABCD);
        fatalMessages.clear();
        desktop.alert = [](const std::string& text) { fatalMessages.push_back(text); };
        vmSlots.appendDebugLog = AppendToDebugLog;
        vmSlots.endProcess = [](int status) { throw ProcessEnded{status}; };
    }

    void TearDown() override {
        systemCalls = originalCalls;
        sysSlots = originalSlots;
        vmSlots = originalVmSlots;
        desktop = originalDesktop;
        EndFind();
        ResetSettings();
        ResetFiles();
        ResetTimeGroup();
        ResetMachine();
        std::error_code ignored;
        fs::permissions(root, fs::perms::owner_all, ignored);
        fs::remove_all(root, ignored);
    }

    static std::string MakeRoot() {
        std::string name = fs::temp_directory_path() / "moxi-sys-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            ADD_FAILURE() << "no temporary folder";
        }
        return name;
    }

    // --- Texts and buffers in the image

    u32 Room(u32 size) {
        const u32 address = nextRoom;
        nextRoom += size + 5;
        return address;
    }

    // Texts and buffers begin again where they began.
    void ForgetTexts() { nextRoom = kFirstRoom; }

    // The bytes and a NUL.
    u32 Text(std::string_view text) {
        const u32 address = Room(static_cast<u32>(text.size()) + 1);
        Put(address, text);
        Store<u8>(address + static_cast<u32>(text.size()), 0);
        return address;
    }

    static void Put(u32 address, std::string_view bytes) {
        if (!bytes.empty()) {
            std::memcpy(image + address, bytes.data(), bytes.size());
        }
    }

    static std::string TextAt(u32 address) { return CheckedString(address); }

    static std::string BytesAt(u32 address, u32 count) {
        return {reinterpret_cast<const char*>(image + address), count};
    }

    // --- Calls. The result is the low half of R14, kResultBefore when the command has none.

    static u32 Call(u32 command, std::initializer_list<u32> arguments) {
        return CallAt(kBlock, command, arguments);
    }

    static u32 CallAt(u32 block, u32 command, std::initializer_list<u32> arguments) {
        Store<u64>(kHeaderR14, 0x1122334400000000 | kResultBefore);
        Store<u64>(kHeaderR15, 0xDEADBEEF00000000 | block);
        Store<u32>(block, command);
        for (const u32 argument : arguments) {
            Store<u32>(block += 4, argument);
        }
        RunGuarded([] { SysDispatch(); });
        return Load<u32>(kHeaderR14);
    }

    // The call must end the process with a memory fault.
    static void ExpectFault(u32 command, std::initializer_list<u32> arguments) {
        fatalMessages.clear();
        try {
            Call(command, arguments);
            ADD_FAILURE() << "no fault";
        } catch (const ProcessEnded& end) {
            EXPECT_EQ(end.status, 1);
        }
        ASSERT_EQ(fatalMessages.size(), 1u);
        EXPECT_EQ(fatalMessages[0], "Memory fault at 0x0000ABCD. Terminating. So sorry.");
        fatalMessages.clear();
    }

    // --- Files of the test

    std::string DataPath(const std::string& name) const { return root + "/data/" + name; }
    std::string ResourcePath(const std::string& name) const { return root + "/resources/" + name; }

    static void WriteTestFile(const std::string& path, std::string_view bytes) {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
    }

    static std::string ReadTestFile(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string root;
    static constexpr u32 kFirstRoom = 0x2000;
    u32 nextRoom = kFirstRoom;
    const SystemCalls originalCalls = systemCalls;
    const SysSlots originalSlots = sysSlots;
    const VmSlots originalVmSlots = vmSlots;
    const Desktop originalDesktop = desktop;
};

}  // namespace moxi
