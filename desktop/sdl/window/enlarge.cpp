// This file is compiled once for each instruction set: the include of foreach_target.h brings it in
// again.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "desktop/sdl/window/enlarge.cpp"
// Vectors of a length that is known when the program starts cannot be members of records.
#define HWY_DISABLED_TARGETS (HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "base/bytes.h"
#include "desktop/sdl/window/enlarge.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Writes each pixel as often as `ends` says: pixel i up to, but not including, place ends[i]. Up to
// a vector beyond the last place is written, too.
void RepeatPixelsHere(u32* to, const u32* from, const i32* ends, i32 first, std::size_t count) {
    const hn::ScalableTag<u32> d;
    const i32 lanes = static_cast<i32>(hn::Lanes(d));
    i32 at = first;
    for (std::size_t i = 0; i < count; ++i) {
        const i32 end = ends[i];
        const auto pixel = hn::Set(d, from[i]);
        for (i32 x = at; x < end; x += lanes) {
            hn::StoreU(pixel, d, to + (x - first));
        }
        at = end;
    }
}

u32 ExchangedPixel(u32 pixel) {
    const u32 moved = pixel & 0x00FF00FF;
    return (pixel & 0xFF00FF00) | moved << 16 | moved >> 16;
}

void ExchangeHere(u32* to, const u32* from, std::size_t count) {
    const hn::ScalableTag<u32> d;
    const auto outer = hn::Set(d, 0x00FF00FF);
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        const auto pixels = hn::LoadU(d, from + i);
        const auto kept = hn::AndNot(outer, pixels);
        const auto moved = hn::And(outer, pixels);
        hn::StoreU(hn::Or(kept, hn::Or(hn::ShiftLeft<16>(moved), hn::ShiftRight<16>(moved))), d,
                   to + i);
    }
    for (; i < count; ++i) {
        to[i] = ExchangedPixel(from[i]);
    }
}

// Copies a row past the caches. `to` is a multiple of 4.
template <bool exchanges>
HWY_INLINE void StreamPixels(u8* to, const u8* from, std::size_t count) {
    const hn::ScalableTag<u32> d;
    const auto outer = hn::Set(d, 0x00FF00FF);
    const std::size_t bytes = hn::Lanes(d) * 4;
    const auto single = [&](std::size_t i) {
        const u32 pixel = LoadBytes<u32>(from + i * 4);
        StoreBytes<u32>(to + i * 4, exchanges ? ExchangedPixel(pixel) : pixel);
    };
    const std::size_t beside = reinterpret_cast<std::uintptr_t>(to) % bytes;
    const std::size_t head = std::min((bytes - beside) % bytes / 4, count);
    std::size_t i = 0;
    for (; i < head; ++i) {
        single(i);
    }
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        auto pixels = hn::LoadU(d, reinterpret_cast<const u32*>(from + i * 4));
        if constexpr (exchanges) {
            const auto moved = hn::And(outer, pixels);
            pixels = hn::Or(hn::AndNot(outer, pixels),
                            hn::Or(hn::ShiftLeft<16>(moved), hn::ShiftRight<16>(moved)));
        }
        hn::Stream(pixels, d, reinterpret_cast<u32*>(to + i * 4));
    }
    for (; i < count; ++i) {
        single(i);
    }
}

void StreamHere(u8* to, const u8* from, std::size_t count, bool exchanges) {
    if (exchanges) {
        StreamPixels<true>(to, from, count);
    } else {
        StreamPixels<false>(to, from, count);
    }
    hwy::FlushStream();
}

