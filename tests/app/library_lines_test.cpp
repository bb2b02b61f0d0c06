// What libraries write to standard error by themselves.

#include "app/library_lines.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "base/log.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

// What stands on standard error when a process has done this.
std::string ErrorsOf(void (*work)()) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/errors";
    const pid_t child = fork();
    if (child == 0) {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
        dup2(file, STDERR_FILENO);
        work();
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return ReadTextFile(path);
}

TEST(LibraryLines, ComeAsLinesOfTheSystemLogOneForOne) {
    EXPECT_EQ(ErrorsOf([] {
                  TakeLibraryLines();
                  std::fputs("before the thread\n", stderr);
                  TellLibraryLines();
                  std::fputs("two in\n\none go, the last without an end", stderr);
                  GiveBackStandardError();
                  std::fputs("as it is\n", stderr);
              }),
              "log: before the thread\nlog: two in\nlog: one go, the last without an end\n"
              "as it is\n");
}

TEST(LibraryLines, TheProgramsOwnLinesGoTheirOwnWay) {
    EXPECT_EQ(ErrorsOf([] {
                  TakeLibraryLines();
                  WriteErrorLine("fatal: ", "ours");
                  GiveBackStandardError();
              }),
              "fatal: ours\n");
}

TEST(LibraryLines, WhatALibrarySaysBeforeItAbortsIsNotLost) {
    EXPECT_EQ(ErrorsOf([] {
                  TakeLibraryLines();
                  std::fputs("assertion failed\n", stderr);
                  std::abort();
              }),
              "assertion failed\n");
}

TEST(LibraryLines, MoreThanFitsBeforeAnybodyReadsHoldsNothingUp) {
    const std::string errors = ErrorsOf([] {
        TakeLibraryLines();
        for (int i = 0; i < 100000; ++i) {
            std::fputs("again and again and again\n", stderr);
        }
        GiveBackStandardError();
    });
    EXPECT_TRUE(errors.starts_with("log: again and again and again\n"));
}

}  // namespace

}  // namespace moxi
