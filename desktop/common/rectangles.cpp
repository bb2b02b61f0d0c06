#include "desktop/common/rectangles.h"

#include <algorithm>

namespace moxi {

WindowFrame WithinLimits(WindowFrame frame) {
    frame.width = std::clamp(frame.width, 1, kLargestSize);
    frame.height = std::clamp(frame.height, 1, kLargestSize);
    return frame;
}

bool IsEmpty(const ViewRect& rect) {
    return !(rect.width > 0 && rect.height > 0);  // NaN is no size
}

ViewRect Joined(const ViewRect& a, const ViewRect& b) {
    if (IsEmpty(a)) {
        return b;
    }
    if (IsEmpty(b)) {
        return a;
    }
    const double left = std::min(a.x, b.x);
    const double bottom = std::min(a.y, b.y);
    const double right = std::max(a.x + a.width, b.x + b.width);
    const double top = std::max(a.y + a.height, b.y + b.height);
    return {left, bottom, right - left, top - bottom};
}

ViewRect Clipped(const ViewRect& rect, ViewSize view) {
    const double left = std::max(rect.x, 0.0);
    const double bottom = std::max(rect.y, 0.0);
    const double right = std::min(rect.x + rect.width, static_cast<double>(view.width));
    const double top = std::min(rect.y + rect.height, static_cast<double>(view.height));
    return {left, bottom, std::max(right - left, 0.0), std::max(top - bottom, 0.0)};
}

ViewRect WholeView(ViewSize view) {
    return {0, 0, static_cast<double>(view.width), static_cast<double>(view.height)};
}

}  // namespace moxi
