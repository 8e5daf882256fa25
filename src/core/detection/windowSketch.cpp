#include "core/detection/windowSketch.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/detection/smoothness.hpp"

#include <algorithm>
#include <cmath>

namespace quorvel {

namespace {

std::uint8_t level(double fraction)
{
    // Anything above zero shows as at least one step.
    return static_cast<std::uint8_t>(std::clamp(std::ceil(fraction * 255.0), 0.0, 255.0));
}

template <SourceFormat::Case F>
void sketchWindow(const std::uint8_t* data, std::int64_t start, std::int64_t end, int firstColumn, WindowSketch& sketch)
{
    constexpr std::int64_t bps = SourceFormat{F}.bytesPerSample();
    constexpr double fullScale = static_cast<double>(std::int64_t{1} << (8 * bps - 1));
    // Lanes follow the sample's place in the whole data, so left stays left in every window.
    const auto parity = static_cast<int>((start / bps) % 2);
    const std::int64_t pairs = (end - start) / (2 * bps);
    for (int c = 0; c < WindowSketch::kColumnsPerWindow; ++c) {
        const std::int64_t from = start + pairs * c / WindowSketch::kColumnsPerWindow * 2 * bps;
        const std::int64_t to = start + pairs * (c + 1) / WindowSketch::kColumnsPerWindow * 2 * bps;
        std::int64_t peak[2] = {0, 0}, count = 0;
        double squares[2] = {0, 0};
        for (std::int64_t pos = from; pos + 2 * bps <= to; pos += kSketchStride * 2 * bps, ++count)
            for (int i = 0; i < 2; ++i) {
                const std::int64_t v = decodeIntAt<F>(data + pos + i * bps);
                peak[i] = std::max(peak[i], v < 0 ? -v : v);
                squares[i] += static_cast<double>(v) * static_cast<double>(v);
            }
        if (count == 0)
            continue;
        for (int i = 0; i < 2; ++i) {
            WindowSketch::Lane& lane = sketch.lanes[static_cast<std::size_t>((i + parity) % 2)];
            lane.peak[static_cast<std::size_t>(firstColumn + c)] = level(static_cast<double>(peak[i]) / fullScale);
            lane.rms[static_cast<std::size_t>(firstColumn + c)] =
                level(std::sqrt(squares[i] / static_cast<double>(count)) / fullScale);
        }
    }
}

// The windows of `audio`, already cut to its audible span as the scores cut it.
WindowSketch sketchAudio(ByteView audio, SourceFormat format)
{
    WindowSketch sketch;
    sketch.format = format;
    const std::int64_t bps = format.bytesPerSample();
    const auto size = static_cast<std::int64_t>(audio.size());
    if (size < 16 * bps)
        return sketch;
    for (std::size_t w = 0; w < kSmoothnessWindowFractions.size(); ++w) {
        const std::int64_t start = smoothnessWindowStart(size, kSmoothnessWindowFractions[w]) / bps * bps;
        const std::int64_t end = std::min(size, start + kSmoothnessWindowBytes);
        withFormat(format, [&](auto f) {
            sketchWindow<decltype(f)::value>(audio.data(), start, end,
                                             static_cast<int>(w) * WindowSketch::kColumnsPerWindow, sketch);
        });
    }
    return sketch;
}

} // namespace

WindowSketch::Lane WindowSketch::merged() const
{
    Lane lane;
    for (std::size_t c = 0; c < kColumns; ++c) {
        lane.peak[c] = std::max(lanes[0].peak[c], lanes[1].peak[c]);
        const double a = lanes[0].rms[c], b = lanes[1].rms[c];
        lane.rms[c] = static_cast<std::uint8_t>(std::lround(std::sqrt((a * a + b * b) / 2.0)));
    }
    return lane;
}

std::vector<WindowSketch> sketchReadings(ByteView data, std::optional<SourceFormat> described)
{
    const ByteView audio = audiblePart(data).value_or(data);
    std::vector<WindowSketch> sketches;
    for (SourceFormat candidate : SourceFormat::allCases())
        sketches.push_back(sketchAudio(audio, candidate));
    if (described && described->index() >= SourceFormat::allCases().size())
        sketches.push_back(sketchAudio(audio, *described));
    return sketches;
}

} // namespace quorvel
