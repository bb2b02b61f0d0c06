#include "vm/page_watch.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>

#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u64 kMostWatched = u64{16} << 20;
// For the smallest pages there are; one more because an image may begin in the middle of a page.
constexpr size_t kMostPages = kMostWatched / 4096 + 1;

enum class Page : u8 { Free, Watched, Written };

// Written in signal handlers, on any thread.
std::array<std::atomic<Page>, kMostPages> pages;
std::atomic<bool> wasWritten = false;
constinit u64 pageSize = 0;
// The image that is watched, and where its first page begins.
constinit const u8* watchedImage = nullptr;
constinit u32 watchedSize = 0;
constinit u8* firstPage = nullptr;
constinit size_t pageCount = 0;

size_t PageOf(const u8* address) {
    return static_cast<size_t>(address - firstPage) / pageSize;
}

bool Protect(size_t page, size_t count, int protection) {
    return mprotect(firstPage + page * pageSize, count * pageSize, protection) == 0;
}

}  // namespace

void StartWatching() {
    StopWatching();
    if (image == nullptr) {
        return;
    }
    pageSize = static_cast<u64>(sysconf(_SC_PAGESIZE));
    watchedImage = image;
    watchedSize = imageSize;
    const u64 inPage = reinterpret_cast<u64>(image) % pageSize;
    firstPage = image - inPage;
    const u64 mostPages = kMostWatched / pageSize + 1;
    pageCount = std::min(mostPages, (inPage + imageSize + pageSize - 1) / pageSize);
    for (size_t i = 0; i < pageCount; ++i) {
        pages[i] = Page::Free;
    }
    // The machine itself writes into the header all the time.
    const size_t afterHeader = PageOf(image + kHeaderSize - 1) + 1;
    for (size_t i = 0; i < std::min(afterHeader, pageCount); ++i) {
        pages[i] = Page::Written;
    }
    wasWritten = false;
}

void StopWatching() {
    // The pages of another image have never been protected.
    const bool isThere =
        watchedImage != nullptr && image == watchedImage && imageSize == watchedSize;
    for (size_t i = 0; isThere && i < pageCount; ++i) {
        if (pages[i] == Page::Watched) {
            Protect(i, 1, PROT_READ | PROT_WRITE);
        }
    }
    watchedImage = nullptr;
    pageCount = 0;
}

bool WatchPages(u32 start, u32 end) {
    if (watchedImage == nullptr || image != watchedImage || start >= end) {
        return false;
    }
    const size_t first = PageOf(image + start);
    const size_t last = PageOf(image + (end - 1));
    if (last >= pageCount) {
        return false;
    }
    bool isWatched = true;
    for (size_t i = first; i <= last; ++i) {
        if (pages[i] == Page::Free) {
            // Marked before it is protected: a write of another thread may fail at once, and its
            // handler must find the mark.
            pages[i] = Page::Watched;
            if (!Protect(i, 1, PROT_READ)) {
                pages[i] = Page::Written;
            }
        }
        isWatched = isWatched && pages[i] == Page::Watched;
    }
    return isWatched;
}

bool ArePagesWatched(u32 start, u32 end) {
    if (watchedImage == nullptr || start >= end) {
        return false;
    }
    const size_t first = PageOf(image + start);
    const size_t last = PageOf(image + (end - 1));
    if (last >= pageCount) {
        return false;
    }
    return std::all_of(pages.begin() + static_cast<i64>(first),
                       pages.begin() + static_cast<i64>(last) + 1,
                       [](const auto& page) { return page == Page::Watched; });
}

bool WasWatchedPageWritten() {
    return wasWritten.exchange(false);
}

bool LetPageGo(const void* address) {
    const u8* const at = static_cast<const u8*>(address);
    if (watchedImage == nullptr || at < firstPage) {
        return false;
    }
    const size_t page = PageOf(at);
    // A page that another thread has let go in the meantime is Written here, and is no fault
    // either.
    if (page >= pageCount || pages[page] == Page::Free) {
        return false;
    }
    if (pages[page].exchange(Page::Written) == Page::Watched) {
        wasWritten = true;
    }
    return Protect(page, 1, PROT_READ | PROT_WRITE);
}

void LetPagesGo(const void* start, u64 size) {
    const u8* const first = static_cast<const u8*>(start);
    if (watchedImage == nullptr || size == 0 || first + size <= firstPage) {
        return;
    }
    const size_t from = first <= firstPage ? 0 : PageOf(first);
    const size_t last = PageOf(first + size - 1);
    for (size_t i = from; i < pageCount && i <= last; ++i) {
        if (pages[i] == Page::Watched) {
            LetPageGo(firstPage + i * pageSize);
        }
    }
}

}  // namespace moxi
