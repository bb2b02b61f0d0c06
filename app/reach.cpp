#include "app/reach.h"

#include <link.h>

#include <cstdlib>
#include <filesystem>

#include "desktop/pango/font_places.h"
#include "desktop/synth/synth.h"
#include "host/bundle.h"
#include "host/home.h"
#include "vm/guard.h"

namespace moxi {

namespace {

using Places = std::vector<std::string>;

// --- Places of the system

constexpr const char* kSystem[] = {
    "/usr/lib",
    "/usr/lib32",
    "/usr/lib64",
    "/usr/libexec",
    "/usr/share",
    "/usr/local/lib",
    "/usr/local/share",
    "/lib",
    "/lib32",
    "/lib64",
    "/nix/store",
    "/gnu/store",
    "/run/opengl-driver",
    // Settings that say where libraries, fonts, time zones and users' homes are.
    "/etc/ld.so.cache",
    "/etc/ld.so.conf",
    "/etc/ld.so.conf.d",
    "/etc/ld.so.preload",
    "/etc/fonts",
    "/etc/alternatives",
    "/etc/localtime",
    "/etc/timezone",
    "/etc/locale.alias",
    "/etc/locale.conf",
    "/etc/nsswitch.conf",
    "/etc/passwd",
    "/etc/group",
    "/etc/xdg",
    "/var/cache/fontconfig",
    "/var/lib/ghostscript/fonts",
    // What is always the same, whoever reads it.
    "/dev/null",
    "/dev/zero",
    "/dev/full",
    "/dev/random",
    "/dev/urandom",
    "/proc/cpuinfo",
    "/proc/meminfo",
    "/proc/stat",
    "/proc/filesystems",
    "/proc/sys/kernel/osrelease",
    "/proc/sys/kernel/random",
    "/proc/sys/vm/overcommit_memory",
    "/proc/self/maps",
    "/proc/self/status",
    "/sys/devices/system/cpu",
    "/sys/devices/system/node",
    "/sys/fs/cgroup/cgroup.controllers",
};

constexpr const char* kDesktop[] = {
    "/etc/X11",
    "/etc/drirc",
    "/etc/glvnd",
    "/etc/egl",
    "/etc/vulkan",
    "/etc/libva.conf",
    "/etc/pulse",
    "/etc/pipewire",
    "/etc/alsa",
    "/etc/asound.conf",
    "/etc/machine-id",
    "/etc/openal",
    "/var/lib/dbus/machine-id",
    "/var/lib/alsa",
    "/run/alsa",
    "/run/udev/data",
    "/proc/asound",
    "/proc/modules",
    "/proc/devices",
    "/proc/driver/nvidia",
    "/proc/self/fd",
    "/proc/self/cmdline",
    "/sys/bus/pci",
    "/sys/class/drm",
    "/sys/class/graphics",
    "/sys/class/sound",
    "/sys/dev/char",
    "/sys/devices",
    "/sys/module/nvidia",
    "/tmp/.X11-unix",
};

constexpr const char* kDevices[] = {
    "/dev/snd",        "/dev/dri",         "/dev/nvidia0",
    "/dev/nvidia1",    "/dev/nvidiactl",   "/dev/nvidia-modeset",
    "/dev/nvidia-uvm", "/dev/nvidia-caps", "/dev/nvhost-ctrl",
    "/dev/nvmap",      "/dev/mali0",       "/dev/kgsl-3d0",
    "/dev/kfd",        "/dev/dma_heap",    "/dev/udmabuf",
};

// --- Places in the user's home folder

constexpr const char* kFontsOfUser[] = {".fonts", ".fonts.conf", ".fonts.conf.d", ".fontconfig"};

constexpr const char* kDesktopOfUser[] = {
    ".icons", ".Xauthority",   ".Xdefaults", ".Xresources",          ".XCompose", ".drirc",
    ".pulse", ".pulse-cookie", ".asoundrc",  ".asoundrc.asoundconf", ".alsoftrc",
};

constexpr const char* kDesktopOfConfig[] = {"pulse",    "pipewire", "alsa",
                                            "ibus/bus", "fcitx",    "fcitx5"};

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string Config() {
    return BaseFolder("XDG_CONFIG_HOME", ".config");
}

std::string Cache() {
    return BaseFolder("XDG_CACHE_HOME", ".cache");
}

template <size_t n>
void Add(Places& places, const char* const (&names)[n]) {
    places.insert(places.end(), names, names + n);
}

template <size_t n>
void AddBelow(Places& places, const std::string& folder, const char* const (&names)[n]) {
    if (folder.empty()) {
        return;
    }
    for (const char* const name : names) {
        places.push_back(folder + "/" + name);
    }
}

// The files and folders of a list that is separated by ":".
void AddList(Places& places, const std::string& list) {
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(':', start), list.size());
        if (end > start && list[start] == '/') {
            places.push_back(list.substr(start, end - start));
        }
        start = end + 1;
    }
}

