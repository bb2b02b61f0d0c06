#pragma once
// A small application on the real desktop, in a process of its own: it draws a scene, writes every
// event that it gets to a log, and obeys a few keys.

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "desktop/desktop.h"

namespace moxi {

struct DesktopProbe {
    DesktopProbe() = default;
    DesktopProbe(const DesktopProbe&) = delete;
    DesktopProbe& operator=(const DesktopProbe&) = delete;
    ~DesktopProbe();

    // How much the view is enlarged, from the start.
    std::optional<ViewScale> scale;

    // Starts the application; `atLaunch` runs in its process once the window is shown. `onKey` runs
    // there for each key press with text and takes the text.
    void Start(const std::function<void()>& atLaunch = {},
               const std::function<void(const std::string&)>& onKey = {});
    // The log's lines from the `from`th on.
    std::vector<std::string> Log(std::size_t from = 0) const;
    // Waits until a line that begins with `prefix` stands in the log at or after the `from`th, and
    // gives its index; -1 when none came in `turns` looks, 10 ms apart.
    int WaitFor(const std::string& prefix, std::size_t from = 0, int turns = 2000) const;
    // Waits until nothing has been logged for a while; gives the number of lines.
    std::size_t WaitForQuiet() const;
    // Waits for the end and gives the exit status; -1 when it was killed.
    int WaitForExit();

    std::string logFile;
    pid_t process = -1;
};

// For functions that run in the probe's process: writes a line to its log.
void ProbeLog(const std::string& line);
// While this is false the probe refuses to close. In the probe's process.
extern bool probeMayClose;

}  // namespace moxi
