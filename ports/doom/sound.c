// Sounds. The engine plays up to eight at a time, each with a volume and a side; the host plays one
// file. So what is still to be heard of them all is mixed into a file of the data folder whenever
// one begins or is stopped, and that file takes the place of the one before. When more begin than
// there are channels, the engine's priorities tell which ones give way.

#include "moxi_parts.h"

#include <string.h>

#include "config.h"

#include "deh_str.h"
#include "i_sound.h"
#include "m_config.h"
#include "m_misc.h"
#include "w_wad.h"
#include "z_zone.h"

enum {
    kRate = 22050,
    kChannels = 8,
    kLongestMixture = kRate * 8,
    kLumpHeader = 24,  // the rate and the length stand in the first 8 bytes; 16 samples are padding
    kLumpPadding = 32,
    kShortestLump = 49,
    kOne = 1 << 16,
    kRise = 64,  // samples in which what goes on sets in
};

static const char kFile[] = "SOUND.WAV";

int snd_musicdevice = SNDDEVICE_GENMIDI;
int snd_pitchshift = -1;
int snd_sfxdevice = SNDDEVICE_SB;

typedef struct {
    const byte* samples;  // NULL: nothing is played
    unsigned count;
    unsigned step;    // samples for one of the mixture, in parts of kOne
    uint32_t start;   // by the clock
    int left, right;  // 0 to 255
    bool isNew;
} channel;

static channel channels[kChannels];
static bool mustMix, isPlaying;
// The two sides of a sample added up in one number: the left one counts 2^32, and a negative right
// one borrows from it.
static int64_t mixture[kLongestMixture];

static struct {
    char riff[4];
    uint32_t size;
    char wave[8];
    uint32_t formatSize;
    uint16_t format, sides;
    uint32_t rate, bytesPerSecond;
    uint16_t frame, bits;
    char data[4];
    uint32_t dataSize;
    int16_t samples[2 * kLongestMixture];
} wav = {.riff = "RIFF",
         .wave = "WAVEfmt ",
         .formatSize = 16,
         .format = 1,
         .sides = 2,
         .rate = kRate,
         .bytesPerSecond = 4 * kRate,
         .frame = 4,
         .bits = 16,
         .data = "data"};

enum { kWavHeader = 44 };

// --- Channels

static uint32_t Played(const channel* it, uint32_t now) {
    return (now - it->start) * (kRate / 50) / 20;
}

static unsigned Length(const channel* it) {
    return (unsigned)(((uint64_t)it->count << 16) / it->step);
}

static bool IsHeard(const channel* it, uint32_t now) {
    return it->samples != NULL && Played(it, now) < Length(it);
}

static bool IsChannel(int number) {
    return number >= 0 && number < kChannels;
}

boolean I_SoundIsPlaying(int number) {
    return IsChannel(number) && IsHeard(&channels[number], moxi_milliseconds());
}

void I_UpdateSoundParams(int number, int volume, int side) {
    if (!IsChannel(number)) return;
    channels[number].left = (254 - side) * volume / 127;
    channels[number].right = side * volume / 127;
}

void I_StopSound(int number) {
    if (I_SoundIsPlaying(number)) mustMix = true;
    if (IsChannel(number)) channels[number].samples = NULL;
}

int I_StartSound(sfxinfo_t* sound, int number, int volume, int side, int pitch) {
    if (!IsChannel(number)) return -1;
    const unsigned length = (unsigned)W_LumpLength((lumpindex_t)sound->lumpnum);
    const byte* const lump = W_CacheLumpNum(sound->lumpnum, PU_STATIC);
    if (length < kLumpHeader || lump[0] != 3 || lump[1] != 0) return -1;
    const unsigned rate = lump[2] | (unsigned)lump[3] << 8;
    const unsigned count =
        lump[4] | (unsigned)lump[5] << 8 | (unsigned)lump[6] << 16 | (unsigned)lump[7] << 24;
    if (count < kShortestLump || count > length - 8 || rate == 0) return -1;
    channel* const it = &channels[number];
    it->samples = lump + kLumpHeader;
    it->count = count - kLumpPadding;
    // As a factor, the pitch is 1 at NORM_PITCH.
    const unsigned factor = snd_pitchshift > 0 ? (unsigned)(pitch + 129) : 256;
    it->step = (unsigned)((uint64_t)rate * kOne * factor / kRate / 256);
    if (it->step == 0) it->step = 1;
    it->start = moxi_milliseconds();
    it->isNew = true;
    I_UpdateSoundParams(number, volume, side);
    mustMix = true;
    return number;
}

