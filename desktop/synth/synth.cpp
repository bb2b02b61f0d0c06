#include "desktop/synth/synth.h"

#include <fluidsynth.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <span>

#include "base/log.h"

namespace moxi {

namespace fs = std::filesystem;

struct Synth {
    fluid_settings_t* settings = nullptr;
    fluid_synth_t* synth = nullptr;
};

namespace {

constexpr double kGain = 0.4;  // leaves room for a sound above the music
// The device number to which most files address their system exclusive messages.
constexpr int kDeviceId = 16;

constexpr u8 kRegisteredParameterLow = 100;
constexpr u8 kTuningProgram = 3;
constexpr u8 kTuningBank = 4;
constexpr u8 kNoParameter = 127;

// --- Finding SoundFonts

constexpr const char* kFolders[] = {
    "/usr/share/sounds/sf2",       "/usr/share/sounds/sf3",       "/usr/share/soundfonts",
    "/usr/local/share/sounds/sf2", "/usr/local/share/sounds/sf3", "/usr/local/share/soundfonts",
};
constexpr const char* kDefaultNames[] = {"default-GM.sf2", "default-GM.sf3", "default.sf2"};

void AddList(const char* list, std::vector<std::string>& found) {
    std::string name;
    for (const char* c = list;; ++c) {
        if (*c != '\0' && *c != ':' && *c != ';') {
            name += *c;
            continue;
        }
        if (!name.empty()) {
            found.push_back(name);
        }
        name.clear();
        if (*c == '\0') {
            return;
        }
    }
}

bool IsSoundFontName(const std::string& name) {
    const std::string ending = name.size() < 4 ? "" : name.substr(name.size() - 4);
    return ending == ".sf2" || ending == ".sf3" || ending == ".SF2" || ending == ".SF3";
}

void AddFolders(std::vector<std::string>& found) {
    std::vector<std::string> defaults;
    std::vector<std::string> others;
    for (const char* const folder : kFolders) {
        std::vector<std::string> here;
        std::error_code error;
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            const std::string path = entry->path().string();
            std::error_code broken;
            if (!IsSoundFontName(path) || !fs::is_regular_file(path, broken)) {
                continue;
            }
            const bool isDefault = std::count(std::begin(kDefaultNames), std::end(kDefaultNames),
                                              entry->path().filename().string()) > 0;
            (isDefault ? defaults : here).push_back(path);
        }
        // A folder lists its files in no particular order; the choice must not depend on it.
        std::sort(here.begin(), here.end());
        others.insert(others.end(), here.begin(), here.end());
    }
    std::stable_sort(defaults.begin(), defaults.end());
    found.insert(found.end(), defaults.begin(), defaults.end());
    found.insert(found.end(), others.begin(), others.end());
}

// --- Settings

void QuietFluidSynth() {
    // FluidSynth's own audio drivers are not used, but would look for devices when settings are
    // made.
    static const char* none[] = {nullptr};
    fluid_audio_driver_register(none);
    // FluidSynth would write to standard error from the audio callback. LoadSynth reports failures.
    for (const int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG}) {
        fluid_set_log_function(level, nullptr, nullptr);
    }
}

fluid_settings_t* MakeSettings() {
    static std::once_flag once;
    std::call_once(once, QuietFluidSynth);
    fluid_settings_t* const settings = new_fluid_settings();
    if (settings == nullptr) {
        return nullptr;
    }
    fluid_settings_setnum(settings, "synth.sample-rate", kAudioRate);
    fluid_settings_setnum(settings, "synth.gain", kGain);
    fluid_settings_setint(settings, "synth.cpu-cores", 1);
    fluid_settings_setint(settings, "synth.device-id", kDeviceId);
    // One thread plays it: without this every call would take a lock.
    fluid_settings_setint(settings, "synth.threadsafe-api", 0);
    return settings;
}

// --- System exclusive messages

