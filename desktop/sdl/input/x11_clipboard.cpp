#include "desktop/sdl/input/x11_clipboard.h"

#include <poll.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "base/types.h"
#include "base/utf8.h"

namespace moxi {

namespace {
template <class T>
struct Free {
    void operator()(T* reply) const { std::free(reply); }
};
template <class T>
using Reply = std::unique_ptr<T, Free<T>>;
}  // namespace

constexpr xcb_atom_t kNoAtom = XCB_ATOM_NONE;
constexpr int kPatienceMilliseconds = 1000;
constexpr auto kLongestTransfer = std::chrono::seconds(10);
// More than any module's memory is asked to hold, and less than hurts.
constexpr std::size_t kLongestText = 256u << 20;

namespace {

constinit xcb_connection_t* connection = nullptr;
constinit xcb_window_t requestor = 0;
std::chrono::steady_clock::time_point transferEnd;

xcb_atom_t AtomOf(std::string_view name) {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<u16>(name.size()), name.data()),
        nullptr));
    return reply == nullptr ? kNoAtom : reply->atom;
}

// The next event for the requestor; null when none comes for so long, or it all takes too long.
Reply<xcb_generic_event_t> NextEvent() {
    xcb_flush(connection);
    while (std::chrono::steady_clock::now() < transferEnd) {
        Reply<xcb_generic_event_t> event(xcb_poll_for_event(connection));
        if (event != nullptr || xcb_connection_has_error(connection) != 0) {
            return event;
        }
        pollfd server = {xcb_get_file_descriptor(connection), POLLIN, 0};
        if (poll(&server, 1, kPatienceMilliseconds) <= 0) {
            return nullptr;
        }
    }
    return nullptr;
}

constexpr u8 TypeOf(const xcb_generic_event_t& event) {
    return event.response_type & 0x7F;  // without the mark of events that other programs send
}

// Reads the property whole and deletes it. Its type; none when it cannot be read.
xcb_atom_t TakeProperty(xcb_atom_t property, std::string& text) {
    constexpr u32 kWords = 1u << 18;
    xcb_atom_t type = kNoAtom;
    for (u32 at = 0;;) {
        const Reply<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(connection,
                                   xcb_get_property(connection, 0, requestor, property,
                                                    XCB_GET_PROPERTY_TYPE_ANY, at, kWords),
                                   nullptr));
        if (reply == nullptr) {
            return kNoAtom;
        }
        const auto* const bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
        const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
        type = reply->type;
        if (reply->format == 8) {
            text.append(bytes, length);
        }
        if (reply->bytes_after == 0 || length == 0 || text.size() > kLongestText) {
            break;
        }
        at += static_cast<u32>(length / 4);
    }
    xcb_delete_property(connection, requestor, property);
    return type;
}

// The pieces of a text that comes in several, the last of which is empty.
bool TakePieces(xcb_atom_t property, std::string& text) {
    while (text.size() <= kLongestText) {
        const Reply<xcb_generic_event_t> event = NextEvent();
        if (event == nullptr) {
            return false;
        }
        if (TypeOf(*event) != XCB_PROPERTY_NOTIFY) {
            continue;
        }
        const auto* const change =
            reinterpret_cast<const xcb_property_notify_event_t*>(event.get());
        if (change->atom != property || change->state != XCB_PROPERTY_NEW_VALUE) {
            continue;
        }
        const std::size_t before = text.size();
        if (TakeProperty(property, text) == kNoAtom) {
            return false;
        }
        if (text.size() == before) {
            return true;
        }
    }
    return true;
}

std::optional<std::string> TakeAs(xcb_atom_t selection, xcb_atom_t target) {
    const xcb_atom_t property = AtomOf("MOXI_CLIPBOARD");
    while (Reply<xcb_generic_event_t>(xcb_poll_for_event(connection)) != nullptr) {
        // Late events of an earlier request.
    }
    xcb_delete_property(connection, requestor, property);
    xcb_convert_selection(connection, requestor, selection, target, property, XCB_CURRENT_TIME);
    for (;;) {
        const Reply<xcb_generic_event_t> event = NextEvent();
        if (event == nullptr) {
            return std::nullopt;
        }
        if (TypeOf(*event) != XCB_SELECTION_NOTIFY) {
            continue;
        }
        const auto* const answer =
            reinterpret_cast<const xcb_selection_notify_event_t*>(event.get());
        if (answer->target != target) {
            continue;
        }
        if (answer->property == kNoAtom) {
            return std::nullopt;
        }
        break;
    }
    std::string text;
    const xcb_atom_t type = TakeProperty(property, text);
    if (type == kNoAtom) {
        return std::nullopt;
    }
    if (type != AtomOf("INCR")) {
        return text;
    }
    text.clear();
    xcb_flush(connection);  // that it is deleted asks for the first piece
    if (!TakePieces(property, text)) {
        return std::nullopt;
    }
    return text;
}

std::string FromLatin1(const std::string& text) {
    std::string utf8;
    for (const char c : text) {
        AppendUtf8(utf8, static_cast<u8>(c));
    }
    return utf8;
}

}  // namespace

std::optional<std::string> X11ClipboardText(unsigned long window, bool othersToo, bool& own) {
    own = false;
    if (connection == nullptr || xcb_connection_has_error(connection) != 0) {
        return std::nullopt;
    }
    const xcb_atom_t clipboard = AtomOf("CLIPBOARD");
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, clipboard), nullptr));
    if (owner == nullptr || owner->owner == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    // A program's windows have the same upper bits.
    const u32 program = ~xcb_get_setup(connection)->resource_id_mask;
    own = (owner->owner & program) == (static_cast<u32>(window) & program);
    if (own || !othersToo) {
        return std::nullopt;
    }
    transferEnd = std::chrono::steady_clock::now() + kLongestTransfer;
    if (std::optional<std::string> text = TakeAs(clipboard, AtomOf("UTF8_STRING"))) {
        return text;
    }
    const std::optional<std::string> text = TakeAs(clipboard, XCB_ATOM_STRING);
    if (!text) {
        return std::nullopt;
    }
    return FromLatin1(*text);
}

void StartX11Clipboard(xcb_connection_t* theConnection) {
    connection = theConnection;
    const xcb_setup_t* const setup = xcb_get_setup(connection);
    const xcb_screen_t* const screen = xcb_setup_roots_iterator(setup).data;
    const u32 events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    requestor = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, requestor, screen->root, -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
}

void StopX11Clipboard() {
    connection = nullptr;
}

}  // namespace moxi
