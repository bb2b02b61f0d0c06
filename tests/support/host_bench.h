#pragma once
// The host on the bench: a small module in the machine, the desktop replaced by what the test says,
// and everything that the host asks of the desktop noted down.

#include <string>
#include <vector>

#include "desktop/desktop.h"
#include "tests/support/message_log.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

struct HostBench {
    ViewSize view = {1000, 600};
    WindowFrame frame = {100, 100, 1000, 600};
    bool fullScreen = false;
    bool mainThread = true;
    std::vector<Screen> screens = {{{0, 0, 1920, 1080}, {0, 0, 1920, 1080}}};

    std::vector<ViewRect> redraws;   // asked for
    std::vector<ViewRect> shown;     // presented
    std::vector<void (*)()> queued;  // main queue
    std::vector<std::string> titles;
    std::vector<WindowFrame> created;
    std::vector<u64> sleeps;  // milliseconds
    std::vector<bool> cursors;
    std::vector<bool> titleGuards;           // while each title was set
    std::vector<bool> suspendedDuringFlush;  // at each redraw that was asked for
    TimerId timers = 0;                      // started so far
};

extern HostBench hostBench;

// A module of a few instructions that notes each message it gets in its image, with the launch
// complete and the first size sent, no timer of its own and an empty queue.
class HostTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
};

// What the module has got since the start of the test.
Messages DeliveredMessages();

// What waits in the queue, which is emptied by this.
Messages QueuedMessages();

// Gives the module a timer of its own, so that posts are queued.
void StartModuleTimer();

}  // namespace moxi
