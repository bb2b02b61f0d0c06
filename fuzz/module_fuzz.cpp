// A random module in the real host: loader, interpreter, services, queue, window and text as the
// program wires them, on the headless desktop, with up to 1,000 events of a random script. The
// module's files lie in a folder of the run's own. A message ends the run when it has taken too
// many instructions.
//
// Compiled with MOXI_FUZZ_TRANSLATED, without sanitizers, an input whose messages all end is then
// run once more with everything translated.
//
// The input is read from its end, as FuzzedDataProvider does: choices first, then the bytes that
// become the module's code and data.

#include <fuzzer/FuzzedDataProvider.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "app/wiring.h"
#include "audio/music.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "desktop/events.h"
#include "desktop/folders.h"
#include "desktop/headless/audio.h"
#include "desktop/headless/headless_desktop.h"
#include "fuzz/confine.h"
#include "gfx/bitmap.h"
#include "gfx/draw.h"
#include "gfx/screen.h"
#include "host/delegate.h"
#include "host/keyboard.h"
#include "host/menu.h"
#include "host/mouse.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/view.h"
#include "host/window.h"
#include "sys/files.h"
#include "sys/find.h"
#include "sys/services.h"
#include "sys/settings.h"
#include "sys/time_group.h"
#include "tools/asm/assembler.h"
#include "translate/translator.h"
#include "vm/guard.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kInstructionsPerMessage = 3000;
constexpr u32 kInstructionsPerRun = 60000;
constexpr u32 kDrawingLooks = 50;
constexpr u32 kMostEvents = 1000;
constexpr u32 kBytesPerEvent = 40;
constexpr i32 kMostViewSide = 200;
constexpr u32 kMostMemory = 1 << 20;  // of the stack, the globals and the heap each

struct RunEnded {};

constinit u32 messageInstructions = 0;
constinit u32 runInstructions = 0;
constinit u32 drawingLooks = 0;

constexpr InstructionTrace kBudget = {
    [](u32) {
        if (++messageInstructions > kInstructionsPerMessage ||
            ++runInstructions > kInstructionsPerRun) {
            throw RunEnded();
        }
    },
    [](u32) {},
};

// --- Code. The words of instructions with a number in them that is replaced.

struct Template {
    std::vector<u32> words;
    std::vector<size_t> places;
};

constexpr u32 kMarks[] = {0x11111111, 0x22222222};

Template MakeTemplate(const char* text) {
    Template made = {AssembleInstruction(text), {}};
    if (made.words.empty()) {
        std::abort();
    }
    for (const u32 mark : kMarks) {
        for (size_t i = 1; i < made.words.size(); ++i) {
            if (made.words[i] == mark) {
                made.places.push_back(i);
            }
        }
    }
    return made;
}

struct Module {
    std::vector<u8> bytes = std::vector<u8>(kHeaderSize);

    u32 Address() const { return static_cast<u32>(bytes.size()); }
    void Long(u32 value) {
        for (u32 shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<u8>(value >> shift));
        }
    }
    void Put(u32 at, u32 value) {
        for (u32 i = 0; i < 4; ++i) {
            bytes[at + i] = static_cast<u8>(value >> (8 * i));
        }
    }
    void Add(const Template& code, u32 first = 0, u32 second = 0) {
        std::vector<u32> words = code.words;
        if (!code.places.empty()) {
            words[code.places[0]] = first;
        }
        if (code.places.size() > 1) {
            words[code.places[1]] = second;
        }
        for (const u32 word : words) {
            Long(word);
        }
    }
};

struct Templates {
    Template link = MakeTemplate("LINK 0, 0");
    Template result = MakeTemplate("MOVE.B [0xC1], #1");
    Template block = MakeTemplate("MOVE.L R15, #0x11111111");
    Template service = MakeTemplate("SYS");
    Template keep = MakeTemplate("MOVE.L [0x11111111], R14");
    Template command = MakeTemplate("MOVE.L R1, [FP+12]");
    Template pass = MakeTemplate("MOVE.L [0x11111111], R1");
    Template end = MakeTemplate("RETURN 0");
};

// --- The module: calls of services between raw bytes

constexpr const char* kTexts[] = {
    "A.DAT",       "SAVE/B.DAT", "../MUSIC/A.MID", "A.WAV",     "A.PNG",    "A.BMP",
    "S.INI",       "*",          "*.DAT",          "Helvetica", "../../up", "S",
    "%d %s %8.8X", "A",          "OUT.PNG",        "K",         "B",        "A.MID",
    "SAVE"};
constexpr u32 kTextsAt = kHeaderSize + 8;  // behind a jump over them
constexpr u32 kTextSize = 32;

u32 TextAddress(FuzzedDataProvider& input) {
    return kTextsAt + kTextSize * input.ConsumeIntegralInRange<u32>(
                                      0, static_cast<u32>(std::size(kTexts)) - 1);
}

