// How loud a MIDI file is: the service of music has no volume, so it stands in the file.

#include "moxi_parts.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

enum {
    kHeader = 14,    // of the file
    kTracksAt = 10,  // in it, the number of tracks
    kFormatAt = 9,   // one track or several
    kTrackHeader = 8,
    kVolume = 7,  // the controller
    kUsualVolume = 100,
    kChannels = 16,
    kOwnTrack = kTrackHeader + 4 * kChannels + 4,
};

static size_t Size(const byte* bytes) {
    return (size_t)bytes[0] << 24 | (size_t)bytes[1] << 16 | (size_t)bytes[2] << 8 | bytes[3];
}

// Past a number of 7 bits a byte.
static const byte* Number(const byte* at, const byte* end, size_t* number) {
    *number = 0;
    while (at < end) {
        *number = *number << 7 | (*at & 127);
        if (*at++ < 128) break;
    }
    return at;
}

// The ear's scale of the controller is a square.
static byte Scaled(int value, float share) {
    return (byte)((float)value * share);
}

// What is no track of known events is left as it is from there on.
static void ScaleTrack(byte* track, const byte* end, float share) {
    const byte* at = track;
    int status = 0;
    while (at < end) {
        size_t length;
        at = Number(at, end, &length);
        if (at < end && *at >= 0x80) status = *at++;
        if (status == 0xFF && at < end) ++at;
        if (status >= 0xF0) {
            at = Number(at, end, &length);
            if (length > (size_t)(end - at)) return;
            at += length;
            continue;
        }
        if (status < 0x80) return;
        if (status >> 4 == 0xB && end - at >= 2 && *at == kVolume) {
            track[at - track + 1] = Scaled(at[1], share);
        }
        at += status >> 4 == 0xC || status >> 4 == 0xD ? 1 : 2;
    }
}

// A track of its own sets the channels that the piece leaves as they are.
static void WriteOwnTrack(byte* out, float share) {
    memcpy(out, "MTrk", 4);
    const byte size[] = {0, 0, 0, kOwnTrack - kTrackHeader};
    memcpy(out + 4, size, sizeof size);
    out += kTrackHeader;
    for (int channel = 0; channel < kChannels; ++channel, out += 4) {
        const byte event[] = {0, (byte)(0xB0 | channel), kVolume, Scaled(kUsualVolume, share)};
        memcpy(out, event, sizeof event);
    }
    const byte end[] = {0, 0xFF, 0x2F, 0};
    memcpy(out, end, sizeof end);
}

void* WithVolume(const void* midi, size_t size, int volume, size_t* newSize) {
    const byte* const from = midi;
    byte* const made = malloc(size + kOwnTrack);
    if (made == NULL || size < kHeader) {
        free(made);
        return NULL;
    }
    const float share = sqrtf((float)volume / 127.0f);
    memcpy(made, from, kHeader);
    const int tracks = (from[kTracksAt] << 8 | from[kTracksAt + 1]) + 1;
    made[kTracksAt] = (byte)(tracks >> 8);
    made[kTracksAt + 1] = (byte)tracks;
    if (made[kFormatAt] == 0) made[kFormatAt] = 1;
    WriteOwnTrack(made + kHeader, share);
    memcpy(made + kHeader + kOwnTrack, from + kHeader, size - kHeader);
    *newSize = size + kOwnTrack;
    byte* at = made + kHeader + kOwnTrack;
    const byte* const end = made + *newSize;
    while (end - at >= kTrackHeader) {
        const size_t length = Size(at + 4);
        at += kTrackHeader;
        if (length > (size_t)(end - at)) break;
        ScaleTrack(at, at + length, share);
        at += length;
    }
    return made;
}
