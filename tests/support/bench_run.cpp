#include "tests/support/bench_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/vm_fixture.h"
#include "translate/translator.h"
#include "vm/diagnostics.h"
#include "vm/guard.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace moxi {

using plain::Outcome;

namespace {

constexpr u32 kStopWord = 532;

struct BudgetIsSpent {};

u64 instructionsLeft = 0;

const InstructionTrace kBudgetTrace = {
    [](u32) {},
    [](u32) {
        if (--instructionsLeft == 0) {
            throw BudgetIsSpent{};
        }
    },
};

bool StartsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

// The interpreter does not report how a run ended; the state that it left shows it.
Outcome OutcomeOfReturn(i32 modalDepthBefore) {
    const std::string last = vmEvents.messages.empty() ? "" : vmEvents.messages.back();
    if ((runState & 1) != 0) {
        if (StartsWith(last, "Illegal opcode")) {
            return Outcome::IllegalOpcode;
        }
        if (StartsWith(last, "Stack overflow")) {
            return Outcome::StackOverflow;
        }
        return Outcome::Stopped;
    }
    if (StartsWith(last, "Illegal EMOD")) {
        return Outcome::BadEmod;
    }
    if (Load<u32>(136) == 0 && modalDepth <= modalDepthBefore) {
        return Outcome::Returned;
    }
    return Outcome::Modal;
}

Outcome OutcomeOfEnd() {
    const std::string last = vmEvents.messages.empty() ? "" : vmEvents.messages.back();
    return StartsWith(last, "Division error") ? Outcome::DivisionError : Outcome::MemoryFault;
}

// Everything is translated at its first execution.
constexpr moxi::TranslatorOptions kTranslateAll = {
    .interval = 0, .threshold = 1, .traceDepth = 250};

RunResult RunOnHost(Engine engine, const std::vector<u8>& bytes, const RunOptions& options) {
    const bool traced = engine == Engine::Traced;
    if (imageSize != bytes.size() && !AllocateImage(static_cast<u32>(bytes.size()))) {
        throw std::bad_alloc();
    }
    std::memcpy(image, bytes.data(), bytes.size());
    std::memset(image + bytes.size(), 0, (bytes.size() + 63) / 64 * 64 - bytes.size());
    std::fill_n(pcTrace, kPcTraceSize, TraceEntry{});
    pcTraceCount = 0;
    pcPreJsr = 0;
    modalDepth = options.modalDepth;
    presentNotify = false;
    runState = 0;
    vmEvents.messages.clear();
    vmFiles.contents.erase("debug.log");

    RunResult result;
    instructionTrace = traced ? &kBudgetTrace : nullptr;
    instructionsLeft = options.budget;
    if (engine == Engine::Translated) {
        TranslatorOptions all = kTranslateAll;
        all.largestRegion = options.largestRegion;
        StartTranslator(all);
    }
    try {
        RunInterpreter();
        result.outcome = OutcomeOfReturn(options.modalDepth);
    } catch (const ProcessEnded& end) {
        EXPECT_EQ(end.status, 1);
        result.outcome = OutcomeOfEnd();
    } catch (const BudgetIsSpent&) {
        result.outcome = Outcome::BudgetSpent;
    }
    instructionTrace = nullptr;
    moxi::StopTranslator();
    result.image.assign(image, image + bytes.size());
    result.messages = vmEvents.messages;
    if (vmFiles.contents.contains("debug.log")) {
        result.debugLog = vmFiles.contents["debug.log"];
    }
    for (u64 i = pcTraceCount - std::min<u64>(pcTraceCount, 1024); i < pcTraceCount; ++i) {
        result.trace.push_back(pcTrace[i & 1023].pc);
    }
    result.modalDepth = modalDepth;
    result.pcPreJsr = pcPreJsr;
    result.runState = runState;
    result.presentNotify = presentNotify;
    return result;
}

RunResult RunOnPlain(const std::vector<u8>& bytes, const RunOptions& options) {
    plain::Machine m = plain::MakeMachine(bytes);
    m.modalDepth = options.modalDepth;
    m.sys = options.plainSys;
    RunResult result;
    result.outcome = plain::Run(m, options.budget);
    result.image.assign(m.memory.begin(), m.memory.begin() + static_cast<i64>(bytes.size()));
    result.messages = std::move(m.messages);
    result.debugLog = std::move(m.debugLog);
    const size_t old = m.trace.size() < 1024 ? 0 : m.trace.size() - 1024;
    result.trace.assign(m.trace.begin() + static_cast<i64>(old), m.trace.end());
    result.modalDepth = m.modalDepth;
    result.pcPreJsr = m.pcPreJsr;
    result.runState = m.runState;
    result.presentNotify = m.presentNotify;
    result.nansMet = m.nansMet;
    return result;
}

}  // namespace

u64 PaperImage::Get(u32 address, u32 size) const {
    u64 value = 0;
    std::memcpy(&value, &bytes.at(address), size);
    return value;
}

