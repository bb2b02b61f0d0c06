// The view's pixels when there is no memory for more of them.

#include <gtest/gtest.h>

#include <new>

#include "gfx/present.h"
#include "vm/guard.h"

namespace {

TEST(ViewBuffer, WithoutMemoryForALargerViewItStaysAsItWas) {
    if (kCheckedAccess) GTEST_SKIP() << "sanitizers end the process at such a request";
    ViewBuffer view;
    ResizeViewBuffer(view, 3, 2);
    // 4 * 2^22 * 2^22 bytes are more than any machine has.
    EXPECT_THROW(ResizeViewBuffer(view, 1 << 22, 1 << 22), std::bad_alloc);
    EXPECT_EQ(view.width, 3);
    EXPECT_EQ(view.height, 2);
    EXPECT_EQ(view.pixels.size(), 24u);
}

}  // namespace
