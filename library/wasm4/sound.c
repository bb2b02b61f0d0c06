#include "sound.h"

/* Full scale is 32767: 15 % of it for a channel, 25 % for the triangle, which sounds softer. */
enum { kFullVolume = 4915, kFullTriangle = 8191 };
enum { kShortRelease = 44 };
enum { kTriangle = 2, kNoise = 3 };

/* Frequencies are shares of 2^64 a sample, so that a phase wraps by itself. */
struct Channel {
    long long start;          /* the sample at which the tone began */
    long long ends[4];        /* the ends of attack, decay, sustain and release, from the start */
    int peak, sustain;        /* levels in 1/65536 of a sample's unit */
    unsigned long long phase; /* at the start */
    unsigned long long rate;  /* at the start */
    long long slide;          /* what is added to the rate with each sample */
    unsigned duty;            /* of the pulse, in shares of 2^32 */
    int pan;                  /* 0 both, 1 left, 2 right */
    /* Noise is followed from sample to sample: where its generator stood last. */
    long long noiseAt;
    unsigned noise; /* its place in the generator's period */
    /* In 1/2^48 of a step: what is left over, what a sample adds, how that changes, and how the
       change does, since a slide of the frequency is a parabola of steps. */
    unsigned long long noisePhase, noiseRate, noiseSlide, noiseBend;
};

/* The generator is a xorshift of 16 bits (7, 9, 13), in whose period each number but 0 comes once.
   What it gives is looked up, since a high tone takes thousands of steps a sample. */
enum { kNoisePeriod = 65535, kNoiseBits = 48 };
#define kNoiseStep 281474976710656.0
#define kNoiseLeft 0xFFFFFFFFFFFFull
#define kHighestNoise 65535.0                           /* Hz: 4,295 steps a sample */
static unsigned char noiseBits[(kNoisePeriod + 7) / 8]; /* from the seed 1 on */

static struct Channel channels[kChannels];
static int mixture[2 * kLongestMixture];

/* 2 to the power of x / 12, x in semitones. */
static double Semitones(double x) {
    double whole = 1.0;
    for (; x >= 12.0; x -= 12.0) whole *= 2.0;
    for (; x < 0.0; x += 12.0) whole *= 0.5;
    const double y = x * (0.693147180559945309 / 12.0);
    double term = 1.0, sum = 1.0;
    for (int i = 1; i < 16; ++i) {
        term *= y / i;
        sum += term;
    }
    return whole * sum;
}

static double Hertz(unsigned half, unsigned asNote) {
    if (!asNote) return half;
    return half == 0 ? 0.0 : 440.0 * Semitones((half & 255) + (half >> 8) / 256.0 - 69.0);
}

static unsigned long long Rate(double hertz) {
    const double cycles = hertz / kSampleRate;
    return (unsigned long long)(cycles * 4294967296.0) << 32;
}

static int Level(unsigned percent, int channel) {
    if (percent > 100) percent = 100;
    return (int)((channel == kTriangle ? kFullTriangle : kFullVolume) * percent / 100) << 16;
}

static unsigned long long PhaseAt(const struct Channel* channel, long long sample) {
    return channel->phase + channel->rate * (unsigned long long)sample +
           (unsigned long long)channel->slide * (unsigned long long)(sample * (sample - 1) / 2);
}

static void MakeNoise(void) {
    unsigned bits = 1;
    if (noiseBits[0] != 0) return;
    for (unsigned i = 0; i < kNoisePeriod; ++i) {
        noiseBits[i >> 3] |= (unsigned char)((bits & 1) << (i & 7));
        bits ^= bits >> 7;
        bits ^= bits << 9 & 0xFFFF;
        bits ^= bits >> 13;
    }
}

static unsigned NoiseBit(unsigned place) {
    return noiseBits[place >> 3] >> (place & 7) & 1;
}

static unsigned long long NoiseSteps(double steps) {
    return (unsigned long long)(long long)(steps * kNoiseStep);
}

