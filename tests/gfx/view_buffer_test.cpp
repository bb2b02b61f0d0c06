// The view's pixels when there is no memory for them.

#include <gtest/gtest.h>

#include "gfx/present.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

namespace {

using ViewBufferTest = VmTest;

TEST_F(ViewBufferTest, AViewThatNoMemoryHoldsEndsTheRunAndIsLeftAsItWas) {
    ViewBuffer view;
    ResizeViewBuffer(view, 3, 2);
    // 4 * 2^22 * 2^22 bytes are more than any machine has.
    EXPECT_EQ(EndStatus([&view] { ResizeViewBuffer(view, 1 << 22, 1 << 22); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Terminating: insufficient memory. So sorry."});
    EXPECT_EQ(view.width, 3);
    EXPECT_EQ(view.height, 2);
    EXPECT_EQ(view.pixels.size(), 24u);
}

}  // namespace

}  // namespace moxi
