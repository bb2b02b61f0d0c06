#pragma once
// The real desktop: desktop.h on top of SDL 2.26, on X11 and on Wayland. app/ starts it once,
// before anything else touches the `desktop` record.
//
//   gate.h       which thread may talk to SDL just now
//   run_loop     events, queued work, redraws and timers, in turn
//   clock        the monotonic time
//   game_window  its handle, title and icon
//   window       geometry, full screen, closing; geometry, geometry_tracker: what of it is told
//   view         redraw requests and what is shown, enlarged as points say; enlarge does it without
//                a graphics processor
//   keyboard     keys, with scancodes (positions), key_text (characters) and layouts
//   x11_side     what SDL does not ask the X server; wayland_side: the same of a compositor
//   mouse        buttons, motion, wheel; pads: gamepads
//   screens      screens and their changes, with x11_monitors
//   services     clipboard, cursor; url_opener: web addresses
//   alert        the modal box that we draw ourselves
//   turns        what the main thread notes down for the watchdog
//   watchdog     keeps the window alive while the module is busy for seconds

#include <string>

namespace moxi {

// Connects to the display and fills `desktop`. Where no display can be reached it returns false,
// sets `error` to one line that says why, and leaves `desktop` as it was. The calling thread is the
// main thread from then on. It is the only one before: helper processes are copied from here.
bool StartSdlDesktop(std::string* error);

}  // namespace moxi
