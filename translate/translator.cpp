#include "translate/translator.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_map>

#include "translate/code_memory.h"
#include "translate/emit.h"
#include "translate/emit_shared.h"
#include "translate/homes.h"
#include "translate/settle.h"
#include "translate/state.h"
#include "translate/translated_region.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/page_watch.h"
#include "vm/threaded.h"

namespace moxi {

constinit std::array<i32, 16> hostOf = {};
constinit std::array<i32, 16> vectorOf = {};
constinit u16 narrowRegisters = 0;
constinit TranslatorCounts translatorCounts;

namespace {

// The most code that one region may become. When less than this is left of the code memory,
// everything is forgotten and translated again as it is needed.
constexpr size_t kRegionRoom = size_t{256} << 10;

// Addresses of operands in the frame are not checked for wrapping round; no image may be so large
// that they could.
constexpr u32 kLargestImage = 0xFFFE0000;

constinit TranslatorOptions settings;
constinit SharedCode shared;
constinit size_t codeUsed = 0;
// The shared code, while no region has been written behind it.
std::vector<u8> unwritten;
// The region that is entered at each address of the module's code.
std::unordered_map<u32, TranslatedRegion*> regionAt;
// How hot each address is: a look that finds the module there adds kLook, translated code that goes
// there without finding a translation adds 1. Below 0 where translating was not worth while.
std::unordered_map<u32, i32> looks;
constexpr i32 kLook = 10;
// The number of executed instructions when translated code was left, or at the last look, whichever
// was later.
constinit u64 interpretedFrom = 0;
// The most addresses that are counted, so that no module can use up memory by jumping about.
constexpr size_t kMostLooks = size_t{1} << 18;
// Code that could not be translated is tried again after 5,000 looks at it.
constexpr i32 kPause = kLook * 5000;
// Code that has changed is tried again after 1,000 looks at it, and after twice as many with each
// further change: translating it takes as long as interpreting it more than a thousand times.
constexpr i32 kPauseOfChanged = kLook * 1000;
constexpr u32 kMostDoublings = 16;
std::unordered_map<u32, u32> changesAt;

// Entering and leaving translated code takes as long as interpreting some fifty instructions. A
// region that is left again and again before it has executed kShortVisit blocks is not entered for
// a while.
constexpr u32 kShortVisit = 12;
constexpr u32 kShortVisits = 100;
// It is then passed by for this many visits, and for twice as many each time that this did not
// help. It may help because what was in the way was code that had no translation yet.
constexpr u32 kFewestMissed = 250;
constexpr u32 kMostMissed = 20000;
constinit TranslatedRegion* visited = nullptr;

// Registers that cannot be narrow: translated code writes all 64 bits of them, or they were found
// with something in the upper half kMostRefusals times when translated code was about to be entered
// (code that is interpreted may have put it there for good).
constinit u16 wideRegisters = 0;
constexpr u32 kMostRefusals = 50;
constinit u32 refusals = 0;

// How often all regions so far use each register.
constinit RegisterUses registerUses;

void ChooseHosts() {
    const Homes homes = HomesFor(registerUses);
    hostOf = homes.hosts;
    vectorOf = homes.vectors;
    narrowRegisters = 0;
    for (u32 number = 0; number < 16; ++number) {
        const bool isNarrow = hostOf[number] != kNoHost && (wideRegisters >> number & 1) == 0;
        if (isNarrow) {
            narrowRegisters = static_cast<u16>(narrowRegisters | 1u << number);
        }
    }
}

// As more of the module becomes known, another choice of registers may turn out so much better that
// it pays to translate everything again. Asked after 4, 16, 64 and 256 regions.
bool OtherHostsAreBetter() {
    const auto count = static_cast<u32>(translatorCounts.regions);
    const bool isTime = count == 4 || count == 16 || count == 64 || count == 256;
    if (!isTime) {
        return false;
    }
    const u64 now = UsesServed(registerUses, {hostOf, vectorOf});
    return UsesServed(registerUses, HomesFor(registerUses)) > now + now / 8;
}

void ForgetEverything() {
    UncoverEverything();
    for (const auto& region : regions) {
        for (const auto& entry : region->entries) {
            SetEntry(entry.pc, 0);
        }
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

// Counts a visit to translated code that has ended, as a short or a long one. `place` is the place
// in the log that it has reached.
void NoteVisit(u32 place) {
    if (visited == nullptr || settings.threshold <= 1) {
        return;
    }
    const bool isShort = translatedState.log[kLogSize - 1] == 0 && place < kShortVisit;
    ++(isShort ? visited->shortVisits : visited->longVisits);
    if (visited->shortVisits < kShortVisits) {
        return;
    }
    const bool isGood = visited->longVisits >= kShortVisits / 4;
    visited->pause = visited->nextPause =
        isGood ? 0 : std::clamp(2 * visited->nextPause, kFewestMissed, kMostMissed);
    visited->shortVisits = visited->longVisits = 0;
}

// Whether this visit is not made, because others ended soon.
bool IsPassedBy(TranslatedRegion& region) {
    if (region.pause == 0) {
        return false;
    }
    --region.pause;
    return true;
}

// Translated code has come to an address without a translation. It is counted here, because the
// interpreter's next look will be at its next jump, and so at another address.
ThreadedHandler OnMiss(u32 pc) {
    if (EntryAt(pc) != 0) {
        return nullptr;  // there is one, but it may not be entered now
    }
    TranslatedRegion* const region = TranslateAfter(pc, 1);
    return region != nullptr ? Enter(*region, pc) : nullptr;
}

// The handler that takes over from translated code. In place of the number of executed instructions
// it gets the place in the log, and in place of the instruction word how many instructions of the
// newest block were executed.
void OnLeave(u8* base, u64 pc, u64 sp, u64 fp, u64 trace, u32 w) {
    WriteTrace(static_cast<u32>(trace), w);
    NoteVisit(static_cast<u32>(trace));
    const ThreadedHandler enter = w == kAllExecuted ? OnMiss(static_cast<u32>(pc)) : nullptr;
    interpretedFrom = pcTraceCount;
    nextTranslationCheck = pcTraceCount + 1;
    (enter != nullptr ? enter : executeByInterpreter)(base, pc, sp, fp, pcTraceCount, 0);
}

// The same where a RETURN is left to the interpreter. What it has restored already will be restored
// again.
void OnLeaveReturn(u8* base, u64, u64 sp, u64 fp, u64 trace, u32) {
    const LastPlace at = LastOfNewest(static_cast<u32>(trace));
    OnLeave(base, at.pc, sp, fp, trace, at.executedBefore);
}

// The same where the next region must first be compared with the module's code, since the
// interpreter or a service has run after it was compared last.
void OnArrival(u8* base, u64 pc, u64 sp, u64 fp, u64 trace, u32 w) {
    WriteTrace(static_cast<u32>(trace), w);
    TranslatedRegion* const region = FindCurrent(static_cast<u32>(pc));
    ThreadedHandler enter = nullptr;
    // Others are entered though they are passed by elsewhere: going back to the interpreter would
    // cost more than a short visit.
    const bool isHopeless = region != nullptr && region->nextPause == kMostMissed;
    if (region != nullptr && !(isHopeless && IsPassedBy(*region))) {
        enter = Enter(*region, static_cast<u32>(pc));
    } else {
        NoteVisit(static_cast<u32>(trace));
    }
    interpretedFrom = pcTraceCount;
    nextTranslationCheck = pcTraceCount + 1;
    (enter != nullptr ? enter : executeByInterpreter)(base, pc, sp, fp, pcTraceCount, 0);
}

// BLOCKMOVE, called by translated code. False, with nothing done, when it touches the header or
// translated code or leaves the image: the interpreter then does it. Nothing here may fault, since
// the guard's handler could not tell which instruction of the module it was.
bool MoveBlock(u32 to, u32 from, u32 size) {
    const u64 bytes = u64{Load<u32>(kHeaderBlockCount)} << size;
    if (bytes == 0) {
        return true;
    }
    if (std::min(to, from) < kHeaderSize || std::max(to, from) + bytes > imageSize) {
        return false;
    }
    if (AreCovered(to, bytes)) {
        return false;
    }
    std::memmove(image + to, image + from, bytes);
    return true;
}

// --- Regions

void Forget(TranslatedRegion& region) {
    for (const auto& entry : region.entries) {
        const auto found = regionAt.find(entry.pc);
        if (found == regionAt.end() || found->second != &region) {
            continue;
        }
        regionAt.erase(found);
        SetEntry(entry.pc, 0);
    }
}

void PauseChanged(const TranslatedRegion& region) {
    if (settings.threshold <= 1) {
        return;
    }
    if (changesAt.size() > kMostLooks) {
        changesAt.clear();
    }
    for (const auto& entry : region.entries) {
        u32& changes = changesAt[entry.pc];
        looks[entry.pc] = -(kPauseOfChanged << std::min(changes++, kMostDoublings));
    }
}

void SetFloor(const Region& region) {
    const DecodedInstruction& last = region.instructions.back();
    const u32 end = last.pc + last.length;
    translatedState.floor = std::max(translatedState.floor, end);
    translatedState.pushFloor = translatedState.floor + kFloorRoom;
    // Regions that count on no code being where they store without a check are given up.
    const u32 start = region.instructions.front().pc;
    for (const auto& other : regions) {
        const bool writesThere =
            std::any_of(other->writes.begin(), other->writes.end(),
                        [&](u32 at) { return at + 8 > start && at < end && IsCovered(at); });
        if (writesThere) {
            Forget(*other);
        }
    }
}

// The shared code is written together with the first region, since changing the protection of pages
// takes as long as translating ten instructions.
void WriteBehindShared(u8* base, const std::vector<u8>& code) {
    if (unwritten.empty()) {
        WriteCode(base, code);
        return;
    }
    unwritten.insert(unwritten.end(), code.begin(), code.end());
    WriteCode(base - (unwritten.size() - code.size()), unwritten);
    unwritten.clear();
}

TranslatedRegion* Translate(u32 pc) {
    const Region region = FindRegion(
        pc, [](u32 at) { return EntryAt(at) != 0; }, settings.largestRegion);
    if (region.instructions.empty()) {
        return nullptr;
    }
    const u16 wide = WideRegisters(region);
    CountUses(region, registerUses);
    if (codeUsed + kRegionRoom > kCodeMemory || (narrowRegisters & wide) != 0 ||
        OtherHostsAreBetter()) {
        ForgetEverything();
    }
    wideRegisters = static_cast<u16>(wideRegisters | wide);
    if (regions.empty()) {
        ChooseHosts();
        unwritten = EmitSharedCode(
            translatedState.codeMemory,
            {reinterpret_cast<const void*>(OnLeave), reinterpret_cast<const void*>(OnLeaveReturn),
             reinterpret_cast<const void*>(OnArrival), reinterpret_cast<const void*>(MoveBlock)},
            shared);
        settling.jump = shared.jump;
        settling.jumpEnd = shared.moveBlock;
        unwritten.resize((unwritten.size() + 63) / 64 * 64);
        codeUsed = unwritten.size();
    }
    for (const DecodedInstruction& in : region.instructions) {
        Cover(in.pc, in.length);
    }
    u8* const base = translatedState.codeMemory + codeUsed;
    regions.push_back(std::make_unique<TranslatedRegion>());
    TranslatedRegion& made = *regions.back();
    Translation translation = EmitRegion(region, base, shared, &made.generation);
    if (translation.code.empty() || translation.code.size() > kRegionRoom) {
        regions.pop_back();
        return nullptr;
    }
    WriteBehindShared(base, translation.code);
    codeUsed += (translation.code.size() + 63) / 64 * 64;

    made.code = base;
    made.size = translation.code.size();
    made.places = std::move(translation.places);
    made.blocks = std::move(translation.blocks);
    made.asides = std::move(translation.asides);
    made.entries = std::move(translation.entries);
    made.stretches = StretchesOf(region);
    Watch(made);
    made.writes = std::move(translation.writes);
    for (const auto& entry : made.entries) {
        if (regionAt.contains(entry.pc)) {
            continue;
        }
        regionAt[entry.pc] = &made;
        SetEntry(entry.pc, static_cast<u32>(base - translatedState.codeMemory) + entry.offset);
    }
    SetFloor(region);
    ++translatorCounts.regions;
    translatorCounts.instructions += region.instructions.size();
    translatorCounts.bytes += made.size;
    return &made;
}

// A region one of whose pages has been written is no longer watched, but compared before it is
// entered.
void LetWrittenGo() {
    if (!WasWatchedPageWritten()) {
        return;
    }
    for (const auto& region : regions) {
        if (!region->isWatched || AllWatched(*region)) {
            continue;
        }
        region->isWatched = false;
        region->generation = 0;
    }
}

// Called when the interpreter or services have run: they may have changed the module's code, so
// regions that are not watched have to be compared again.
void BeginGeneration() {
    LetWrittenGo();
    if (++translatedState.generation < kAlwaysCurrent) {
        return;
    }
    translatedState.generation = 1;
    for (const auto& region : regions) {
        if (!region->isWatched) {
            region->generation = 0;
        }
    }
}

// The region that is entered at `pc`, if the module's code is still what it was made from, or null.
TranslatedRegion* FindCurrent(u32 pc) {
    const auto found = regionAt.find(pc);
    if (found == regionAt.end()) {
        return nullptr;
    }
    TranslatedRegion* const region = found->second;
    if (region->generation >= translatedState.generation) {
        return region;
    }
    if (IsUnchanged(*region)) {
        region->generation = translatedState.generation;
        return region;
    }
    Forget(*region);
    PauseChanged(*region);
    ++translatorCounts.changes;
    return nullptr;
}

// The registers, a bit for each, that should be narrow but have something in their upper half now.
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

// Whether all registers that should be narrow are. One that again and again is not becomes a wide
// one.
bool NarrowHolds() {
    const u16 wrong = WrongRegisters();
    if (wrong == 0) {
        return true;
    }
    if (++refusals >= (settings.threshold <= 1 ? 2 : kMostRefusals)) {
        refusals = 0;
        wideRegisters = static_cast<u16>(wideRegisters | wrong);
        ForgetEverything();
    }
    return false;
}

// The handler that enters a region at `pc`, or null when a register that should be narrow is not.
ThreadedHandler Enter(TranslatedRegion& region, u32 pc) {
    if (!NarrowHolds()) {
        return nullptr;
    }
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
    if (pc % 4 != 0 || u64{pc} + 4 > translatedState.entriesSize) {
        return nullptr;
    }
    if (looks.size() > kMostLooks) {
        looks.clear();
    }
    i32& seen = looks[pc];
    seen += settings.threshold <= 1 ? kLook : count;
    if (seen < settings.threshold * kLook) {
        return nullptr;
    }
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
    if (region == nullptr) {
        region = TranslateAfter(pc, isSoon ? 1 : kLook);
    }
    if (region == nullptr) {
        return nullptr;
    }
    return IsPassedBy(*region) ? nullptr : Enter(*region, pc);
}

}  // namespace

TranslatorStart StartTranslator(const TranslatorOptions& options) {
    StopTranslator();
    if (!kThreaded || image == nullptr) {
        return TranslatorStart::Unsupported;
    }
    if (imageSize > kLargestImage) {
        return TranslatorStart::ImageTooLarge;
    }
    if (!MakeCodeMemory() || !MakeTables()) {
        return TranslatorStart::NoMemory;
    }
    settings = options;
    settling.traceDepth = options.traceDepth;
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
    if (translatedCodeAt != nullptr) {
        SettleModuleThread();
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