u32 ChooseWord(FuzzedDataProvider& input, const std::vector<u32>& rooms) {
    switch (input.ConsumeIntegralInRange<u32>(0, 7)) {
        case 0: return input.ConsumeIntegralInRange<u32>(0, 16);
        case 1: return input.ConsumeIntegral<u32>();
        case 2: return input.ConsumeIntegral<u8>() * 8u;
        case 3: return static_cast<u32>(-input.ConsumeIntegralInRange<i32>(0, 300));
        case 4: return input.PickValueInArray<u32>({0x8000, 0x8002, 0x8302, 64, 100, 0xFFFFFF});
        case 5: return rooms[input.ConsumeIntegralInRange<size_t>(0, rooms.size() - 1)];
        default: return TextAddress(input);
    }
}

// The words of a service's arguments, handles among them, mostly of the right kind. Behind them may
// stand more.
std::vector<ServiceType> ArgumentsOf(u32 command, FuzzedDataProvider& input) {
    std::vector<ServiceType> types;
    const Service* const service = FindService(command);
    if (service != nullptr && input.ConsumeIntegralInRange<u32>(0, 7) != 0) {
        for (const ServiceArgument& argument : service->arguments) {
            if (argument.type != ServiceType::None) {
                types.push_back(argument.type);
            }
            if (argument.type == ServiceType::Wide) {
                types.push_back(argument.type);
            }
        }
        return types;
    }
    types.resize(input.ConsumeIntegralInRange<u32>(0, 9));
    for (ServiceType& type : types) {
        type = input.ConsumeIntegralInRange<u32>(0, 3) == 0 ? ServiceType::File : ServiceType::None;
    }
    return types;
}

void AddCall(Module& module, const Templates& code, FuzzedDataProvider& input,
             const std::vector<u32>& rooms) {
    static constexpr u8 kGroups[] = {0, 1, 2, 3, 5, 5, 5, 5, 6, 7, 8, 9, 0xFF};
    // Services that there are, and a few that there are not.
    const u32 command =
        input.ConsumeIntegralInRange<u32>(0, 7) != 0
            ? kServices[input.ConsumeIntegralInRange<size_t>(0, std::size(kServices) - 1)].command
            : u32{input.PickValueInArray(kGroups)} << 8 | (input.ConsumeIntegral<u8>() & 0x7F);
    const u32 block = rooms[input.ConsumeIntegralInRange<size_t>(0, rooms.size() - 1)];
    static const Template store = MakeTemplate("MOVE.L [0x11111111], #0x22222222");
    module.Add(store, block, command);
    const std::vector<ServiceType> types = ArgumentsOf(command, input);
    for (u32 i = 0; i < types.size(); ++i) {
        const bool isHandle = types[i] == ServiceType::File || types[i] == ServiceType::Bitmap ||
                              types[i] == ServiceType::Block;
        if (isHandle && input.ConsumeIntegralInRange<u32>(0, 7) != 0) {
            // A result of an earlier call.
            static const Template load = MakeTemplate("MOVE.L R2, [0x11111111]");
            static const Template pass = MakeTemplate("MOVE.L [0x11111111], R2");
            module.Add(load, rooms[0] + 4 * input.ConsumeIntegralInRange<u32>(0, 7));
            module.Add(pass, block + 4 + 4 * i);
        } else if (types[i] == ServiceType::Text && input.ConsumeIntegralInRange<u32>(0, 7) != 0) {
            module.Add(store, block + 4 + 4 * i, TextAddress(input));
        } else {
            module.Add(store, block + 4 + 4 * i, ChooseWord(input, rooms));
        }
    }
    module.Add(code.block, block);
    module.Add(code.service);
    module.Add(code.keep, rooms[0] + 4 * input.ConsumeIntegralInRange<u32>(0, 7));
}