// Whether a message, without its F0 and F7, is a reset or channel set-up of one of the three
// standards that files are written for.
bool IsKnownSysex(std::span<const u8> message) {
    if (message.size() < 4) {
        return false;
    }
    const bool universal = message[0] == 0x7E && message[2] == 0x09;  // General MIDI on, off
    const bool roland = message[0] == 0x41 && message[2] == 0x42 && message[3] == 0x12;
    const bool yamaha = message[0] == 0x43 && message[2] == 0x4C;
    return universal || roland || yamaha;
}

void PlaySysex(fluid_synth_t* synth, const std::vector<u8>& pool, u32 start) {
    const size_t length = pool[start];
    std::array<char, 256> message;
    const std::span<const u8> bytes(pool.data() + start + 1, length);
    if (!IsKnownSysex(bytes)) {
        return;
    }
    std::copy(bytes.begin(), bytes.end(), message.begin());
    fluid_synth_sysex(synth, message.data(), static_cast<int>(length), nullptr, nullptr, nullptr,
                      0);
}

void PlayController(fluid_synth_t* synth, int channel, u8 controller, u8 value) {
    // To choose a tuning would make FluidSynth allocate its table, so that parameter is never
    // selected.
    if (controller == kRegisteredParameterLow &&
        (value == kTuningProgram || value == kTuningBank)) {
        value = kNoParameter;
    }
    fluid_synth_cc(synth, channel, controller, value);
}

}  // namespace

std::vector<std::string> SoundFontCandidates(const std::string& option) {
    if (!option.empty()) {
        return {option};
    }
    std::vector<std::string> found;
    if (const char* const list = std::getenv("SDL_SOUNDFONTS")) {
        AddList(list, found);
    }
    AddFolders(found);
    return found;
}

Synth* LoadSynth(const std::string& soundFontOption) {
    auto synth = std::make_unique<Synth>();
    synth->settings = MakeSettings();
    synth->synth = synth->settings == nullptr ? nullptr : new_fluid_synth(synth->settings);
    const std::vector<std::string> candidates = SoundFontCandidates(soundFontOption);
    if (synth->synth != nullptr) {
        for (const std::string& path : candidates) {
            std::error_code error;
            // Opening a pipe would wait for somebody at its other end.
            if (!fs::is_regular_file(path, error)) {
                continue;
            }
            if (fluid_synth_sfload(synth->synth, path.c_str(), 1) != FLUID_FAILED) {
                return synth.release();
            }
        }
    }
    DeleteSynth(synth.release());
    SystemLog("no music: " + (candidates.empty() ? std::string("no SoundFont was found")
                                                 : candidates.front() + ": not a SoundFont"));
    return nullptr;
}

void DeleteSynth(Synth* synth) {
    if (synth == nullptr) {
        return;
    }
    delete_fluid_synth(synth->synth);
    delete_fluid_settings(synth->settings);
    delete synth;
}

void ResetSynth(Synth& synth) {
    fluid_synth_system_reset(synth.synth);
}

void PlayEvent(Synth& synth, const MusicPiece& piece, const MusicEvent& event) {
    fluid_synth_t* const fluid = synth.synth;
    const int channel = event.status & 0x0F;
    switch (event.status & 0xF0) {
        case 0x80: fluid_synth_noteoff(fluid, channel, event.data1); break;
        // A velocity of 0 ends the note.
        case 0x90: fluid_synth_noteon(fluid, channel, event.data1, event.data2); break;
        case 0xA0: fluid_synth_key_pressure(fluid, channel, event.data1, event.data2); break;
        case 0xB0: PlayController(fluid, channel, event.data1, event.data2); break;
        case 0xC0: fluid_synth_program_change(fluid, channel, event.data1); break;
        case 0xD0: fluid_synth_channel_pressure(fluid, channel, event.data1); break;
        case 0xE0: fluid_synth_pitch_bend(fluid, channel, event.data2 << 7 | event.data1); break;
        default: PlaySysex(fluid, piece.sysex, event.sysex);
    }
}

void RenderStep(Synth& synth, float* left, float* right) {
    fluid_synth_write_float(synth.synth, kSynthStep, left, 0, 1, right, 0, 1);
}

}  // namespace moxi