// Libraries may load others that lie beside them.
void AddLibraryFolders(Places& places) {
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* list) {
            const std::filesystem::path path = info->dlpi_name;
            if (!path.is_absolute()) {
                return 0;
            }
            Places& found = *static_cast<Places*>(list);
            const std::string folder = path.parent_path().lexically_normal();
            // Where the system's libraries are, and many follow each other in one folder.
            if (folder.rfind("/usr/lib", 0) == 0 || folder.rfind("/lib", 0) == 0) {
                return 0;
            }
            if (found.empty() || found.back() != folder) {
                found.push_back(folder);
            }
            return 0;
        },
        &places);
}

void AddFonts(Places& places) {
    AddBelow(places, HomeFolder(), kFontsOfUser);
    places.push_back(BaseFolder("XDG_DATA_HOME", ".local/share") + "/fonts");
    places.push_back(Config() + "/fontconfig");
    places.push_back(Cache() + "/fontconfig");
    for (const std::string& place : OwnFontPlaces()) {
        places.push_back(place);
    }
}

}  // namespace

std::vector<std::string> LibraryPlaces() {
    Places places;
    Add(places, kSystem);
    AddLibraryFolders(places);
    AddFonts(places);
    // The host's own resources.
    places.push_back(std::filesystem::path(OwnResource("")).parent_path());
    AddList(places, Variable("SDL_SOUNDFONTS"));
    places.push_back(Variable("ICU_DATA"));
    places.push_back(Variable("TZDIR"));
    // Reports of a build with sanitizers tell of the process's own memory and threads, and what
    // explains them reads the program.
    if (kCheckedAccess) {
        std::error_code error;
        places.emplace_back("/proc/self");
        places.push_back(std::filesystem::read_symlink("/proc/self/exe", error).string());
    }
    return places;
}

std::vector<std::string> DesktopPlaces() {
    Places places;
    Add(places, kDesktop);
    AddBelow(places, HomeFolder(), kDesktopOfUser);
    AddBelow(places, Config(), kDesktopOfConfig);
    places.push_back(BaseFolder("XDG_DATA_HOME", ".local/share") + "/icons");
    places.push_back(Cache() + "/ibus");
    for (const std::string& cache : DriverCaches()) {
        places.push_back(cache);
    }
    for (const char* const variable :
         {"XAUTHORITY", "XCOMPOSEFILE", "XENVIRONMENT", "PULSE_COOKIE", "PULSE_CLIENTCONFIG",
          "PIPEWIRE_CONFIG_DIR", "SDL_GAMECONTROLLERCONFIG_FILE"}) {
        places.push_back(Variable(variable));
    }
    for (const char* const list : {"XCURSOR_PATH", "LIBGL_DRIVERS_PATH", "ALSA_CONFIG_PATH",
                                   "XKB_CONFIG_ROOT", "__EGL_VENDOR_LIBRARY_FILENAMES"}) {
        AddList(places, Variable(list));
    }
    // The sockets of the display and of the sound server, and what they say of themselves.
    const std::string runtime = Variable("XDG_RUNTIME_DIR");
    if (!runtime.empty()) {
        for (const char* const name : {"/pulse", "/pipewire-0.lock", "/ICEauthority"}) {
            places.push_back(runtime + name);
        }
    }
    return places;
}

std::vector<std::string> DesktopDevices() {
    return {std::begin(kDevices), std::end(kDevices)};
}

std::vector<std::string> DriverCaches() {
    Places places;
    constexpr const char* kCaches[] = {"mesa_shader_cache", "mesa_shader_cache_db", "nvidia",
                                       "radv_builtin_shaders"};
    AddBelow(places, Cache(), kCaches);
    const std::string chosen = Variable("MESA_SHADER_CACHE_DIR");
    if (!chosen.empty()) {
        places.push_back(chosen);
    }
    const std::string home = HomeFolder();
    if (!home.empty()) {
        places.push_back(home + "/.nv/GLCache");
    }
    return places;
}

}  // namespace moxi
