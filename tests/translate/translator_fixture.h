#pragma once
// A module from its source, translated.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/vm_fixture.h"
#include "tools/asm/assembler.h"
#include "translate/translator.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/threaded.h"

namespace moxi {

class Translator : public VmTest {
  protected:
    void SetUp() override {
        VmTest::SetUp();
        if (!kThreaded) {
            GTEST_SKIP() << "this build interprets alone";
        }
        translatorCounts = {};
    }
    void TearDown() override {
        StopTranslator();
        VmTest::TearDown();
    }

    // Runs a message of a module made of `source`; gives back R14.
    static u32 RunSource(const std::string& source, u32 p1, const TranslatorOptions& options) {
        Load(source, options);
        MXmsg(1, p1, 0, 0);
        return moxi::Load<u32>(kHeaderR14);
    }

    static void Load(const std::string& source, const TranslatorOptions& options) {
        const AssembleResult assembled = Assemble(source, "test.mxs");
        ASSERT_TRUE(assembled.ok) << FormatErrors(assembled);
        ResetMachine();
        ResetRunCycle();
        vmFiles.contents["MAIN.MX"].assign(assembled.bytes.begin(), assembled.bytes.end());
        ASSERT_TRUE(LoadTestModule());
        ASSERT_EQ(StartTranslator(options), TranslatorStart::Running);
    }
};

// Everything is translated at its first execution.
constexpr TranslatorOptions kAll = {.interval = 0, .threshold = 1, .traceDepth = 16};

}  // namespace moxi
