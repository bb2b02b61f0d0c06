#pragma once
/* The console's four sound channels, mixed into 16-bit stereo. Plain C11 without a library, as
 * draw.h. */

enum {
    kSampleRate = 44100,
    kSamplesPerFrame = kSampleRate / 60,
    kChannels = 4,
    kRiseSamples = 256,
    kLongestMixture = 60 * kSamplesPerFrame, /* samples of one mixture */
};

/* Begins a tone at sample `now` of the console's time, as the cartridge asks for it; what its
   channel played ends there. */
void StartTone(long long now, unsigned frequency, unsigned duration, unsigned volume,
               unsigned flags);

/* The sample at which the last channel falls silent. */
long long EndOfTones(void);

/* Mixes `count` samples from `from` on, at most kLongestMixture, left and right by turns, as signed
   16-bit numbers. Tones that began earlier rise within kRiseSamples, just as the host fades what
   this takes the place of, so that nobody hears the cut. */
void MixTones(long long from, int count, short* samples);