void PaperImage::Put(u32 address, u64 value, u32 size) {
    std::memcpy(&bytes.at(address), &value, size);
}

void PaperImage::PutWords(u32 address, const std::vector<u32>& words) {
    for (size_t i = 0; i < words.size(); ++i) {
        Put(address + static_cast<u32>(4 * i), words[i], 4);
    }
}

PaperImage BenchPicture() {
    PaperImage picture;
    picture.bytes.resize(kBenchSize);
    for (u32 i = 0; i < kBenchSize; ++i) {
        picture.bytes[i] = static_cast<u8>(i * 37 + (i >> 8) + 11);
    }
    for (u32 at = kBenchCode; at < 1024; at += 4) {
        picture.Put(at, kStopWord, 4);
    }
    picture.Put(136, kBenchCode, 4);
    picture.Put(144, kBenchStackTop, 4);
    picture.Put(152, kBenchStackLimit, 4);
    picture.Put(160, kBenchSP, 4);
    picture.Put(168, kBenchFP, 4);
    picture.Put(176, 0, 4);
    picture.Put(184, 0, 4);
    picture.Put(192, 0, 1);
    return picture;
}

const char* EngineName(Engine engine) {
    switch (engine) {
        case Engine::Fast: return "interpreter";
        case Engine::Translated: return "translator";
        case Engine::Traced: return "traced interpreter";
        case Engine::Plain: return "plain executor";
    }
    return "?";
}

RunResult RunOn(Engine engine, const std::vector<u8>& bytes, const RunOptions& options) {
    if (engine == Engine::Plain) {
        return RunOnPlain(bytes, options);
    }
    return RunOnHost(engine, bytes, options);
}

std::string FieldName(u32 address) {
    const auto inside = [address](const char* name, u32 start) {
        return address == start ? std::string(name)
                                : std::string(name) + "+" + std::to_string(address - start);
    };
    if (address >= 8 && address < 136) {
        const u32 r = (address - 8) / 8;
        return inside(("R" + std::to_string(r)).c_str(), 8 + 8 * r);
    }
    if (address >= 136 && address < 144) {
        return inside("PC", 136);
    }
    if (address >= 144 && address < 152) {
        return inside("stack top", 144);
    }
    if (address >= 152 && address < 160) {
        return inside("stack limit", 152);
    }
    if (address >= 160 && address < 168) {
        return inside("SP", 160);
    }
    if (address >= 168 && address < 176) {
        return inside("FP", 168);
    }
    if (address >= 176 && address < 184) {
        return inside("modal chain", 176);
    }
    if (address >= 184 && address < 192) {
        return inside("block count", 184);
    }
    if (address == 192) {
        return "flags";
    }
    if (address == 193) {
        return "result";
    }
    if (address >= 256 && address < 264) {
        return inside("slot", 256);
    }
    return FormatText("0x%8.8X", address);
}

std::string Differences(const std::vector<u8>& got, const std::vector<u8>& wanted) {
    if (got.size() != wanted.size()) {
        return "the images differ in size\n";
    }
    std::string text;
    u32 lines = 0;
    for (u32 at = 0; at < got.size() && lines < 10; ++at) {
        if (got[at] == wanted[at]) {
            continue;
        }
        // The flags and the message result are bytes of their own.
        const u32 width = at == 192 || at == 193 ? 1 : 4;
        const u32 start = at / width * width;
        u32 gotValue = 0;
        u32 wantedValue = 0;
        const size_t taken = std::min<size_t>(width, got.size() - start);
        std::memcpy(&gotValue, &got[start], taken);
        std::memcpy(&wantedValue, &wanted[start], taken);
        text += FormatText("  %s is 0x%8.8X, expected 0x%8.8X\n", FieldName(start).c_str(),
                           gotValue, wantedValue);
        ++lines;
        at = start + width - 1;
    }
    return text;
}

void ExpectRun(const std::string& name, const PaperImage& before, const Expected& expected) {
    for (const Engine engine : {Engine::Fast, Engine::Translated, Engine::Traced, Engine::Plain}) {
        const RunResult result =
            RunOn(engine, before.bytes, {.modalDepth = expected.modalDepthBefore});
        const std::string where = name + " on the " + EngineName(engine);
        EXPECT_STREQ(plain::OutcomeName(result.outcome), plain::OutcomeName(expected.outcome))
            << where;
        const std::string differences = Differences(result.image, expected.after.bytes);
        EXPECT_TRUE(differences.empty()) << where << ":\n" << differences;
        EXPECT_EQ(result.messages, expected.messages) << where;
        EXPECT_EQ(result.modalDepth, expected.modalDepth) << where;
        EXPECT_EQ(result.presentNotify, expected.presentNotify) << where;
        const bool stops = expected.outcome == Outcome::Stopped ||
                           expected.outcome == Outcome::IllegalOpcode ||
                           expected.outcome == Outcome::StackOverflow;
        EXPECT_EQ(result.runState, stops ? 1u : 0u) << where;
    }
}

}  // namespace moxi