/* Frequencies grow from one to the other over `length` samples. */
static void SetNoise(struct Channel* channel, double from, double to, long long length) {
    if (from > kHighestNoise) from = kHighestNoise;
    if (to > kHighestNoise) to = kHighestNoise;
    const double slide = length > 0 ? (to - from) / (double)length : 0.0;
    MakeNoise();
    channel->noise = 0;
    channel->noiseAt = channel->start;
    channel->noisePhase = 0;
    channel->noiseRate = NoiseSteps(from * from / 1000000.0);
    channel->noiseSlide = NoiseSteps((2 * from + slide) * slide / 1000000.0);
    channel->noiseBend = NoiseSteps(2 * slide * slide / 1000000.0);
}

void StartTone(long long now, unsigned frequency, unsigned duration, unsigned volume,
               unsigned flags) {
    const int number = (int)(flags & 3);
    struct Channel* const channel = &channels[number];
    const long long played = now - channel->start;
    channel->phase = played >= 0 && played < channel->ends[3] ? PhaseAt(channel, played)
                     : number == kTriangle                    ? 1ull << 62
                                                              : 0;
    channel->start = now;
    const unsigned asNote = flags >> 6 & 1;
    const double from = Hertz(frequency & 0xFFFF, asNote);
    const double to = frequency >> 16 ? Hertz(frequency >> 16, asNote) : from;
    /* Attack, decay, sustain, release stand in the duration from the high byte as A, D, R, S. */
    const long long attack = (long long)(duration >> 24 & 255) * kSamplesPerFrame;
    const long long decay = (long long)(duration >> 16 & 255) * kSamplesPerFrame;
    const long long sustain = (long long)(duration & 255) * kSamplesPerFrame;
    long long release = (long long)(duration >> 8 & 255) * kSamplesPerFrame;
    const long long length = attack + decay + sustain + release;
    if (number == kTriangle && release == 0 && length > 0) release = kShortRelease;
    channel->ends[0] = attack;
    channel->ends[1] = attack + decay;
    channel->ends[2] = attack + decay + sustain;
    channel->ends[3] = channel->ends[2] + release;
    const unsigned peak = volume >> 8 & 255;
    channel->sustain = Level(volume & 255, number);
    channel->peak = Level(peak ? peak : 100, number);
    channel->rate = Rate(from);
    channel->slide = length > 0 ? (long long)(Rate(to) - channel->rate) / length : 0;
    channel->duty = 1u << 29; /* an eighth */
    const unsigned duty = flags >> 2 & 3;
    if (duty == 1) channel->duty = 1u << 30;
    if (duty == 2) channel->duty = 1u << 31;
    if (duty == 3) channel->duty = 3u << 30;
    channel->pan = (int)(flags >> 4 & 3);
    if (number == kNoise) SetNoise(channel, from, to, length);
}

long long EndOfTones(void) {
    long long end = 0;
    for (int i = 0; i < kChannels; ++i) {
        const long long own = channels[i].start + channels[i].ends[3];
        if (own > end) end = own;
    }
    return end;
}

/* --- One channel, one piece of its envelope */

struct Piece {
    int* out; /* the first sample's left half */
    int count;
    int level, step; /* in 1/65536 */
    int left, right; /* which sides hear it */
};

static void Add(int* out, const struct Piece* piece, int value) {
    if (piece->left) out[0] += value;
    if (piece->right) out[1] += value;
}

static void MixPulse(const struct Channel* channel, long long at, struct Piece piece) {
    unsigned long long phase = PhaseAt(channel, at);
    unsigned long long rate = channel->rate + (unsigned long long)(channel->slide * at);
    for (int i = 0; i < piece.count; ++i, piece.out += 2) {
        const int level = piece.level >> 16;
        Add(piece.out, &piece, (unsigned)(phase >> 32) < channel->duty ? level : -level);
        phase += rate;
        rate += (unsigned long long)channel->slide;
        piece.level += piece.step;
    }
}

static void MixTriangle(const struct Channel* channel, long long at, struct Piece piece) {
    unsigned long long phase = PhaseAt(channel, at);
    unsigned long long rate = channel->rate + (unsigned long long)(channel->slide * at);
    for (int i = 0; i < piece.count; ++i, piece.out += 2) {
        /* From 32767 down to -32768 and up again. */
        const int place = (int)(phase >> 47);
        const int height = (place < 65536 ? 65535 - place : place - 65536) - 32768;
        Add(piece.out, &piece, (piece.level >> 16) * height / 32768);
        phase += rate;
        rate += (unsigned long long)channel->slide;
        piece.level += piece.step;
    }
}

