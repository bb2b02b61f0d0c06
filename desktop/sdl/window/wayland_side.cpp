#include "desktop/sdl/window/wayland_side.h"

#include <SDL_syswm.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "desktop/sdl/input/layouts.h"

namespace moxi {

namespace {

constinit wl_display* display = nullptr;
constinit wl_event_queue* queue = nullptr;
constinit wl_registry* registry = nullptr;
constinit wl_seat* seat = nullptr;
constinit wl_keyboard* keyboard = nullptr;
constinit wl_compositor* compositor = nullptr;
constinit wl_subcompositor* subcompositor = nullptr;
constinit wl_shm* sharedMemory = nullptr;

}  // namespace

void TakeWaylandEvents() {
    if (queue != nullptr) {
        wl_display_dispatch_queue_pending(display, queue);
    }
}

// --- The keyboard layouts. A second keyboard object gets what SDL's gets.

namespace {

constinit xkb_context* context = nullptr;
constinit xkb_keymap* keymap = nullptr;
constinit u32 activeGroup = 0;

void OnKeymap(void*, wl_keyboard*, uint32_t format, int32_t file, uint32_t size) {
    void* const text = format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1
                           ? mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0)
                           : MAP_FAILED;
    close(file);
    if (text == MAP_FAILED) {
        return;
    }
    xkb_keymap_unref(keymap);
    // The size counts a NUL at the end.
    const std::size_t length = strnlen(static_cast<const char*>(text), size);
    keymap = xkb_keymap_new_from_buffer(context, static_cast<const char*>(text), length,
                                        XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
    munmap(text, size);
}

constexpr wl_keyboard_listener kKeyboardEvents = {
    .keymap = OnKeymap,
    .enter = [](void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {},
    .leave = [](void*, wl_keyboard*, uint32_t, wl_surface*) {},
    .key = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t) {},
    .modifiers = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t,
                    uint32_t group) { activeGroup = group; },
    .repeat_info = [](void*, wl_keyboard*, int32_t, int32_t) {},
};

void OnCapabilities(void*, wl_seat* of, uint32_t capabilities) {
    const bool has = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
    if (has && keyboard == nullptr) {
        keyboard = wl_seat_get_keyboard(of);
        wl_keyboard_add_listener(keyboard, &kKeyboardEvents, nullptr);
    } else if (!has && keyboard != nullptr) {
        wl_keyboard_destroy(keyboard);
        keyboard = nullptr;
    }
}

constexpr wl_seat_listener kSeatEvents = {
    .capabilities = OnCapabilities,
    .name = [](void*, wl_seat*, const char*) {},
};

xkb_keymap* Keymap() {
    TakeWaylandEvents();
    return keymap;
}

u32 ActiveGroup() {
    TakeWaylandEvents();
    return activeGroup;
}

constexpr LayoutSource kLayouts = {Keymap, ActiveGroup};

// --- The compositor's objects

template <class T>
void Bind(T*& object, u32 name, const wl_interface& interface, u32 version) {
    if (object != nullptr) {
        return;
    }
    object = static_cast<T*>(wl_registry_bind(registry, name, &interface, version));
}

void OnGlobal(void*, wl_registry*, uint32_t name, const char* interface, uint32_t version) {
    const std::string_view kind = interface;
    if (kind == wl_seat_interface.name && seat == nullptr) {
        // From version 4 on a keyboard tells how its keys repeat, from 8 on there is more.
        Bind(seat, name, wl_seat_interface, std::min(version, 5u));
        wl_seat_add_listener(seat, &kSeatEvents, nullptr);
    } else if (kind == wl_compositor_interface.name) {
        Bind(compositor, name, wl_compositor_interface, 1);
    } else if (kind == wl_subcompositor_interface.name) {
        Bind(subcompositor, name, wl_subcompositor_interface, 1);
    } else if (kind == wl_shm_interface.name) {
        Bind(sharedMemory, name, wl_shm_interface, 1);
    }
}

constexpr wl_registry_listener kRegistryEvents = {
    .global = OnGlobal,
    .global_remove = [](void*, wl_registry*, uint32_t) {},
};

wl_surface* SurfaceOf(SDL_Window* window, wl_display** connection) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (window == nullptr || SDL_GetWindowWMInfo(window, &info) != SDL_TRUE ||
        info.subsystem != SDL_SYSWM_WAYLAND) {
        return nullptr;
    }
    if (connection != nullptr) {
        *connection = info.info.wl.display;
    }
    return info.info.wl.surface;
}

}  // namespace

