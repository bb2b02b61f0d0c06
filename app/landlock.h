#pragma once
// The kernel's Landlock, at the best version that it has: rules of what a thread may still open,
// make and remove. They can only be narrowed, and hold for what the thread starts, too.

#include <string>

#include "base/types.h"

namespace moxi {

// "" when the kernel can restrict a process, else why not.
std::string LandlockObstacle();

// From version 2 on files move from one folder to another.
bool LandlockMovesBetweenFolders();

class LandlockRules {
  public:
    // `network` refuses TCP besides, where the kernel can.
    explicit LandlockRules(bool network);
    ~LandlockRules();
    LandlockRules(const LandlockRules&) = delete;
    LandlockRules& operator=(const LandlockRules&) = delete;

    // What is permitted at the path and, where that is a folder, below it. A path that does not
    // exist permits nothing.
    void PermitReading(const std::string& path);
    void PermitWriting(const std::string& path);  // and reading, making, removing, moving
    void PermitRemovingFiles(const std::string& path);
    void PermitRunning(const std::string& path);
    void PermitDevice(const std::string& path);          // reading, writing and its own commands
    void PermitReadingDevices(const std::string& path);  // the same without writing

    // Restricts this thread and what it starts, for good: everything else is refused. Returns "" or
    // why it is not restricted.
    std::string Restrict() const;

  private:
    void Permit(const std::string& path, u64 rights);

    int descriptor = -1;
    int error = 0;
};

}  // namespace moxi
