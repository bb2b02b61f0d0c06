#include "translate/translator.h"

#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <memory>
#include <span>
#include <unordered_map>

#include "translate/emit.h"
#include "translate/homes.h"
#include "translate/state.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/page_watch.h"
#include "vm/threaded.h"

namespace moxi {

constinit TranslatedState translatedState;
constinit std::array<i32, 16> hostOf = {};
constinit std::array<i32, 16> vectorOf = {};
constinit u16 narrowRegisters = 0;
constinit TranslatorCounts translatorCounts;

bool IsCovered(u32 address) {
    if (address < kHeaderSize) return true;
    if (address >= translatedState.entriesSize) return false;
    const u8* const first = translatedState.covered + address / 4;
    return std::any_of(first, first + 3, [](u8 covered) { return covered != 0; });
}

namespace {

constexpr size_t kCodeMemory = size_t{16} << 20;
// The largest translation of a region: what does not fit any more makes everything begin anew.
constexpr size_t kRegionRoom = size_t{256} << 10;

// An operand in the frame is found without a thought of the end of the address space.
constexpr u32 kLargestImage = 0xFFFE0000;

// A stretch of the module's code as it was when it was translated.
struct Stretch {
    u32 start = 0;
    std::vector<u8> bytes;
};

struct TranslatedRegion {
    u8* code = nullptr;
    size_t size = 0;
    std::vector<CodePlace> places;
    std::vector<BlockPlace> blocks;
    std::vector<Translation::Entry> entries;
    std::vector<Stretch> stretches;
    std::vector<u32> writes;  // as Translation's
    u32 generation = 0;       // that in which it was last compared with the module's code
    bool isWatched = false;   // nobody has written into its pages: its generation is kAlwaysCurrent
    // Visits from the interpreter that ended soon, and others.
    u32 shortVisits = 0;
    u32 longVisits = 0;
    u32 pause = 0;  // so many visits are not made
    u32 nextPause = 0;
};

constexpr u32 kAlwaysCurrent = ~u32{0};

// For how many instructions of the newest block were executed.
constexpr u32 kAllExecuted = ~u32{0};

constinit TranslatorOptions settings;
constinit SharedCode shared;
constinit size_t codeUsed = 0;
constinit u32 coveredEnd = kHeaderSize;
// By address of code: the region that is entered there.
std::unordered_map<u32, TranslatedRegion*> regionAt;
std::vector<std::unique_ptr<TranslatedRegion>> regions;  // by rising address of their code
// How often a look found an address, or translated code went there in vain; below 0 where it was
// not worth while. A look counts as much as so many others:
std::unordered_map<u32, i32> looks;
constexpr i32 kLook = 10;
// The number of the instruction from which on the interpreter has run, or at which the last look
// was.
constinit u64 interpretedFrom = 0;
// So many addresses are counted; what a module makes of its jumps takes no more memory than that.
constexpr size_t kMostLooks = size_t{1} << 18;
// So many looks later code is tried again that could not be translated.
constexpr i32 kPause = kLook * 5000;
// So many looks later code is tried again that has changed, and twice as many after each change: to
// translate it takes as long as to interpret it a thousand times and more.
constexpr i32 kPauseOfChanged = kLook * 1000;
constexpr u32 kMostDoublings = 16;
std::unordered_map<u32, u32> changesAt;

// Going into translated code and out of it takes as long as the interpreter needs for some fifty
// instructions. A region that is left again and again before it has executed so many blocks is not
// entered for a while.
constexpr u32 kShortVisit = 12;
constexpr u32 kShortVisits = 100;
// So many visits are then missed, and twice as many each time that it has not become better: what
// is in the way may be code that has no translation yet.
constexpr u32 kFewestMissed = 250;
constexpr u32 kMostMissed = 20000;
constinit TranslatedRegion* visited = nullptr;

// Registers that are not to be narrow: translated code writes all of them, or they were not narrow
// when it was about to be entered, as often as this. (The interpreter's code may fill them for
// good.)
constinit u16 wideRegisters = 0;
constexpr u32 kMostRefusals = 50;
constinit u32 refusals = 0;

// How often all regions so far use each register.
constinit RegisterUses registerUses;

// The blocks of the log, from the newest on, that may have filled the immediate slot last where the
// image does not have it.
constexpr size_t kSlotBlocks = 2;

// Puts bytes into the code memory, which is not executable meanwhile where they come to lie.
void Write(u8* to, const std::vector<u8>& bytes) {
    const auto page = static_cast<u64>(sysconf(_SC_PAGESIZE));
    const u64 start = static_cast<u64>(to - translatedState.codeMemory) / page * page;
    const u64 end = static_cast<u64>(to - translatedState.codeMemory) + bytes.size();
    const u64 size = std::min<u64>((end + page - 1) / page * page, kCodeMemory) - start;
    mprotect(translatedState.codeMemory + start, size, PROT_READ | PROT_WRITE);
    std::memcpy(to, bytes.data(), bytes.size());
    mprotect(translatedState.codeMemory + start, size, PROT_READ | PROT_EXEC);
}

// --- Faults

// The place at or before an offset of a region's code.
const CodePlace* PlaceAt(const TranslatedRegion& region, size_t offset) {
    const auto after =
        std::upper_bound(region.places.begin(), region.places.end(), offset,
                         [](size_t at, const CodePlace& place) { return at < place.offset; });
    return after == region.places.begin() ? nullptr : &*(after - 1);
}

const TranslatedRegion* RegionOf(const u8* address) {
    const auto after =
        std::upper_bound(regions.begin(), regions.end(), address,
                         [](const u8* at, const auto& region) { return at < region->code; });
    if (after == regions.begin()) return nullptr;
    const TranslatedRegion* const region = (after - 1)->get();
    return address < region->code + region->size ? region : nullptr;
}

// What stands in the log, or nothing that can be found.
struct Logged {
    std::span<const CodePlace> places;  // the instructions of the block
    u32 executedBefore = BlockPlace::kAllExecuted;
};

Logged LoggedAt(u32 offset) {
    const TranslatedRegion* const region = RegionOf(translatedState.codeMemory + offset);
    if (region == nullptr) return {};
    const u32 inside = offset - static_cast<u32>(region->code - translatedState.codeMemory);
    const auto found =
        std::lower_bound(region->blocks.begin(), region->blocks.end(), inside,
                         [](const BlockPlace& block, u32 at) { return block.offset < at; });
    if (found == region->blocks.end() || found->offset != inside) return {};
    return {std::span(region->places).subspan(found->firstPlace, found->count),
            found->executedBefore};
}

// The newest instructions, those of each block together, the newest first: those of the logged
// blocks before `place`, of the last block its first `executed`. As many as `wanted`, if so many
// are known.
std::vector<std::span<const CodePlace>> NewestPlaces(u32 place, u32 executed, size_t wanted) {
    const u32 known = translatedState.log[kLogSize - 1] != 0 ? kLogSize : place;
    std::vector<std::span<const CodePlace>> newest;
    size_t found = 0;
    for (u32 back = 1; back <= known && (found < wanted || newest.size() < 2); ++back) {
        const Logged logged = LoggedAt(translatedState.log[(place - back) % kLogSize]);
        newest.push_back(logged.places.first(std::min<size_t>(executed, logged.places.size())));
        found += newest.back().size();
        executed = logged.executedBefore;
    }
    return newest;
}

// The immediate slot gets what the newest instruction that has one has put there, if the image does
// not have it: a block stores it only where one may follow that does not begin with such an
// instruction.
void BringSlot(const std::vector<std::span<const CodePlace>>& newest) {
    for (size_t i = 0; i < newest.size() && i < kSlotBlocks; ++i) {
        if (newest[i].empty() || !newest[i].back().fillsSlot) continue;
        Store<u32>(kImmediateSlot, newest[i].back().slot);
        return;
    }
}

// Brings the PC trace up to date, and the immediate slot.
void WriteTrace(u32 place, u32 executed) {
    pcTraceCount = translatedState.numberAtEntry;
    const auto newest = NewestPlaces(place, executed, settings.traceDepth);
    BringSlot(newest);
    for (size_t i = newest.size(); i-- > 0;) {
        for (const CodePlace& instruction : newest[i]) RecordPc(instruction.pc);
    }
}

constexpr int kContextRegister[16] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP,
                                      REG_RSI, REG_RDI, REG_R8,  REG_R9,  REG_R10, REG_R11,
                                      REG_R12, REG_R13, REG_R14, REG_R15};

// Where translated code was interrupted, or null: what the processor's registers held goes into the
// header.
const CodePlace* SettleInterrupted(void* context) {
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    const u64 offset =
        static_cast<u64>(registers[REG_RIP]) - reinterpret_cast<u64>(translatedState.codeMemory);
    if (offset >= kCodeMemory) return nullptr;
    const u8* const at = translatedState.codeMemory + offset;
    const CodePlace* place = nullptr;
    static CodePlace between;
    if (const TranslatedRegion* const region = RegionOf(at)) {
        place = PlaceAt(*region, static_cast<size_t>(at - region->code));
    } else if (at >= shared.jump) {
        // On the way from one place to another, whose address is in eax.
        between.pc = static_cast<u32>(registers[REG_RAX]);
        place = &between;
    }
    if (place == nullptr) return nullptr;
    for (u32 number = 0; number < 16; ++number) {
        if (hostOf[number] == kNoHost) continue;
        const u32 host = kHostNumbers[static_cast<u32>(hostOf[number])];
        Store<u64>(RegisterAddress(number), static_cast<u64>(registers[kContextRegister[host]]));
    }
    const auto& vectors = static_cast<const ucontext_t*>(context)->uc_mcontext.fpregs->_xmm;
    for (u32 number = 0; number < 16; ++number) {
        if (vectorOf[number] == kNoHost) continue;
        const auto& held = vectors[kFirstVector + static_cast<u32>(vectorOf[number])];
        Store<u64>(RegisterAddress(number), held.element[0] | u64{held.element[1]} << 32);
    }
    Store<u32>(kHeaderSP, static_cast<u32>(registers[REG_R12]));
    Store<u32>(kHeaderFP, static_cast<u32>(registers[REG_R13]));
    lastThreadedResult = registers[REG_R15];
    return place;
}

void OnFaultInCode(void* context) {
    const CodePlace* const place = SettleInterrupted(context);
    if (place == nullptr) return;
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    WriteTrace(static_cast<u32>(registers[REG_R14]), place->index + 1);
    NoteThreadedCount();
}

// --- Another thread looks

constexpr int kSettleSignal = SIGUSR2;
pthread_t moduleThread;
sem_t isSettled;

// As far as the log already tells of the block that was interrupted.
void SettleSlot(const void* context, const CodePlace* at) {
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    const u32 place = static_cast<u32>(registers[REG_R14]);
    const Logged newest = LoggedAt(translatedState.log[(place - 1) % kLogSize]);
    const bool isInside = !newest.places.empty() && at >= newest.places.data() &&
                          at < newest.places.data() + newest.places.size();
    if (isInside) BringSlot(NewestPlaces(place, at->index + 1, 0));
}

void OnSettle(int, siginfo_t*, void* context) {
    const CodePlace* const place = SettleInterrupted(context);
    if (place != nullptr) Store<u32>(kHeaderPC, place->pc);
    if (place != nullptr) SettleSlot(context, place);
    sem_post(&isSettled);
}

void InstallSettling() {
    static bool isInstalled = false;
    moduleThread = pthread_self();
    if (isInstalled) return;
    isInstalled = true;
    sem_init(&isSettled, 0, 0);
    struct sigaction action = {};
    action.sa_sigaction = OnSettle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(kSettleSignal, &action, nullptr);
}

// --- Code memory

bool MakeCodeMemory() {
    if (translatedState.codeMemory != nullptr) return true;
    void* const memory =
        mmap(nullptr, kCodeMemory, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) return false;
    if (mprotect(memory, kCodeMemory, PROT_READ | PROT_EXEC) != 0) {
        munmap(memory, kCodeMemory);
        return false;
    }
    translatedState.codeMemory = static_cast<u8*>(memory);
    return true;
}

// The table of entries, and that of what is covered, which is read a little beyond its end.
u64 TablesSize(u64 entriesSize) {
    return entriesSize + entriesSize / 4 + kCoverWindow;
}

void FreeEntries() {
    if (translatedState.entries == nullptr) return;
    munmap(translatedState.entries, TablesSize(translatedState.entriesSize));
    translatedState.entries = nullptr;
    translatedState.covered = nullptr;
    translatedState.entriesSize = 0;
}

bool MakeEntries() {
    const u64 size = std::min<u64>((u64{imageSize} + 4095) / 4096 * 4096, kMostCode);
    if (size == translatedState.entriesSize) return true;
    FreeEntries();
    void* const memory = mmap(nullptr, TablesSize(size), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) return false;
    translatedState.entries = static_cast<u8*>(memory);
    translatedState.entriesSize = size;
    translatedState.covered = translatedState.entries + size;
    std::fill_n(translatedState.covered, kHeaderSize / 4, u8{1});
    return true;
}

void SetEntry(u32 pc, u32 offset) {
    if (u64{pc} + 4 <= translatedState.entriesSize) {
        std::memcpy(translatedState.entries + pc, &offset, sizeof offset);
    }
}

u32 EntryAt(u32 pc) {
    u32 offset = 0;
    if (pc % 4 == 0 && u64{pc} + 4 <= translatedState.entriesSize) {
        std::memcpy(&offset, translatedState.entries + pc, sizeof offset);
    }
    return offset;
}

void ChooseHosts() {
    const Homes homes = HomesFor(registerUses);
    hostOf = homes.hosts;
    vectorOf = homes.vectors;
    narrowRegisters = 0;
    for (u32 number = 0; number < 16; ++number) {
        const bool isNarrow = hostOf[number] != kNoHost && (wideRegisters >> number & 1) == 0;
        if (isNarrow) narrowRegisters = static_cast<u16>(narrowRegisters | 1u << number);
    }
}

// Now and then, as more of the module has been seen, other registers may be the ones to hold.
bool OtherHostsAreBetter() {
    const auto count = static_cast<u32>(translatorCounts.regions);
    const bool isTime = count == 4 || count == 16 || count == 64 || count == 256;
    return isTime && HomesFor(registerUses) != Homes{hostOf, vectorOf};
}

void Cover(const Region& region) {
    for (const Instruction& in : region.instructions) {
        std::fill_n(translatedState.covered + in.pc / 4, in.length / 4, u8{1});
        coveredEnd = std::max(coveredEnd, in.pc + in.length);
    }
}

void ForgetEverything() {
    if (coveredEnd > kHeaderSize) {
        std::fill(translatedState.covered + kHeaderSize / 4,
                  translatedState.covered + coveredEnd / 4, u8{0});
    }
    coveredEnd = kHeaderSize;
    for (const auto& region : regions) {
        for (const auto& entry : region->entries) SetEntry(entry.pc, 0);
    }
    regions.clear();
    visited = nullptr;
    regionAt.clear();
    looks.clear();
    changesAt.clear();
    codeUsed = 0;
    narrowRegisters = 0;
    translatedState.floor = kHeaderSize;
    translatedState.pushFloor = kHeaderSize + kFloorRoom;
}

// --- Leaving

TranslatedRegion* FindCurrent(u32 pc);
TranslatedRegion* TranslateAfter(u32 pc, i32 count);
ThreadedHandler Enter(TranslatedRegion& region, u32 pc);

// A visit ends at a place of the log.
void NoteVisit(u32 place) {
    if (visited == nullptr || settings.threshold <= 1) return;
    const bool isShort = translatedState.log[kLogSize - 1] == 0 && place < kShortVisit;
    ++(isShort ? visited->shortVisits : visited->longVisits);
    if (visited->shortVisits < kShortVisits) return;
    const bool isGood = visited->longVisits >= kShortVisits / 4;
    visited->pause = visited->nextPause =
        isGood ? 0 : std::clamp(2 * visited->nextPause, kFewestMissed, kMostMissed);
    visited->shortVisits = visited->longVisits = 0;
}

// Translated code goes to a place that has no translation. Nobody else would count it: the next
// look is at the next jump.
ThreadedHandler OnMiss(u32 pc) {
    if (EntryAt(pc) != 0) return nullptr;  // there is one, but it may not be entered now
    TranslatedRegion* const region = TranslateAfter(pc, 1);
    return region != nullptr ? Enter(*region, pc) : nullptr;
}

// The handler in which a run goes on that leaves translated code, with the place in the log in
// place of the number of instructions, and for the word how many of the last block were executed.
void OnLeave(u8* base, u64 pc, u64 sp, u64 fp, u64 trace, u32 w) {
    WriteTrace(static_cast<u32>(trace), w);
    NoteVisit(static_cast<u32>(trace));
    const ThreadedHandler enter = w == kAllExecuted ? OnMiss(static_cast<u32>(pc)) : nullptr;
    interpretedFrom = pcTraceCount;
    nextTranslationCheck = pcTraceCount + 1;
    (enter != nullptr ? enter : executeByInterpreter)(base, pc, sp, fp, pcTraceCount, 0);
}

// The same for a run that comes to a region which has not been compared with the module's code
// since.
void OnArrival(u8* base, u64 pc, u64 sp, u64 fp, u64 trace, u32 w) {
    WriteTrace(static_cast<u32>(trace), w);
    TranslatedRegion* const region = FindCurrent(static_cast<u32>(pc));
    const ThreadedHandler enter =
        region != nullptr ? Enter(*region, static_cast<u32>(pc)) : nullptr;
    interpretedFrom = pcTraceCount;
    nextTranslationCheck = pcTraceCount + 1;
    (enter != nullptr ? enter : executeByInterpreter)(base, pc, sp, fp, pcTraceCount, 0);
}

// BLOCKMOVE, called by translated code. False when it touches what only the interpreter may touch:
// then nothing has been done. A fault in here could not tell where the module is.
bool MoveBlock(u32 to, u32 from, u32 size) {
    const u64 bytes = u64{Load<u32>(kHeaderBlockCount)} << size;
    if (bytes == 0) return true;
    if (std::min(to, from) < kHeaderSize || std::max(to, from) + bytes > imageSize) return false;
    if (to < translatedState.floor) {
        const u8* const covered = translatedState.covered;
        const u64 end = std::min<u64>(to + bytes, translatedState.floor);
        if (std::memchr(covered + to / 4, 1, (end + 3) / 4 - to / 4) != nullptr) return false;
    }
    std::memmove(image + to, image + from, bytes);
    return true;
}

// --- Regions

std::vector<Stretch> StretchesOf(const Region& region) {
    std::vector<Stretch> stretches;
    u32 end = 0;
    for (const Instruction& in : region.instructions) {
        if (stretches.empty() || in.pc > end) {
            stretches.push_back({in.pc, {}});
            end = in.pc;
        }
        if (in.pc + in.length > end) {
            const u8* const bytes = image;
            auto& all = stretches.back().bytes;
            all.insert(all.end(), bytes + end, bytes + in.pc + in.length);
            end = in.pc + in.length;
        }
    }
    return stretches;
}

bool AllWatched(const TranslatedRegion& region) {
    return std::all_of(region.stretches.begin(), region.stretches.end(), [](const Stretch& s) {
        return ArePagesWatched(s.start, s.start + static_cast<u32>(s.bytes.size()));
    });
}

void Watch(TranslatedRegion& region) {
    bool isWatched = true;
    for (const Stretch& s : region.stretches) {
        isWatched = WatchPages(s.start, s.start + static_cast<u32>(s.bytes.size())) && isWatched;
    }
    region.isWatched = isWatched;
    region.generation = isWatched ? kAlwaysCurrent : translatedState.generation;
}

bool IsUnchanged(const TranslatedRegion& region) {
    return std::all_of(region.stretches.begin(), region.stretches.end(), [](const Stretch& s) {
        return std::memcmp(image + s.start, s.bytes.data(), s.bytes.size()) == 0;
    });
}

void Forget(TranslatedRegion& region) {
    for (const auto& entry : region.entries) {
        const auto found = regionAt.find(entry.pc);
        if (found == regionAt.end() || found->second != &region) continue;
        regionAt.erase(found);
        SetEntry(entry.pc, 0);
    }
}

void PauseChanged(const TranslatedRegion& region) {
    if (settings.threshold <= 1) return;
    if (changesAt.size() > kMostLooks) changesAt.clear();
    for (const auto& entry : region.entries) {
        u32& changes = changesAt[entry.pc];
        looks[entry.pc] = -(kPauseOfChanged << std::min(changes++, kMostDoublings));
    }
}

void SetFloor(const Region& region) {
    const Instruction& last = region.instructions.back();
    const u32 end = last.pc + last.length;
    translatedState.floor = std::max(translatedState.floor, end);
    translatedState.pushFloor = translatedState.floor + kFloorRoom;
    // Others may write into it without a look.
    const u32 start = region.instructions.front().pc;
    for (const auto& other : regions) {
        const bool writesThere =
            std::any_of(other->writes.begin(), other->writes.end(),
                        [&](u32 at) { return at + 8 > start && at < end && IsCovered(at); });
        if (writesThere) Forget(*other);
    }
}

TranslatedRegion* Translate(u32 pc) {
    const Region region = FindRegion(pc, [](u32 at) { return regionAt.contains(at); });
    if (region.instructions.empty()) return nullptr;
    const u16 wide = WideRegisters(region);
    CountUses(region, registerUses);
    if (codeUsed + kRegionRoom > kCodeMemory || (narrowRegisters & wide) != 0 ||
        OtherHostsAreBetter()) {
        ForgetEverything();
    }
    wideRegisters = static_cast<u16>(wideRegisters | wide);
    if (regions.empty()) {
        ChooseHosts();
        const std::vector<u8> bytes = EmitSharedCode(
            translatedState.codeMemory,
            {reinterpret_cast<const void*>(OnLeave), reinterpret_cast<const void*>(OnArrival),
             reinterpret_cast<const void*>(MoveBlock)},
            shared);
        Write(translatedState.codeMemory, bytes);
        codeUsed = (bytes.size() + 63) / 64 * 64;
    }
    Cover(region);
    u8* const base = translatedState.codeMemory + codeUsed;
    regions.push_back(std::make_unique<TranslatedRegion>());
    TranslatedRegion& made = *regions.back();
    Translation translation = EmitRegion(region, base, shared, &made.generation);
    if (translation.code.empty() || translation.code.size() > kRegionRoom) {
        regions.pop_back();
        return nullptr;
    }
    Write(base, translation.code);
    codeUsed += (translation.code.size() + 63) / 64 * 64;

    made.code = base;
    made.size = translation.code.size();
    made.places = std::move(translation.places);
    made.blocks = std::move(translation.blocks);
    made.entries = std::move(translation.entries);
    made.stretches = StretchesOf(region);
    Watch(made);
    made.writes = std::move(translation.writes);
    for (const auto& entry : made.entries) {
        if (regionAt.contains(entry.pc)) continue;
        regionAt[entry.pc] = &made;
        SetEntry(entry.pc, static_cast<u32>(base - translatedState.codeMemory) + entry.offset);
    }
    SetFloor(region);
    ++translatorCounts.regions;
    translatorCounts.instructions += region.instructions.size();
    translatorCounts.bytes += made.size;
    return &made;
}

// Regions of whose pages one was written are compared from now on.
void LetWrittenGo() {
    if (!WasWatchedPageWritten()) return;
    for (const auto& region : regions) {
        if (!region->isWatched || AllWatched(*region)) continue;
        region->isWatched = false;
        region->generation = 0;
    }
}

// The interpreter and the services may have changed the module's code.
void BeginGeneration() {
    LetWrittenGo();
    if (++translatedState.generation < kAlwaysCurrent) return;
    translatedState.generation = 1;
    for (const auto& region : regions) {
        if (!region->isWatched) region->generation = 0;
    }
}

// The region to enter at `pc`: one whose code is what it was. Null when there is none.
TranslatedRegion* FindCurrent(u32 pc) {
    const auto found = regionAt.find(pc);
    if (found == regionAt.end()) return nullptr;
    TranslatedRegion* const region = found->second;
    if (region->generation >= translatedState.generation) return region;
    if (IsUnchanged(*region)) {
        region->generation = translatedState.generation;
        return region;
    }
    Forget(*region);
    PauseChanged(*region);
    ++translatorCounts.changes;
    return nullptr;
}

// The narrow registers that are not, a bit for each.
u16 WrongRegisters() {
    u16 wrong = 0;
    for (u32 number = 0; number < 16; ++number) {
        const bool isNarrow = (narrowRegisters >> number & 1) != 0;
        if (isNarrow && Load<u32>(RegisterAddress(number) + 4) != 0) {
            wrong = static_cast<u16>(wrong | 1u << number);
        }
    }
    return wrong;
}

// Whether all narrow registers are. Those that are not again and again are given up.
bool NarrowHolds() {
    const u16 wrong = WrongRegisters();
    if (wrong == 0) return true;
    if (++refusals >= (settings.threshold <= 1 ? 2 : kMostRefusals)) {
        refusals = 0;
        wideRegisters = static_cast<u16>(wideRegisters | wrong);
        ForgetEverything();
    }
    return false;
}

// The handler that enters a region, or null when a narrow register is not.
ThreadedHandler Enter(TranslatedRegion& region, u32 pc) {
    if (!NarrowHolds()) return nullptr;
    visited = &region;
    translatedState.entered = translatedState.codeMemory + EntryAt(pc);
    const bool isLocked = heapListHeads[static_cast<u32>(HeapList::Locked)] >= 0;
    translatedState.leastReturn = isLocked ? ~u32{0} : kHeaderSize;
    ++translatorCounts.entries;
    return reinterpret_cast<ThreadedHandler>(shared.enter);
}

// Translates the code at `pc`, and what goes on from there, when that has been asked for often
// enough. Null when it was not, or when it cannot be done.
TranslatedRegion* TranslateAfter(u32 pc, i32 count) {
    if (pc % 4 != 0 || u64{pc} + 4 > translatedState.entriesSize) return nullptr;
    if (looks.size() > kMostLooks) looks.clear();
    i32& seen = looks[pc];
    seen += settings.threshold <= 1 ? kLook : count;
    if (seen < settings.threshold * kLook) return nullptr;
    seen = 0;
    TranslatedRegion* const region = Translate(pc);
    if (region == nullptr) {
        looks[pc] = -kPause;
        return nullptr;
    }
    return region;
}

ThreadedHandler CodeAt(u32 pc, u64 trace) {
    nextTranslationCheck = trace + settings.interval;
    // A look soon after translated code was left counts less.
    const bool isSoon = trace - interpretedFrom < settings.interval / 2;
    interpretedFrom = trace;
    BeginGeneration();
    TranslatedRegion* region = FindCurrent(pc);
    if (region == nullptr) region = TranslateAfter(pc, isSoon ? 1 : kLook);
    if (region == nullptr) return nullptr;
    if (region->pause > 0) {
        --region->pause;
        return nullptr;
    }
    return Enter(*region, pc);
}

}  // namespace

