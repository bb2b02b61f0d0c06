// The inner loops as vector code. This file is compiled once for each instruction set: the include
// of foreach_target.h brings it in again.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gfx/kernels_simd.cpp"
// Instruction sets that are left out: AVX3_DL has nothing beyond AVX3 that is used here and would
// only lengthen the build; SVE's vectors, whose length is known when the program starts and not
// before, cannot be members of records.
#define HWY_DISABLED_TARGETS (HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include <algorithm>

#include "gfx/kernels.h"
#include "gfx/simd_average.h"
#include "gfx/simd_blend.h"
#include "gfx/simd_colours.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const Kernels* Table() {
    return BaselineKernels();
}

#else

const Kernels* Table() {
    static const Kernels kTable = {
        .name = hwy::TargetName(HWY_TARGET),
        .fill = Fill,
        .blend = Blend<false>,
        .blendInverted = Blend<true>,
        .compose = Compose,
        .replace = Replace,
        .adjust = Adjust,
        .hueRow = HueRow,
        .average = Average,
    };
    return &kTable;
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(Table);

constinit const Kernels* kernels = &scalarKernels;

std::vector<const Kernels*> AvailableKernels() {
    std::vector<const Kernels*> available;
    for (const i64 target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(target);
        available.push_back(HWY_DYNAMIC_DISPATCH(Table)());
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    for (const Kernels* each : {BaselineKernels(), &scalarKernels}) {
        if (std::find(available.begin(), available.end(), each) == available.end()) {
            available.push_back(each);
        }
    }
    return available;
}

void ChooseKernels() {
    kernels = HWY_DYNAMIC_DISPATCH(Table)();
}

#endif

}  // namespace moxi