std::vector<u8> MakeModule(FuzzedDataProvider& input) {
    static const Templates code;
    Module module;
    // Memory behind the file: the globals.
    const u32 globals = input.ConsumeIntegralInRange<u32>(0x4000, 0x20000);
    constexpr u32 kCodeAt = kTextsAt + kTextSize * u32{std::size(kTexts)};
    module.Add(MakeTemplate(("JMP " + std::to_string(kCodeAt)).c_str()));
    while (module.Address() < kTextsAt) {
        module.bytes.push_back(0);
    }
    for (const char* const text : kTexts) {
        std::string padded = text;
        padded.resize(kTextSize);
        module.bytes.insert(module.bytes.end(), padded.begin(), padded.end());
    }
    // The globals begin where the file ends, which is not known yet.
    constexpr u32 kFileEnd = 0x8000;
    std::vector<u32> rooms;
    for (u32 i = 0; i < 8; ++i) {
        rooms.push_back(kFileEnd + i * 0x700);
    }
    module.Add(code.link);
    module.Add(code.result);
    const u32 pieces = input.ConsumeIntegralInRange<u32>(0, 24);
    for (u32 i = 0; i < pieces; ++i) {
        if (input.ConsumeIntegralInRange<u32>(0, 7) == 0) {
            const std::string raw = input.ConsumeRandomLengthString(64);
            module.bytes.insert(module.bytes.end(), raw.begin(), raw.end());
        } else {
            AddCall(module, code, input, rooms);
        }
    }
    module.Add(code.end);
    module.bytes.resize(kFileEnd);
    module.Put(kHeaderMagic, 0x49584F4D);  // "MOXI"
    module.Put(kHeaderGeneration, 0x36);
    module.bytes[kHeaderModuleMajor] = 6;
    module.bytes[kHeaderModuleMinor] = 2;
    module.Put(kHeaderLoadedLength, kFileEnd);
    module.Put(kHeaderGlobalsSize, globals);
    module.Put(kHeaderStackSize, input.ConsumeIntegralInRange<u32>(100, 0x4000));
    module.Put(kHeaderHeapSize, input.ConsumeIntegralInRange<u32>(0, kMostMemory));
    return module.bytes;
}

// Bytes as they come, but for what makes the loader read on; the sizes stay small.
std::vector<u8> MakeRawModule(FuzzedDataProvider& input) {
    std::vector<u8> bytes = input.ConsumeRemainingBytes<u8>();
    if (bytes.size() < kHeaderSize) {
        return bytes;
    }
    for (const u32 field : {kHeaderGlobalsSize, kHeaderStackSize, kHeaderHeapSize}) {
        bytes[field + 3] &= 0x80;
        if (bytes[field + 3] == 0) {
            bytes[field + 2] &= 0x0F;
        }
    }
    if (bytes[kHeaderLoadedLength + 3] == 0 && bytes[kHeaderLoadedLength + 2] == 0xFF) {
        const u32 size = static_cast<u32>(bytes.size());
        for (u32 i = 0; i < 4; ++i) {
            bytes[kHeaderLoadedLength + i] = static_cast<u8>(size >> (8 * i));
        }
    }
    return bytes;
}

// --- The script

ScriptEvent MakeEvent(FuzzedDataProvider& input, u64 time) {
    ScriptEvent event;
    event.milliseconds = time;
    event.kind = static_cast<ScriptEventKind>(
        input.ConsumeIntegralInRange<u32>(0, static_cast<u32>(ScriptEventKind::Post)));
    for (i64& number : event.numbers) {
        number = input.ConsumeIntegralInRange<i64>(-3, 500);
    }
    for (double& delta : event.deltas) {
        delta = input.ConsumeIntegralInRange<i32>(-200, 200) / 10.0;
    }
    if (event.kind == ScriptEventKind::KeyDown || event.kind == ScriptEventKind::KeyUp) {
        event.numbers[0] &= 0x7F;
        event.text = input.ConsumeRandomLengthString(6);
    }
    if (event.kind == ScriptEventKind::Clipboard) {
        event.text = input.ConsumeRandomLengthString(20);
    }
    if (event.kind == ScriptEventKind::Resize) {
        for (i64& number : event.numbers) {
            number = 1 + (number & 0x3F);
        }
    }
    if (event.kind == ScriptEventKind::Screens) {
        event.screens = {{64, 48}, {32, 48}};
    }
    if (event.kind == ScriptEventKind::Quit || event.kind == ScriptEventKind::Screens) {
        // These end most runs, so they are rare.
        if (!input.ConsumeBool()) {
            event.kind = ScriptEventKind::Post;
        }
    }
    return event;
}

// The first events are the input's own, the many after them those of a seed in it.
std::vector<ScriptEvent> MakeScript(FuzzedDataProvider& input) {
    std::vector<ScriptEvent> script;
    const u32 own = input.ConsumeIntegralInRange<u32>(0, 10);
    const u32 more = input.ConsumeIntegralInRange<u32>(0, 3) == 0
                         ? input.ConsumeIntegralInRange<u32>(0, kMostEvents - own)
                         : 0;
    std::mt19937 random(input.ConsumeIntegral<u32>());
    std::vector<u8> bytes(size_t{more} * kBytesPerEvent);
    for (u8& byte : bytes) {
        byte = static_cast<u8>(random());
    }
    FuzzedDataProvider seeded(bytes.data(), bytes.size());
    u64 time = 0;
    for (u32 i = 0; i < own + more; ++i) {
        FuzzedDataProvider& source = i < own ? input : seeded;
        time += source.ConsumeIntegralInRange<u32>(0, 12);
        script.push_back(MakeEvent(source, time));
    }
    return script;
}

