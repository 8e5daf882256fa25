#pragma once

#include "core/formats/encodeSample.hpp"

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace quorvel::test {

// Integer samples of amplitude × sin(2πk / period), rounded to nearest.
inline std::vector<std::int32_t> sine(std::size_t count, double period, double amplitude, double phase = 0.0)
{
    std::vector<std::int32_t> samples(count);
    for (std::size_t k = 0; k < count; ++k)
        samples[k] = static_cast<std::int32_t>(
            std::lround(amplitude * std::sin(2.0 * std::numbers::pi * static_cast<double>(k) / period + phase)));
    return samples;
}

// What a recorder writes while nothing plays: zero with triangular dither of one step.
inline std::vector<std::int32_t> ditheredSilence(std::size_t count, unsigned seed = 1)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> half(0, 1);
    std::vector<std::int32_t> samples(count);
    for (auto& v : samples)
        v = half(random) - half(random);
    return samples;
}

// Uniform white noise peaking at ±amplitude: as rough as static, at any level.
inline std::vector<std::int32_t> noise(std::size_t count, std::int32_t amplitude, unsigned seed = 3)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::int32_t> level(-amplitude, amplitude);
    std::vector<std::int32_t> samples(count);
    for (auto& v : samples)
        v = level(random);
    return samples;
}

// a followed by b.
inline std::vector<std::int32_t> joined(std::vector<std::int32_t> a, const std::vector<std::int32_t>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline std::vector<std::int32_t> interleave(const std::vector<std::int32_t>& left, const std::vector<std::int32_t>& right)
{
    std::vector<std::int32_t> frames;
    frames.reserve(left.size() * 2);
    for (std::size_t i = 0; i < left.size(); ++i) {
        frames.push_back(left[i]);
        frames.push_back(right[i]);
    }
    return frames;
}

inline std::vector<std::uint8_t> encode(const std::vector<std::int32_t>& samples, SourceFormat format)
{
    std::vector<std::uint8_t> bytes(samples.size() * format.bytesPerSample());
    for (std::size_t i = 0; i < samples.size(); ++i)
        encodeSample(samples[i], format, bytes.data() + i * format.bytesPerSample());
    return bytes;
}

// Two sines (periods 40 and 25) for `seconds` at 44.1 kHz: a take any reading calls stereo.
inline std::vector<std::uint8_t> stereoTake(SourceFormat format = SourceFormat::s16be, int seconds = 1)
{
    const bool wide = format.bytesPerSample() == 3;
    return encode(interleave(sine(44100 * seconds, 40, wide ? 2000000 : 9000), sine(44100 * seconds, 25, wide ? 1500000 : 7000)),
                  format);
}

// Bytes that read as static in every encoding.
inline std::vector<std::uint8_t> randomBytes(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<std::uint8_t> bytes(count);
    for (auto& b : bytes)
        b = static_cast<std::uint8_t>(random());
    return bytes;
}

// Integer samples of `bits` as a WAV reader hands them back, left-aligned in 32 bits.
inline std::vector<std::int32_t> leftAligned(std::vector<std::int32_t> samples, int bits)
{
    for (auto& v : samples)
        v = static_cast<std::int32_t>(static_cast<std::uint32_t>(v) << (32 - bits));
    return samples;
}

} // namespace quorvel::test
