#include "base/close_others.h"

#include <unistd.h>

#include "base/log.h"

namespace moxi {

void CloseOthers(int kept) {
    // The log may have been given another descriptor than the stream's.
    if (errorDescriptor != STDERR_FILENO) {
        dup2(errorDescriptor, STDERR_FILENO);
        errorDescriptor = STDERR_FILENO;
    }
    constexpr unsigned kFirst = STDERR_FILENO + 1;
    const auto own = static_cast<unsigned>(kept);
    if (own > kFirst) {
        close_range(kFirst, own - 1, 0);
    }
    close_range(own >= kFirst ? own + 1 : kFirst, ~0U, 0);
}

}  // namespace moxi
