#pragma once
// Hands objects from one thread to the audio callback without a lock: the newest one counts, and
// one that came before the callback looked is simply skipped. The callback allocates and frees
// nothing; the sender frees what has been replaced.

#include <atomic>
#include <deque>
#include <memory>
#include <utility>

#include "base/types.h"

namespace moxi {

template <class T>
class Mailbox {
  public:
    // --- The sender's side; one thread.

    // Sends the object and returns its number, counted from 1.
    u64 Send(T object) {
        letters.push_back(std::make_unique<Letter>(Letter{++sent, std::move(object)}));
        const Letter* const skipped =
            newest.exchange(letters.back().get(), std::memory_order_acq_rel);
        if (skipped != nullptr) {
            letters.erase(letters.end() - 2);
        }
        // The one taken last is in use still; those before it never are again.
        const u64 inUse = taken.load(std::memory_order_acquire);
        while (letters.front()->number < inUse) {
            letters.pop_front();
        }
        return sent;
    }

    // --- The callback's side

    // Calls use(object, number) with the object that was sent since the last call, if one was. The
    // object lives until a later one has been used.
    template <class Use>
    void Take(Use use) {
        Letter* const letter = newest.exchange(nullptr, std::memory_order_acq_rel);
        if (letter == nullptr) {
            return;
        }
        use(letter->object, letter->number);
        taken.store(letter->number, std::memory_order_release);
    }

  private:
    struct Letter {
        u64 number;
        T object;
    };

    std::deque<std::unique_ptr<Letter>> letters;  // the sender's, in the order of their numbers
    u64 sent = 0;                                 // the sender's
    std::atomic<Letter*> newest = nullptr;
    std::atomic<u64> taken = 0;
};

}  // namespace moxi