// Between two rows, `part` 256ths of the way.
void MixRowsHere(u32* to, const u32* upper, const u32* lower, std::size_t count, u32 part) {
    const hn::ScalableTag<u16> d;
    const auto weight = hn::Set(d, static_cast<u16>(part));
    const auto rest = hn::Set(d, static_cast<u16>(256 - part));
    const auto rounding = hn::Set(d, u16{128});
    const u8* const a = reinterpret_cast<const u8*>(upper);
    const u8* const b = reinterpret_cast<const u8*>(lower);
    u8* const out = reinterpret_cast<u8*>(to);
    const std::size_t bytes = count * 4;
    const std::size_t lanes = hn::Lanes(d);
    const hn::Rebind<u8, decltype(d)> narrow;
    std::size_t i = 0;
    for (; i + lanes <= bytes; i += lanes) {
        const auto x = hn::PromoteTo(d, hn::LoadU(narrow, a + i));
        const auto y = hn::PromoteTo(d, hn::LoadU(narrow, b + i));
        // At most 255 * 256 + 128, which the lanes hold.
        const auto sum = hn::Add(hn::Add(hn::Mul(x, rest), hn::Mul(y, weight)), rounding);
        hn::StoreU(hn::DemoteTo(narrow, hn::BitCast(hn::RebindToSigned<decltype(d)>(),
                                                    hn::ShiftRight<8>(sum))),
                   narrow, out + i);
    }
    for (; i < bytes; ++i) {
        out[i] = static_cast<u8>((a[i] * (256 - part) + b[i] * part + 128) >> 8);
    }
}