void ResetHost() {
    instructionTrace = nullptr;
    audioOut.shutDown();
    ResetMusic();
    ResetSettings();
    EndFind();
    ResetFiles();
    ResetTimeGroup();
    ResetGraphics();
    ResetLinePattern();
    ResetMenu();
    ResetKeyboard();
    ResetMouse();
    ResetView();
    ResetWindow();
    ResetSession();
    EmptyQueue();
    ResetDelegate();
    ResetRunCycle();
    ResetMachine();
}

void WriteBytes(const std::string& path, const std::vector<u8>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

void PrepareFolders(const std::vector<u8>& module) {
    std::error_code error;
    fs::remove_all(folders.dataOverride, error);
    // What a module has put beside its folder goes too.
    for (const auto& entry : fs::directory_iterator(confine::folder)) {
        if (entry.path() != folders.resources) {
            fs::remove_all(entry.path(), error);
        }
    }
    WriteBytes(folders.resources + "/MAIN.MX", module);
}

void WireHost() {
    WireRooms({.translate = false});
    vmSlots.endProcess = [](int) { throw RunEnded(); };
    static bool (*const flushScreen)() = vmSlots.flushScreen;
    vmSlots.flushScreen = [] {
        if (!inMX) {
            messageInstructions = 0;
        }
        return flushScreen();
    };
    desktopEvents.screenshot = [](const std::string&) { return true; };
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    confine::Confine(*argc, *argv);
    folders.resources = confine::folder + "/game";
    folders.bundle = folders.resources;
    folders.dataOverride = confine::folder + "/data";
    folders.pictures = confine::folder;
    folders.gameName = "Fuzzed";
    fs::create_directories(folders.resources + "/MUSIC");
    // Files to load, from the corpora of the readers, where they can be found.
    const char* const source = std::getenv("MOXI_FUZZ_FILES");
    std::error_code error;
    if (source != nullptr) {
        fs::copy(std::string(source) + "/smf/two_tracks", folders.resources + "/MUSIC/A.MID",
                 error);
        fs::copy(std::string(source) + "/wav/plain", folders.resources + "/A.WAV", error);
        fs::copy(std::string(source) + "/settings/two_sections", folders.resources + "/S.INI",
                 error);
        fs::copy(std::string(source) + "/png/plain", folders.resources + "/A.PNG", error);
        fs::copy(std::string(source) + "/bmp/plain", folders.resources + "/A.BMP", error);
    }
    return 0;
}

namespace {

// False when a message, or the process, has been ended.
bool RunInput(const u8* data, size_t size, bool isTranslated) {
    FuzzedDataProvider input(data, size);
    ResetHost();
    WireHost();
    HeadlessOptions options;
    options.screens = {{96, 64}};
    options.date = DateTime{2024, 2, 29, 23, 59, 58};
    const bool raw = input.ConsumeIntegralInRange<u32>(0, 7) == 0;
    options.script = MakeScript(input);
    const u64 last = options.script.empty() ? 0 : options.script.back().milliseconds;
    options.runMilliseconds = last + input.ConsumeIntegralInRange<u32>(0, 200);
    PrepareFolders(raw ? MakeRawModule(input) : MakeModule(input));
    StartHeadlessDesktop(options);
    StartHeadlessAudio({});
    desktop.endIsForced = [] { return ++drawingLooks >= kDrawingLooks; };
    // Showing half a million pixels after each message would take all the time.
    static void (*const createWindow)(WindowFrame) = desktop.createWindow;
    desktop.createWindow = [](WindowFrame content) {
        createWindow({content.x, content.y, 80, 60});
    };
    static void (*const setWindowFrame)(WindowFrame) = desktop.setWindowFrame;
    desktop.setWindowFrame = [](WindowFrame frame) {
        frame.width = std::min(frame.width, kMostViewSide);
        frame.height = std::min(frame.height, kMostViewSide);
        setWindowFrame(frame);
    };
    messageInstructions = runInstructions = drawingLooks = 0;
    bool hasEnded = false;
    if (!isTranslated) {
        instructionTrace = &kBudget;
    }
#ifdef MOXI_FUZZ_TRANSLATED
    if (isTranslated) {
        vmSlots.moduleLoaded = [] {
            StartTranslator({.interval = 0, .threshold = 1, .traceDepth = 16});
        };
    }
#endif
    try {
        moxiAppDelegate::init();
        desktop.runEventLoop();
    } catch (const RunEnded&) {
        hasEnded = true;  // the end of the process in real life
    }
    instructionTrace = nullptr;
    return !hasEnded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    const bool wentOn = RunInput(data, size, false);
#ifdef MOXI_FUZZ_TRANSLATED
    if (wentOn) {
        RunInput(data, size, true);
    }
    StopTranslator();
    vmSlots.moduleLoaded = [] {};
#else
    static_cast<void>(wentOn);
#endif
    return 0;
}

}  // namespace moxi
