#include "gfx/coverage.h"

#include "gfx/row_kernels.h"

namespace moxi {

void LayPicture(const HostBitmap& bitmap, const TextPicture& picture, i32 baseline, u32 colour,
                const Area& area) {
    if (picture.coverage == nullptr) return;
    const i64 top = i64{baseline} + picture.top;
    const Area covered = Intersect(
        area, {picture.left, top, i64{picture.left} + picture.width, top + picture.height});
    if (covered.Empty()) return;
    const u32 opaque = colour | 0xFF000000;
    for (i64 y = covered.top; y < covered.bottom; ++y) {
        LayRow(bitmap.pixels + y * bitmap.stride + covered.left * i64{kBytesPerPixel},
               picture.coverage + (y - top) * static_cast<i64>(picture.stride) +
                   (covered.left - picture.left),
               static_cast<std::size_t>(covered.right - covered.left), opaque);
    }
}

}  // namespace moxi