void StartWaylandSide(SDL_Window* window) {
    if (queue != nullptr || SurfaceOf(window, &display) == nullptr) {
        return;
    }
    queue = wl_display_create_queue(display);
    if (queue == nullptr) {
        return;
    }
    context = xkb_context_new(static_cast<xkb_context_flags>(XKB_CONTEXT_NO_DEFAULT_INCLUDES |
                                                             XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    // Objects inherit the queue, so that not one event reaches SDL's.
    auto* const own = static_cast<wl_display*>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(own), queue);
    registry = wl_display_get_registry(own);
    wl_proxy_wrapper_destroy(own);
    wl_registry_add_listener(registry, &kRegistryEvents, nullptr);
    // The objects, their capabilities, the keymap.
    for (int i = 0; i < 3; ++i) {
        if (wl_display_roundtrip_queue(display, queue) < 0) {
            break;
        }
    }
    if (context != nullptr) {
        UseLayoutSource(&kLayouts);
    }
}

void StopWaylandSide() {
    if (queue == nullptr) {
        return;
    }
    UseLayoutSource(nullptr);
    if (keyboard != nullptr) {
        wl_keyboard_destroy(keyboard);
    }
    if (seat != nullptr) {
        wl_seat_destroy(seat);
    }
    if (compositor != nullptr) {
        wl_compositor_destroy(compositor);
    }
    if (subcompositor != nullptr) {
        wl_subcompositor_destroy(subcompositor);
    }
    if (sharedMemory != nullptr) {
        wl_shm_destroy(sharedMemory);
    }
    wl_registry_destroy(registry);
    wl_event_queue_destroy(queue);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    queue = nullptr;
    registry = nullptr;
    seat = nullptr;
    keyboard = nullptr;
    compositor = nullptr;
    subcompositor = nullptr;
    sharedMemory = nullptr;
    keymap = nullptr;
    context = nullptr;
}

// --- Pictures over a window

struct WaylandOverlay {
    wl_surface* parent = nullptr;
    wl_surface* surface = nullptr;
    wl_subsurface* place = nullptr;
    wl_buffer* picture = nullptr;
};

WaylandOverlay* OpenOverlay(SDL_Window* window, i32 x, i32 y) {
    wl_surface* const parent = SurfaceOf(window, nullptr);
    if (parent == nullptr || compositor == nullptr || subcompositor == nullptr ||
        sharedMemory == nullptr) {
        return nullptr;
    }
    auto* const overlay = new WaylandOverlay;
    overlay->parent = parent;
    overlay->surface = wl_compositor_create_surface(compositor);
    overlay->place =
        wl_subcompositor_get_subsurface(subcompositor, overlay->surface, overlay->parent);
    wl_subsurface_set_desync(overlay->place);
    // No input of its own: the pointer stays the window's.
    wl_region* const nothing = wl_compositor_create_region(compositor);
    wl_surface_set_input_region(overlay->surface, nothing);
    wl_region_destroy(nothing);
    MoveOverlay(overlay, x, y);
    return overlay;
}

void MoveOverlay(WaylandOverlay* overlay, i32 x, i32 y) {
    wl_subsurface_set_position(overlay->place, x, y);
    wl_surface_commit(overlay->parent);  // the place is the window's state
    wl_display_flush(display);
}

namespace {

// A picture in memory that the compositor shares; null where there is none.
wl_buffer* NewPicture(const u8* pixels, i32 width, i32 height) {
    const i32 stride = width * 4;
    const i32 size = stride * height;
    const int file = memfd_create("moxi", MFD_CLOEXEC);
    if (file < 0) {
        return nullptr;
    }
    wl_buffer* picture = nullptr;
    const auto bytes = static_cast<std::size_t>(size);
    if (ftruncate(file, size) == 0 && pwrite(file, pixels, bytes, 0) == size) {
        wl_shm_pool* const pool = wl_shm_create_pool(sharedMemory, file, size);
        picture = wl_shm_pool_create_buffer(pool, 0, width, height, stride, WL_SHM_FORMAT_XRGB8888);
        wl_shm_pool_destroy(pool);
    }
    close(file);
    return picture;
}

}  // namespace

void ShowOverlay(WaylandOverlay* overlay, const u8* pixels, i32 width, i32 height) {
    wl_buffer* const picture = NewPicture(pixels, width, height);
    if (picture == nullptr) {
        return;
    }
    wl_surface_attach(overlay->surface, picture, 0, 0);
    wl_surface_damage(overlay->surface, 0, 0, width, height);
    wl_surface_commit(overlay->surface);
    // The compositor keeps what it still shows.
    if (overlay->picture != nullptr) {
        wl_buffer_destroy(overlay->picture);
    }
    overlay->picture = picture;
    wl_display_flush(display);
    TakeWaylandEvents();
}

void CloseOverlay(WaylandOverlay* overlay) {
    wl_subsurface_destroy(overlay->place);
    wl_surface_destroy(overlay->surface);
    if (overlay->picture != nullptr) {
        wl_buffer_destroy(overlay->picture);
    }
    wl_surface_commit(overlay->parent);
    wl_display_flush(display);
    TakeWaylandEvents();
    delete overlay;
}

}  // namespace moxi