/* The generator runs frequency^2 / 1,000,000 steps a sample. */
static void StepNoise(struct Channel* channel) {
    const unsigned long long phase = channel->noisePhase + channel->noiseRate;
    channel->noiseRate += channel->noiseSlide;
    channel->noiseSlide += channel->noiseBend;
    channel->noisePhase = phase & kNoiseLeft;
    channel->noise += (unsigned)(phase >> kNoiseBits);
    if (channel->noise >= kNoisePeriod) channel->noise -= kNoisePeriod;
    ++channel->noiseAt;
}

static void MixNoise(struct Channel* channel, struct Piece piece) {
    for (int i = 0; i < piece.count; ++i, piece.out += 2) {
        StepNoise(channel);
        const int level = piece.level >> 16;
        Add(piece.out, &piece, NoiseBit(channel->noise) ? level : -level);
        piece.level += piece.step;
    }
}

/* The level at a sample of the tone and how it goes on from there; `end` is where that changes. */
static int LevelAt(const struct Channel* channel, long long at, int* step, long long* end) {
    int from = 0, to = channel->peak;
    long long begin = 0;
    int part = 0;
    while (part < 3 && at >= channel->ends[part]) ++part;
    if (part > 0) begin = channel->ends[part - 1];
    if (part == 1) from = channel->peak, to = channel->sustain;
    if (part == 2) from = to = channel->sustain;
    if (part == 3) from = channel->sustain, to = 0;
    *end = channel->ends[part];
    const long long length = *end - begin;
    *step = length > 0 ? (int)((to - from) / length) : 0;
    return from + (int)(*step * (at - begin));
}

static void MixChannel(struct Channel* channel, long long from, int count, int* out) {
    const int number = (int)(channel - channels);
    for (int done = 0; done < count;) {
        const long long at = from + done - channel->start;
        if (at >= channel->ends[3]) return;
        long long end;
        struct Piece piece;
        piece.level = LevelAt(channel, at, &piece.step, &end);
        piece.count = end - at < count - done ? (int)(end - at) : count - done;
        piece.out = out + 2 * done;
        piece.left = channel->pan != 2;
        piece.right = channel->pan != 1;
        if (number == kNoise) {
            MixNoise(channel, piece);
        } else if (number == kTriangle) {
            MixTriangle(channel, at, piece);
        } else {
            MixPulse(channel, at, piece);
        }
        done += piece.count;
    }
}

/* The generator of noise as it stands at `from`; a copy of the channel goes on from there. */
static void CatchUpNoise(struct Channel* channel, long long from) {
    if (from >= channel->start + channel->ends[3]) return;
    while (channel->noiseAt < from) StepNoise(channel);
}

static void RiseSlowly(int* samples, int count) {
    for (int i = 0; i < kRiseSamples && i < count; ++i) {
        samples[2 * i] = samples[2 * i] * (i + 1) / kRiseSamples;
        samples[2 * i + 1] = samples[2 * i + 1] * (i + 1) / kRiseSamples;
    }
}

void MixTones(long long from, int count, short* samples) {
    if (count > kLongestMixture) count = kLongestMixture;
    for (int i = 0; i < 2 * count; ++i) mixture[i] = 0;
    CatchUpNoise(&channels[kNoise], from);
    const struct Channel noise = channels[kNoise];
    for (int i = 0; i < kChannels; ++i) {
        if (channels[i].start < from) MixChannel(&channels[i], from, count, mixture);
    }
    RiseSlowly(mixture, count);
    for (int i = 0; i < kChannels; ++i) {
        if (channels[i].start >= from) MixChannel(&channels[i], from, count, mixture);
    }
    channels[kNoise] = noise;
    for (int i = 0; i < 2 * count; ++i) {
        const int value = mixture[i];
        samples[i] = (short)(value > 32767 ? 32767 : value < -32768 ? -32768 : value);
    }
}
