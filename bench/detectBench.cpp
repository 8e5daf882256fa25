// Detection cost of one file. It must not grow with the file: only the analysed windows
// and prefix are touched, so a 1 GB file should cost the same as a 10 MB one.
#include "core/detection/detectFile.hpp"
#include "core/detection/detectSource.hpp"
#include "core/detection/windowSketch.hpp"
#include "core/formats/encodeSample.hpp"
#include "core/io/MappedFile.hpp"
#include "../tests/support/forks.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <vector>

namespace fs = std::filesystem;
using namespace quorvel;

namespace {

// Stereo s16be "music": two detuned tones with slow amplitude movement, written in
// 10 MB blocks until the file has the wanted size. Kept between runs.
fs::path benchFile(std::int64_t megabytes)
{
    const fs::path path = fs::temp_directory_path() / ("quorvel-bench-" + std::to_string(megabytes) + "MB.sd2");
    const auto bytes = megabytes * 1000 * 1000;
    if (fs::exists(path) && static_cast<std::int64_t>(fs::file_size(path)) == bytes)
        return path;

    std::vector<std::uint8_t> block(10 * 1000 * 1000);
    for (std::size_t frame = 0; frame < block.size() / 4; ++frame) {
        const double t = static_cast<double>(frame) / 44100.0;
        const double swell = 0.6 + 0.4 * std::sin(2 * std::numbers::pi * 0.3 * t);
        const double left = swell * std::sin(2 * std::numbers::pi * 220.0 * t);
        const double right = swell * std::sin(2 * std::numbers::pi * 331.0 * t);
        encodeSample(static_cast<std::int32_t>(left * 12000), SourceFormat::s16be, &block[frame * 4]);
        encodeSample(static_cast<std::int32_t>(right * 12000), SourceFormat::s16be, &block[frame * 4 + 2]);
    }
    std::ofstream out(path, std::ios::binary);
    for (std::int64_t written = 0; written < bytes; written += static_cast<std::int64_t>(block.size()))
        out.write(reinterpret_cast<const char*>(block.data()),
                  static_cast<std::streamsize>(std::min<std::int64_t>(block.size(), bytes - written)));
    return path;
}

void detectMappedFile(benchmark::State& state)
{
    const fs::path path = benchFile(state.range(0));
    for (auto _ : state) {
        const MappedFile file = MappedFile::open(path);
        benchmark::DoNotOptimize(detectFile(file.bytes(), SourceFormatChoice::automatic()));
    }
    state.SetLabel(std::to_string(state.range(0)) + " MB");
}

// The same file under a second name with an AppleDouble sidecar that describes it, so
// detection reads the fork, checks its encoding against the audio and scores the candidates.
fs::path benchFileWithSidecar(std::int64_t megabytes)
{
    const fs::path plain = benchFile(megabytes);
    const fs::path path = fs::path(plain).replace_filename("quorvel-bench-" + std::to_string(megabytes) + "MB-described.sd2");
    std::error_code ignored;
    if (!fs::exists(path))
        fs::create_hard_link(plain, path, ignored);
    const test::Bytes sidecar = test::appleDouble(test::resourceFork({"2", "44100.000000", "2"}));
    std::ofstream(fs::path(path).replace_filename("._" + path.filename().string()), std::ios::binary)
        .write(reinterpret_cast<const char*>(sidecar.data()), static_cast<std::streamsize>(sidecar.size()));
    return path;
}

// A file given by itself, detected as the app and sd2wav do with the source format on auto.
std::optional<FileDetection> detectOnAuto(const fs::path& path, const MappedFile& file)
{
    std::string unreadable;
    return detectSource(path, file.bytes(), SourceFormatChoice::automatic(), std::nullopt, unreadable);
}

void detectSourceWithSidecar(benchmark::State& state)
{
    const fs::path path = benchFileWithSidecar(state.range(0));
    for (auto _ : state) {
        const MappedFile file = MappedFile::open(path);
        const auto found = detectOnAuto(path, file);
        if (!found || !found->source.description)
            state.SkipWithError("the sidecar was not used");
        benchmark::DoNotOptimize(found);
    }
    state.SetLabel(std::to_string(state.range(0)) + " MB, sidecar");
}

// Without a sidecar: the metadata look-up's cost on top of plain detection.
void detectSourceWithout(benchmark::State& state)
{
    const fs::path path = benchFile(state.range(0));
    for (auto _ : state) {
        const MappedFile file = MappedFile::open(path);
        benchmark::DoNotOptimize(detectOnAuto(path, file));
    }
    state.SetLabel(std::to_string(state.range(0)) + " MB, no sidecar");
}

// What the app's detection task does: the same, then the rows' pictures of every reading
// from the same windows; against detectSourceWithout, the pictures' cost.
void detectSourceAndSketch(benchmark::State& state)
{
    const fs::path path = benchFile(state.range(0));
    for (auto _ : state) {
        const MappedFile file = MappedFile::open(path);
        const auto found = detectOnAuto(path, file);
        benchmark::DoNotOptimize(sketchReadings(found->source.audio(file.bytes()), std::nullopt));
    }
    state.SetLabel(std::to_string(state.range(0)) + " MB, no sidecar, with pictures");
}

} // namespace

BENCHMARK(detectMappedFile)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(detectSourceWithout)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(detectSourceAndSketch)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(detectSourceWithSidecar)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