// For each place the pixel at lefts[] and the one at rights[], mixed by parts[] 256ths. All three
// have room for a vector beyond `count`, and so does `to`.
void MixPixelsHere(u32* to, const u32* from, const i32* lefts, const i32* rights, const u32* parts,
                   std::size_t count) {
    const hn::ScalableTag<u32> d;
    const hn::RebindToSigned<decltype(d)> dIndex;
    const auto outer = hn::Set(d, 0x00FF00FF);
    const auto rounding = hn::Set(d, 0x00800080);
    const auto whole = hn::Set(d, 256);
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        const auto a = hn::GatherIndex(d, from, hn::LoadU(dIndex, lefts + i));
        const auto b = hn::GatherIndex(d, from, hn::LoadU(dIndex, rights + i));
        const auto weight = hn::LoadU(d, parts + i);
        const auto rest = hn::Sub(whole, weight);
        // Two channels in the halves of a word: neither sum reaches beyond 16 bits.
        const auto even =
            hn::Add(hn::Add(hn::Mul(hn::And(a, outer), rest), hn::Mul(hn::And(b, outer), weight)),
                    rounding);
        const auto odd = hn::Add(hn::Add(hn::Mul(hn::And(hn::ShiftRight<8>(a), outer), rest),
                                         hn::Mul(hn::And(hn::ShiftRight<8>(b), outer), weight)),
                                 rounding);
        hn::StoreU(hn::Or(hn::And(hn::ShiftRight<8>(even), outer), hn::AndNot(outer, odd)), d,
                   to + i);
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(RepeatPixelsHere);
HWY_EXPORT(ExchangeHere);
HWY_EXPORT(StreamHere);
HWY_EXPORT(MixRowsHere);
HWY_EXPORT(MixPixelsHere);

namespace {

// What the longest vector writes beyond the end of a row.
constexpr std::size_t kSlack = 512;
// Pictures of so many pixels go past the caches.
constexpr std::size_t kStreamedPixels = std::size_t{1} << 18;

// Writes one row of the target; with `streams` past the caches, since nothing here reads it again.
void PutRow(u8* to, const u8* from, std::size_t count, bool exchanges, bool streams) {
    if (streams) {
        HWY_DYNAMIC_DISPATCH(StreamHere)(to, from, count, exchanges);
    } else if (exchanges) {
        HWY_DYNAMIC_DISPATCH(ExchangeHere)
        (reinterpret_cast<u32*>(to), reinterpret_cast<const u32*>(from), count);
    } else {
        std::memcpy(to, from, count * 4);
    }
}

// One direction of the mapping: `size` places over `count` source pixels.
struct Axis {
    i64 count = 0;
    i64 size = 0;

    // The pixel nearest to the centre of a place.
    i64 Nearest(i64 place) const { return (2 * place + 1) * count / (2 * size); }
    // The first place whose nearest pixel is this or a later one.
    i64 FirstPlace(i64 pixel) const {
        // (2 p + 1) count >= pixel * 2 size
        const i64 least = pixel * 2 * size - count;
        return std::clamp<i64>(least <= 0 ? 0 : (least + 2 * count - 1) / (2 * count), 0, size);
    }
    // Where the centre of a place lies between the centres of pixels, in 256ths; the first centre
    // is 0, and nothing lies beyond the first and the last.
    i64 Position(i64 place) const {
        const i64 position = ((2 * place + 1) * count * 256 / size - 256) / 2;
        return std::clamp<i64>(position, 0, (count - 1) * 256);
    }
    // Places that the pixels from `first` to before `end` have a part in.
    i64 FirstTouched(i64 first) const { return std::max<i64>((first - 1) * size / count - 1, 0); }
    i64 EndTouched(i64 end) const { return std::min((end + 1) * size / count + 2, size); }
};

struct Span {
    i32 first = 0;
    i32 end = 0;
};

// The places of an axis to draw that lie in 0..room of the target, whose place 0 is at `offset`.
Span PlacesOf(const Axis& axis, i32 first, i32 end, i32 offset, i32 room, bool smooth) {
    i64 from = smooth ? axis.FirstTouched(first) : axis.FirstPlace(first);
    i64 to = smooth ? axis.EndTouched(end) : axis.FirstPlace(end);
    from = std::max<i64>(from, -offset);
    to = std::min<i64>(to, i64{room} - offset);
    return {static_cast<i32>(from), static_cast<i32>(std::max(from, to))};
}

// Kept between pictures, so that no memory is asked for in each of them.
struct Workspace {
    std::vector<u32> source;  // a row in the target's order
    std::vector<u32> rows[2];
    std::vector<u32> mixed;
    std::vector<i32> ends;
    std::vector<i32> lefts;
    std::vector<i32> rights;
    std::vector<u32> parts;
};

struct Job {
    const SourcePicture& from;
    const TargetPicture& to;
    ScreenArea place;
    Axis across;
    Axis down;
    Span columns;
    Span rows;

    u8* RowOf(i32 row) const {
        return to.pixels + i64{place.y + row} * to.pitch + i64{place.x + columns.first} * 4;
    }
    std::size_t Width() const { return static_cast<std::size_t>(columns.end - columns.first); }
    bool Streams() const {
        return Width() * static_cast<std::size_t>(rows.end - rows.first) >= kStreamedPixels;
    }
    // A row that is in the target's order of bytes already.
    void Put(i32 row, const std::vector<u32>& drawn) const {
        PutRow(RowOf(row), reinterpret_cast<const u8*>(drawn.data()), Width(), false, Streams());
    }
};

Workspace& TheWorkspace() {
    static Workspace workspace;
    return workspace;
}

// A row of the source in the target's order of bytes.
const u32* SourceRow(const Job& job, i64 row, i64 first, std::size_t count) {
    const u8* const pixels = job.from.pixels + row * job.from.pitch + first * 4;
    std::vector<u32>& words = TheWorkspace().source;
    words.resize(std::max(words.size(), count + kSlack));
    std::memcpy(words.data(), pixels, count * 4);
    if (job.to.redAndBlueExchanged) {
        HWY_DYNAMIC_DISPATCH(ExchangeHere)(words.data(), words.data(), count);
    }
    return words.data();
}

void DrawSharp(const Job& job) {
    Workspace& work = TheWorkspace();
    const i64 firstPixel = job.across.Nearest(job.columns.first);
    const i64 lastPixel = job.across.Nearest(job.columns.end - 1);
    const std::size_t count = static_cast<std::size_t>(lastPixel - firstPixel + 1);
    work.ends.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const i64 end = job.across.FirstPlace(firstPixel + static_cast<i64>(i) + 1);
        work.ends[i] = static_cast<i32>(std::min<i64>(end, job.columns.end));
    }
    std::vector<u32>& drawn = work.rows[0];
    drawn.resize(std::max(drawn.size(), job.Width() + kSlack));
    for (i32 row = job.rows.first; row < job.rows.end;) {
        const i64 sourceRow = job.down.Nearest(row);
        const i32 end =
            std::min(static_cast<i32>(job.down.FirstPlace(sourceRow + 1)), job.rows.end);
        const u32* const source = SourceRow(job, sourceRow, firstPixel, count);
        HWY_DYNAMIC_DISPATCH(RepeatPixelsHere)
        (drawn.data(), source, work.ends.data(), job.columns.first, count);
        for (; row < end; ++row) {
            job.Put(row, drawn);
        }
    }
}

void DrawSmooth(const Job& job) {
    Workspace& work = TheWorkspace();
    const std::size_t width = job.Width();
    for (std::vector<i32>* indices : {&work.lefts, &work.rights}) {
        indices->assign(width + kSlack, 0);
    }
    work.parts.assign(width + kSlack, 0);
    work.mixed.resize(std::max(work.mixed.size(), width));
    for (std::size_t i = 0; i < width; ++i) {
        const i64 position = job.across.Position(job.columns.first + static_cast<i64>(i));
        work.lefts[i] = static_cast<i32>(position / 256);
        work.rights[i] = std::min(work.lefts[i] + 1, job.from.width - 1);
        work.parts[i] = static_cast<u32>(position % 256);
    }
    i64 held[2] = {-1, -1};  // the source rows that `rows` have, mixed across
    const auto mixed = [&](i64 row) {
        const std::size_t slot = static_cast<std::size_t>(row % 2);
        std::vector<u32>& drawn = work.rows[slot];
        drawn.resize(std::max(drawn.size(), width + kSlack));
        if (held[slot] != row) {
            const u32* const source =
                SourceRow(job, row, 0, static_cast<std::size_t>(job.from.width));
            HWY_DYNAMIC_DISPATCH(MixPixelsHere)
            (drawn.data(), source, work.lefts.data(), work.rights.data(), work.parts.data(), width);
            held[slot] = row;
        }
        return drawn.data();
    };
    for (i32 row = job.rows.first; row < job.rows.end; ++row) {
        const i64 position = job.down.Position(row);
        const u32* const upper = mixed(position / 256);
        const u32* const lower = mixed(std::min<i64>(position / 256 + 1, job.from.height - 1));
        HWY_DYNAMIC_DISPATCH(MixRowsHere)
        (work.mixed.data(), upper, lower, width, static_cast<u32>(position % 256));
        job.Put(row, work.mixed);
    }
}

}  // namespace

