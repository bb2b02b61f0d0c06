#include "tests/support/listen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "tests/support/headless_run.h"

namespace moxi {

namespace {

constexpr f64 kRate = 44100;

template <class T>
T NumberAt(const std::string& file, size_t at) {
    T value;
    std::memcpy(&value, file.data() + at, sizeof value);
    return value;
}

}  // namespace

Recording ReadRecording(const std::string& path) {
    const std::string file = ReadTextFile(path);
    Recording recording;
    if (file.size() < 44) {
        ADD_FAILURE() << path << " is no WAV file";
        return recording;
    }
    EXPECT_EQ(file.substr(0, 4), "RIFF");
    EXPECT_EQ(NumberAt<u32>(file, 4), file.size() - 8);
    EXPECT_EQ(file.substr(8, 8), "WAVEfmt ");
    EXPECT_EQ(NumberAt<u16>(file, 20), 1);  // plain samples
    EXPECT_EQ(NumberAt<u16>(file, 22), 2);  // channels
    EXPECT_EQ(NumberAt<u32>(file, 24), 44100u);
    EXPECT_EQ(NumberAt<u32>(file, 28), 176400u);
    EXPECT_EQ(NumberAt<u16>(file, 32), 4);
    EXPECT_EQ(NumberAt<u16>(file, 34), 16);
    EXPECT_EQ(file.substr(36, 4), "data");
    EXPECT_EQ(NumberAt<u32>(file, 40), file.size() - 44);
    recording.samples.resize((file.size() - 44) / 2);
    std::memcpy(recording.samples.data(), file.data() + 44, recording.samples.size() * 2);
    return recording;
}

Recording Part(const Recording& recording, f64 from, f64 to) {
    const auto frame = [&recording](f64 seconds) {
        return std::min(recording.Frames(), static_cast<size_t>(std::lround(seconds * kRate)));
    };
    const auto begin = recording.samples.begin();
    return {{begin + static_cast<std::ptrdiff_t>(2 * frame(from)),
             begin + static_cast<std::ptrdiff_t>(2 * frame(to))}};
}

i32 Peak(const Recording& recording) {
    i32 peak = 0;
    for (const i16 sample : recording.samples) {
        peak = std::max(peak, std::abs(i32{sample}));
    }
    return peak;
}

f64 Loudness(const Recording& recording) {
    f64 sum = 0;
    for (const f64 sample : recording.samples) {
        sum += sample / 32768 * sample / 32768;
    }
    return recording.samples.empty() ? 0
                                     : std::sqrt(sum / static_cast<f64>(recording.samples.size()));
}

f64 FirstSound(const Recording& recording, i32 magnitude) {
    for (size_t i = 0; i < recording.samples.size(); ++i) {
        if (std::abs(i32{recording.samples[i]}) >= magnitude) {
            return static_cast<f64>(i / 2) / kRate;
        }
    }
    return -1;
}

i32 LargestStep(const Recording& recording) {
    i32 largest = 0;
    for (size_t i = 2; i < recording.samples.size(); ++i) {
        largest = std::max(largest, std::abs(recording.samples[i] - recording.samples[i - 2]));
    }
    return largest;
}

f64 Strength(const Recording& recording, f64 frequency) {
    f64 cosine = 0;
    f64 sine = 0;
    const size_t frames = recording.Frames();
    for (size_t i = 0; i < frames; ++i) {
        // A window without edges, so that neighbours do not leak in.
        const f64 way = static_cast<f64>(i) / static_cast<f64>(frames);
        const f64 window = 1 - std::cos(2 * std::numbers::pi * way);
        const f64 value =
            window * (recording.samples[2 * i] + recording.samples[2 * i + 1]) / 65536.0;
        const f64 angle = 2 * std::numbers::pi * frequency * static_cast<f64>(i) / kRate;
        cosine += value * std::cos(angle);
        sine += value * std::sin(angle);
    }
    return frames == 0 ? 0 : 2 * std::hypot(cosine, sine) / static_cast<f64>(frames);
}

f64 KeyFrequency(int key) {
    return 440 * std::pow(2.0, (key - 69) / 12.0);
}

int StrongestKey(const Recording& recording, int lowest, int highest) {
    int strongest = lowest;
    f64 best = -1;
    for (int key = lowest; key <= highest; ++key) {
        const f64 strength = Strength(recording, KeyFrequency(key));
        if (strength > best) {
            strongest = key;
        }
        best = std::max(best, strength);
    }
    return strongest;
}

}  // namespace moxi