// --- The mixture

static void MixChannel(const channel* it, unsigned from, unsigned count, bool rises) {
    const byte* const samples = it->samples;
    const unsigned step = it->step;
    const int64_t both = ((int64_t)it->left << 32) + it->right;
    uint64_t at = (uint64_t)from * step;
    unsigned i = 0;
    // What goes on is cut a little before or behind where the last mixture has come to.
    for (; rises && i < count && i < kRise; ++i, at += step) {
        mixture[i] += (samples[at >> 16] - 128) * (int)i / kRise * both;
    }
    for (; i < count; ++i, at += step) mixture[i] += (samples[at >> 16] - 128) * both;
}

// The number of samples until all is over.
static unsigned MixChannels(uint32_t now) {
    unsigned length = 0;
    for (int i = 0; i < kChannels; ++i) {
        channel* const it = &channels[i];
        if (!IsHeard(it, now)) continue;
        const unsigned from = it->isNew ? 0 : Played(it, now);
        unsigned count = Length(it) - from;
        if (count > kLongestMixture) count = kLongestMixture;
        if (count > length) {
            memset(mixture + length, 0, (count - length) * sizeof *mixture);
            length = count;
        }
        MixChannel(it, from, count, !it->isNew);
        it->isNew = false;
    }
    return length;
}

static int16_t Cut(int value) {
    return (int16_t)(value > 32767 ? 32767 : value < -32768 ? -32768 : value);
}

static void PlayMixture(unsigned length) {
    for (unsigned i = 0; i < length; ++i) {
        const int right = (int)mixture[i];
        wav.samples[2 * i] = Cut((int)((mixture[i] - right) >> 32));
        wav.samples[2 * i + 1] = Cut(right);
    }
    const uint32_t size = 4 * length;
    wav.dataSize = size;
    wav.size = size + kWavHeader - 8;
    if (WriteData(kFile, &wav, kWavHeader + size)) moxi_play_sound(PlayedName(kFile));
}

void I_UpdateSound(void) {
    if (!mustMix) return;
    mustMix = false;
    unsigned length = MixChannels(moxi_milliseconds());
    if (length == 0 && !isPlaying) return;
    isPlaying = length > 0;
    // The last one was stopped: a moment's silence takes its place.
    if (length == 0) {
        length = kRise;
        memset(mixture, 0, kRise * sizeof *mixture);
    }
    PlayMixture(length);
}

// --- What the engine asks for

int I_GetSfxLumpNum(sfxinfo_t* sound) {
    char name[9];
    if (sound->link != NULL) sound = sound->link;
    M_snprintf(name, sizeof name, "ds%s", DEH_String(sound->name));
    return W_GetNumForName(name);
}

void I_BindSoundVariables(void) {
    M_BindIntVariable("snd_musicdevice", &snd_musicdevice);
    M_BindIntVariable("snd_sfxdevice", &snd_sfxdevice);
    M_BindIntVariable("snd_pitchshift", &snd_pitchshift);
}

void I_InitSound(boolean prefixed) {
    (void)prefixed;
}

void I_ShutdownSound(void) {}

void I_PrecacheSounds(sfxinfo_t* sounds, int count) {
    (void)sounds, (void)count;
}

void I_SetOPLDriverVer(opl_driver_ver_t version) {
    (void)version;
}

void I_OPL_DevMessages(char* text, size_t size) {
    if (size > 0) text[0] = 0;
}
