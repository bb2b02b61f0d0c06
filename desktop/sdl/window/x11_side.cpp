#include "desktop/sdl/window/x11_side.h"

#include <SDL_syswm.h>
#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <bitset>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "desktop/sdl/input/layouts.h"
#include "desktop/sdl/input/x11_clipboard.h"

namespace moxi {

namespace {

constinit xcb_connection_t* connection = nullptr;

// --- Layouts

constinit xkb_context* context = nullptr;
constinit xkb_keymap* keymap = nullptr;
constinit bool keymapIsOld = true;

xkb_keymap* Keymap() {
    if (!keymapIsOld || context == nullptr) {
        return keymap;
    }
    xkb_keymap_unref(keymap);
    const i32 keyboard = xkb_x11_get_core_keyboard_device_id(connection);
    keymap = keyboard < 0 ? nullptr
                          : xkb_x11_keymap_new_from_device(context, connection, keyboard,
                                                           XKB_KEYMAP_COMPILE_NO_FLAGS);
    keymapIsOld = false;
    return keymap;
}

u32 ActiveGroup() {
    if (Keymap() == nullptr) {
        return 0;
    }
    const i32 keyboard = xkb_x11_get_core_keyboard_device_id(connection);
    xkb_state* const state = xkb_x11_state_new_from_device(keymap, connection, keyboard);
    if (state == nullptr) {
        return 0;
    }
    const u32 group = xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE);
    xkb_state_unref(state);
    return group;
}

constexpr LayoutSource kLayouts = {Keymap, ActiveGroup};

void StartLayouts() {
    if (xkb_x11_setup_xkb_extension(
            connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr) == 0) {
        return;
    }
    context = xkb_context_new(static_cast<xkb_context_flags>(XKB_CONTEXT_NO_DEFAULT_INCLUDES |
                                                             XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    if (context != nullptr) {
        UseLayoutSource(&kLayouts);
    }
}

}  // namespace

// --- Keys. SDL calls this while it reads events, which it does only inside the gate (loop/gate.h).

// SDL does not use the word `unused` of a key event. Here it carries what the X event said: these
// bits, and the keyboard's group above them.
constexpr u32 kKnown = 1;
constexpr u32 kHeldBefore = 2;
constexpr u32 kGroupShift = 8;

namespace {

std::bitset<256> heldBefore;     // by the server's number
constinit u32 keyWord = 0;       // of the key press that SDL is reading
constinit bool leaving = false;  // SDL is reading that the pointer has left the window

void NoteHeldKeys() {
    heldBefore.reset();
    xcb_query_keymap_reply_t* const keys =
        xcb_query_keymap_reply(connection, xcb_query_keymap(connection), nullptr);
    if (keys == nullptr) {
        return;
    }
    for (std::size_t key = 0; key < heldBefore.size(); ++key) {
        heldBefore.set(key, (keys->keys[key / 8] >> (key % 8) & 1) != 0);
    }
    std::free(keys);
}

// --- Borders

constinit xcb_atom_t frameExtents = XCB_ATOM_NONE;
constinit bool bordersMayDiffer = false;

void StartBorders() {
    constexpr std::string_view kName = "_NET_FRAME_EXTENTS";
    xcb_intern_atom_reply_t* const atom = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<u16>(kName.size()), kName.data()),
        nullptr);
    if (atom != nullptr) {
        frameExtents = atom->atom;
    }
    std::free(atom);
}

}  // namespace

bool X11BordersMayDiffer() {
    return std::exchange(bordersMayDiffer, false);
}

namespace {

// The child of the root that the window lies in, or is.
xcb_window_t FrameOf(xcb_window_t window) {
    for (;;) {
        xcb_query_tree_reply_t* const tree =
            xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr);
        if (tree == nullptr) {
            return XCB_NONE;
        }
        const xcb_window_t parent = tree->parent;
        const bool isTop = parent == tree->root || parent == XCB_NONE;
        std::free(tree);
        if (isTop) {
            return window;
        }
        window = parent;
    }
}

bool HasFourNumbers(const xcb_get_property_reply_t* reply, std::array<i32, 4>& numbers) {
    if (reply == nullptr || reply->format != 32 || reply->value_len != 4) {
        return false;
    }
    std::memcpy(numbers.data(), xcb_get_property_value(reply), sizeof numbers);
    return true;
}

}  // namespace

std::string X11Resource(const std::string& name) {
    if (connection == nullptr) {
        return "";
    }
    constexpr u32 kLongest = 1 << 16;  // in words
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    auto* const reply =
        xcb_get_property_reply(connection,
                               xcb_get_property(connection, 0, root, XCB_ATOM_RESOURCE_MANAGER,
                                                XCB_ATOM_STRING, 0, kLongest),
                               nullptr);
    if (reply == nullptr) {
        return "";
    }
    // Lines "name:<blanks>value".
    std::string text = "\n";
    text.append(static_cast<const char*>(xcb_get_property_value(reply)),
                static_cast<std::size_t>(xcb_get_property_value_length(reply)));
    std::free(reply);
    const std::size_t line = text.find("\n" + name + ":");
    if (line == std::string::npos) {
        return "";
    }
    const std::size_t start = text.find_first_not_of(" \t", line + name.size() + 2);
    if (start == std::string::npos) {
        return "";
    }
    return text.substr(start, text.find('\n', start) - start);
}

