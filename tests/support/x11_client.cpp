#include "x11_client.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace moxi {

namespace {
// A window may go while it is asked for: that is an answer, and no reason to end the tests.
Display* Open() {
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    return XOpenDisplay(nullptr);
}

struct Connection {
    Display* display = Open();
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
        if (display != nullptr) {
            XCloseDisplay(display);
        }
    }
};
// Windows come and go under a window manager.
int IgnoreError(Display*, XErrorEvent*) {
    return 0;
}

}  // namespace

void DestroyX11Window(unsigned long window) {
    const Connection x;
    if (x.display != nullptr) {
        XDestroyWindow(x.display, window);
    }
}

void PaintX11Window(unsigned long window, int x, int y, int width, int height, unsigned colour) {
    const Connection connection;
    Display* display = connection.display;
    if (display == nullptr) {
        return;
    }
    const GC context = XCreateGC(display, window, 0, nullptr);
    XSetForeground(display, context, colour);
    XFillRectangle(display, window, context, x, y, static_cast<unsigned>(width),
                   static_cast<unsigned>(height));
    XFreeGC(display, context);
    XSync(display, False);
}

unsigned X11Pixel(unsigned long window, int x, int y) {
    const Connection connection;
    if (connection.display == nullptr) {
        return 0;
    }
    XImage* image = XGetImage(connection.display, window, x, y, 1, 1, AllPlanes, ZPixmap);
    if (image == nullptr) {
        return 0;
    }
    const unsigned long pixel = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    return static_cast<unsigned>(pixel & 0xFFFFFF);
}

long OtherX11Pixels(unsigned long window, int width, int height, unsigned colour) {
    const Connection connection;
    if (connection.display == nullptr) {
        return -1;
    }
    XImage* image = XGetImage(connection.display, window, 0, 0, static_cast<unsigned>(width),
                              static_cast<unsigned>(height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        return -1;
    }
    long others = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if ((XGetPixel(image, x, y) & 0xFFFFFF) != colour) {
                ++others;
            }
        }
    }
    XDestroyImage(image);
    return others;
}

namespace {

// xdotool needs the library, but its headers come in a package of their own.
bool SendKey(Display* display, unsigned code, bool down) {
    using FakeKeyEvent = int(Display*, unsigned, int, unsigned long);
    static void* const library = dlopen("libXtst.so.6", RTLD_LAZY);
    if (library == nullptr) {
        return false;
    }
    static auto* const send = reinterpret_cast<FakeKeyEvent*>(dlsym(library, "XTestFakeKeyEvent"));
    if (send == nullptr) {
        return false;
    }
    send(display, code, down ? True : False, CurrentTime);
    XSync(display, False);
    return true;
}

}  // namespace

bool PressX11Key(unsigned code) {
    const Connection x;
    return x.display != nullptr && SendKey(x.display, code, true) &&
           SendKey(x.display, code, false);
}

bool PressX11Keys(const std::vector<unsigned>& codes) {
    const Connection x;
    if (x.display == nullptr) {
        return false;
    }
    for (const unsigned code : codes) {
        if (!SendKey(x.display, code, true)) {
            return false;
        }
    }
    for (std::size_t i = codes.size(); i > 0; --i) {
        SendKey(x.display, codes[i - 1], false);
    }
    return true;
}

void UseX11Layout(unsigned layout) {
    const Connection x;
    if (x.display == nullptr) {
        return;
    }
    XkbLockGroup(x.display, XkbUseCoreKbd, layout);
    XSync(x.display, False);
}

void MaximizeX11Window(unsigned long window, bool maximized) {
    const Connection x;
    if (x.display == nullptr) {
        return;
    }
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(x.display, "_NET_WM_STATE", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = maximized ? 1 : 0;
    event.xclient.data.l[1] =
        static_cast<long>(XInternAtom(x.display, "_NET_WM_STATE_MAXIMIZED_VERT", False));
    event.xclient.data.l[2] =
        static_cast<long>(XInternAtom(x.display, "_NET_WM_STATE_MAXIMIZED_HORZ", False));
    event.xclient.data.l[3] = 2;  // the user's wish
    XSendEvent(x.display, DefaultRootWindow(x.display), False,
               SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XSync(x.display, False);
}

void CloseX11Window(unsigned long window) {
    const Connection x;
    if (x.display == nullptr) {
        return;
    }
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(x.display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(x.display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(x.display, window, False, NoEventMask, &event);
    XSync(x.display, False);
}

long KeyToPixel(unsigned long window, unsigned code, int x, int y, unsigned colour) {
    using Clock = std::chrono::steady_clock;
    const Connection connection;
    Display* display = connection.display;
    if (display == nullptr) {
        return -1;
    }
    const Clock::time_point start = Clock::now();
    if (!SendKey(display, code, true)) {
        return -1;
    }
    Clock::duration passed{};
    bool changed = false;
    while (!changed && passed < std::chrono::seconds(2)) {
        XImage* image = XGetImage(display, window, x, y, 1, 1, AllPlanes, ZPixmap);
        passed = Clock::now() - start;
        if (image == nullptr) {
            break;
        }
        changed = (XGetPixel(image, 0, 0) & 0xFFFFFF) != colour;
        XDestroyImage(image);
    }
    SendKey(display, code, false);
    if (!changed) {
        return -1;
    }
    return std::chrono::duration_cast<std::chrono::nanoseconds>(passed).count();
}

namespace {

void ApplyRequest(Display* display, const XConfigureRequestEvent& request, int largestWidth,
                  int largestHeight) {
    if (largestWidth == 0) {
        return;
    }
    XWindowChanges changes = {};
    changes.x = request.x;
    changes.y = request.y;
    changes.width = std::min(request.width, largestWidth);
    changes.height = std::min(request.height, largestHeight);
    XConfigureWindow(display, request.window,
                     static_cast<unsigned>(request.value_mask) & (CWX | CWY | CWWidth | CWHeight),
                     &changes);
}

[[noreturn]] void Manage(int ready, int largestWidth, int largestHeight) {
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        _exit(1);
    }
    static bool refused;
    refused = false;
    XSetErrorHandler([](Display*, XErrorEvent*) {
        refused = true;
        return 0;
    });
    XSelectInput(display, DefaultRootWindow(display),
                 SubstructureRedirectMask | SubstructureNotifyMask);
    XSync(display, False);
    if (refused || write(ready, "r", 1) != 1) {
        _exit(1);
    }
    XSetErrorHandler(IgnoreError);
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == MapRequest) {
            XMapWindow(display, event.xmaprequest.window);
        } else if (event.type == MapNotify) {
            XSetInputFocus(display, event.xmap.window, RevertToPointerRoot, CurrentTime);
        } else if (event.type == ConfigureRequest) {
            ApplyRequest(display, event.xconfigurerequest, largestWidth, largestHeight);
        }
    }
}

}  // namespace

pid_t StartStrictManager(int largestWidth, int largestHeight) {
    int ends[2];
    if (pipe(ends) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        Manage(ends[1], largestWidth, largestHeight);
    }
    close(ends[1]);
    char c = 0;
    const bool ready = read(ends[0], &c, 1) == 1;
    close(ends[0]);
    return ready ? child : -1;
}

}  // namespace moxi
