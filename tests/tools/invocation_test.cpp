// The number of arguments that a routine takes and that it is called with.

#include <gtest/gtest.h>

#include "tools/asm/assembler.h"

namespace moxi {

namespace {

std::vector<std::string> ErrorsOf(const std::string& source) {
    std::vector<std::string> errors;
    for (const AssembleError& error : Assemble(source, "t").errors) {
        errors.push_back(std::to_string(error.at.line) + ": " + error.at.text);
    }
    return errors;
}

using Errors = std::vector<std::string>;

TEST(Invocations, AnotherNumberThanTheRoutineTakesIsAnError) {
    EXPECT_EQ(ErrorsOf(".invoked f, 1\n.invoked f, 3\nf: LINK 0, 0\n.arguments 2\n.invoked f, 2\n"),
              (Errors{"1: 'f' takes 2 arguments (t:4), 1 is given",
                      "2: 'f' takes 2 arguments (t:4), 3 are given"}));
    EXPECT_EQ(ErrorsOf("f: NOP\n.arguments 1\n.invoked f, 0\n"),
              Errors{"3: 'f' takes 1 argument (t:2), 0 are given"});
}

TEST(Invocations, RoutinesThatSayNothingTakeAnyNumber) {
    EXPECT_EQ(ErrorsOf(".invoked f, 5\nf: NOP\n.invoked f + 4, 1\n.invoked 512, 1\n"), Errors{});
}

TEST(Invocations, TheLatestDeclarationCounts) {
    EXPECT_EQ(ErrorsOf("f:\n.arguments 0\nLINK 0, 0\n.arguments 3\n.invoked f, 3\n"), Errors{});
}

TEST(Invocations, ADeclarationInTheMiddleOfARoutineIsNotItsOwn) {
    EXPECT_EQ(ErrorsOf("f: LINK 0, 0\nRETURN 0\n.arguments 3\ng: NOP\n.invoked f, 1\n"), Errors{});
}

TEST(Invocations, WhatIsNoNumberIsAnError) {
    EXPECT_EQ(ErrorsOf("f: .arguments -1\n"),
              Errors{"1: a number of arguments is a whole number from 0 to 16383"});
    EXPECT_EQ(ErrorsOf("f: .invoked f\n"), Errors{"1: expected a comma"});
}

}  // namespace

}  // namespace moxi