bool AskX11ForPlacement(unsigned long window, X11Placement& placement) {
    if (connection == nullptr || window == 0) {
        return false;
    }
    const auto content = static_cast<xcb_window_t>(window);
    const xcb_window_t frame = FrameOf(content);
    if (frame == XCB_NONE) {
        return false;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    // What is asked for in one piece has to be of one moment.
    xcb_grab_server(connection);
    const auto ofContent = xcb_get_geometry(connection, content);
    const auto ofCorner = xcb_translate_coordinates(connection, content, root, 0, 0);
    const auto ofFrame = xcb_get_geometry(connection, frame);
    const auto ofBorders =
        xcb_get_property(connection, 0, content, frameExtents, XCB_ATOM_CARDINAL, 0, 4);
    xcb_ungrab_server(connection);
    auto* const size = xcb_get_geometry_reply(connection, ofContent, nullptr);
    auto* const corner = xcb_translate_coordinates_reply(connection, ofCorner, nullptr);
    auto* const outer = xcb_get_geometry_reply(connection, ofFrame, nullptr);
    auto* const sides = xcb_get_property_reply(connection, ofBorders, nullptr);
    const bool known = size != nullptr && corner != nullptr && outer != nullptr &&
                       HasFourNumbers(sides, placement.borders);
    if (known) {
        const i32 line = 2 * outer->border_width;
        placement.content = {corner->dst_x, corner->dst_y, size->width, size->height};
        placement.frame = {outer->x, outer->y, outer->width + line, outer->height + line};
    }
    for (void* const reply : {static_cast<void*>(size), static_cast<void*>(corner),
                              static_cast<void*>(outer), static_cast<void*>(sides)}) {
        std::free(reply);
    }
    return known;
}

// --- A look at the X events, as SDL reads them

namespace {

void LookAt(const XEvent& event) {
    constexpr u32 kButtons = Button1Mask | Button2Mask | Button3Mask | Button4Mask | Button5Mask;
    keyWord = 0;
    leaving = false;
    switch (event.type) {
        case KeyPress: {
            const u32 group = event.xkey.state >> 13 & 3;
            const bool isHeld = heldBefore.test(event.xkey.keycode & 255);
            keyWord = kKnown | (isHeld ? kHeldBefore : 0) | group << kGroupShift;
            break;
        }
        case KeyRelease: heldBefore.reset(event.xkey.keycode & 255); break;
        case FocusIn: NoteHeldKeys(); break;
        case MappingNotify: keymapIsOld = true; break;
        case PropertyNotify:
            bordersMayDiffer = bordersMayDiffer || event.xproperty.atom == frameExtents;
            break;
        case LeaveNotify: leaving = (event.xcrossing.state & kButtons) == 0; break;
        default: break;
    }
}

int Filter(void*, SDL_Event* event) {
    switch (event->type) {
        case SDL_SYSWMEVENT:
            if (event->syswm.msg->subsystem == SDL_SYSWM_X11) {
                LookAt(event->syswm.msg->msg.x11.event);
            }
            return 0;
        case SDL_KEYDOWN: event->key.keysym.unused = keyWord; return 1;
        // SDL tells of a move to the edge nearest to where the pointer is now, outside.
        case SDL_MOUSEMOTION: return leaving ? 0 : 1;
        default: return 1;
    }
}

}  // namespace

X11KeyPress X11KeyPressOf(const SDL_KeyboardEvent& event) {
    if (connection == nullptr) {
        return {};  // SDL leaves the word as it happens to be
    }
    const u32 word = event.keysym.unused;
    return {(word & kKnown) != 0, word >> kGroupShift, (word & kHeldBefore) != 0};
}

// --- Both

void StartX11Side() {
    if (connection != nullptr) {
        return;
    }
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        return StopX11Side();
    }
    StartLayouts();
    StartBorders();
    StartX11Clipboard(connection);
    SDL_EventState(SDL_SYSWMEVENT, SDL_ENABLE);
    SDL_SetEventFilter(Filter, nullptr);
}

void StopX11Side() {
    if (connection == nullptr) {
        return;
    }
    SDL_SetEventFilter(nullptr, nullptr);
    StopX11Clipboard();
    UseLayoutSource(nullptr);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    keymap = nullptr;
    context = nullptr;
    keymapIsOld = true;
    xcb_disconnect(connection);
    connection = nullptr;
}

}  // namespace moxi