TranslatorStart StartTranslator(const TranslatorOptions& options) {
    StopTranslator();
    if (!kThreaded || image == nullptr) return TranslatorStart::Unsupported;
    if (imageSize > kLargestImage) return TranslatorStart::ImageTooLarge;
    if (!MakeCodeMemory() || !MakeEntries()) return TranslatorStart::NoMemory;
    settings = options;
    ForgetEverything();
    wideRegisters = 0;
    registerUses = {};
    refusals = 0;
    StartWatching();
    InstallSettling();
    translatedCodeAt = CodeAt;
    beforeFault = OnFaultInCode;
    nextTranslationCheck = 0;
    return TranslatorStart::Running;
}

void SettleTranslatedRun() {
    if (translatedCodeAt == nullptr || pthread_equal(pthread_self(), moduleThread) != 0) return;
    timespec end = {};
    clock_gettime(CLOCK_REALTIME, &end);
    ++end.tv_sec;
    while (sem_trywait(&isSettled) == 0) {
    }  // the late answer to an earlier call
    if (pthread_kill(moduleThread, kSettleSignal) != 0) return;
    while (sem_timedwait(&isSettled, &end) != 0 && errno == EINTR) {
    }
}

void StopTranslator() {
    nextTranslationCheck = ~u64{0};
    translatedCodeAt = nullptr;
    beforeFault = nullptr;
    StopWatching();
    ForgetEverything();
}

}  // namespace moxi
