// The benchmark kernels compute what independent programs compute: the wanted values come from
// Python (zlib.crc32, sorted, complex-free arithmetic on floats, whole numbers modulo 2^32).

#include <gtest/gtest.h>

#include "bench/mx_kernel.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

namespace {

struct KernelsTest : VmTest {};

struct SizeAndChecksum {
    u32 n;
    u32 checksum;
};

void ExpectChecksums(const std::string& name, const std::vector<SizeAndChecksum>& cases) {
    const std::string path = std::string(MOXI_SOURCE_DIR) + "/bench/kernels/" + name + ".mxs";
    ASSERT_EQ(mx_kernel::LoadKernel(path), "");
    for (const SizeAndChecksum& wanted : cases) {
        mx_kernel::SendKernel(mx_kernel::kSetup, wanted.n);
        mx_kernel::SendKernel(mx_kernel::kRun, wanted.n);
        EXPECT_EQ(mx_kernel::SendKernel(mx_kernel::kChecksum, wanted.n), wanted.checksum)
            << name << " of " << wanted.n;
    }
}

}  // namespace

TEST_F(KernelsTest, TheSieveFindsThePrimes) {
    // 18 primes below 64 with the sum 501; 78,498 below a million.
    ExpectChecksums("sieve", {{64, 519}, {6400, 2492309}, {1000000, 3190742153}});
}

TEST_F(KernelsTest, TheRecursionGivesFibonacciNumbers) {
    ExpectChecksums("fib", {{0, 0}, {1, 1}, {2, 1}, {20, 6765}});
}

TEST_F(KernelsTest, TheCrcIsThatOfZlib) {
    ExpectChecksums("crc32", {{4, 1591751511}, {4096, 2851047421}, {1048576, 556155224}});
}

TEST_F(KernelsTest, TheMandelbrotSetHasTheSameIterationsInAnotherLanguage) {
    ExpectChecksums("mandelbrot", {{16, 254207425}, {64, 543574278}});
}

TEST_F(KernelsTest, TheMatrixProductWrapsAt32Bits) {
    ExpectChecksums("matrix", {{8, 920922496}, {64, 2554003456}});
}

TEST_F(KernelsTest, QuicksortOrdersUnsignedWords) {
    ExpectChecksums("quicksort",
                    {{1, 1178692198}, {2, 1202011513}, {3, 1208909871}, {5000, 284086234}});
}

// Python's list.insert and list.pop.
TEST_F(KernelsTest, ListFindsItsNodesAndPutsThemInFront) {
    ExpectChecksums("list", {{2000, 2273468013u}, {20000, 467354028u}});
}

// Python's regular expressions.
TEST_F(KernelsTest, StateTellsNumbersFromWhatIsNone) {
    ExpectChecksums("state", {{1000, 452107981u}, {100000, 154197264u}});
}

}  // namespace moxi