ScreenArea Enlarge(const SourcePicture& from, const TargetPicture& to, const ScreenArea& place,
                   const ScreenArea& changed, bool smooth) {
    const i32 left = std::max(changed.x, 0);
    const i32 top = std::max(changed.y, 0);
    const i32 right = std::min(changed.x + changed.width, from.width);
    const i32 bottom = std::min(changed.y + changed.height, from.height);
    if (left >= right || top >= bottom || place.width <= 0 || place.height <= 0) {
        return {};
    }
    const Axis across = {from.width, place.width};
    const Axis down = {from.height, place.height};
    const Job job = {from,
                     to,
                     place,
                     across,
                     down,
                     PlacesOf(across, left, right, place.x, to.width, smooth),
                     PlacesOf(down, top, bottom, place.y, to.height, smooth)};
    if (job.columns.first >= job.columns.end || job.rows.first >= job.rows.end) {
        return {};
    }
    if (smooth) {
        DrawSmooth(job);
    } else {
        DrawSharp(job);
    }
    return {place.x + job.columns.first, place.y + job.rows.first,
            job.columns.end - job.columns.first, job.rows.end - job.rows.first};
}

void CopyPixels(const SourcePicture& from, const TargetPicture& to, const ScreenArea& area) {
    const std::size_t width = static_cast<std::size_t>(std::max(area.width, 0));
    const bool streams =
        width * static_cast<std::size_t>(std::max(area.height, 0)) >= kStreamedPixels;
    for (i32 y = area.y; y < area.y + area.height; ++y) {
        PutRow(to.pixels + i64{y} * to.pitch + i64{area.x} * 4,
               from.pixels + i64{y} * from.pitch + i64{area.x} * 4, width, to.redAndBlueExchanged,
               streams);
    }
}

#endif

}  // namespace moxi
