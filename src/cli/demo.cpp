#include "cli/commands.hpp"
#include "cli/queue.hpp"
#include "core/formats/encodeSample.hpp"
#include "core/io/PartialFile.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace quorvel::cli {

namespace {

constexpr double kRate = 44100.0;
constexpr double kSeconds = 4.0;

// A plucked note: decaying harmonics with a short attack, like a piano or guitar.
void addNote(std::vector<double>& track, double start, double length, double hz, double level)
{
    const auto first = static_cast<std::size_t>(start * kRate);
    const auto count = static_cast<std::size_t>(length * kRate);
    for (std::size_t i = 0; i < count && first + i < track.size(); ++i) {
        const double t = static_cast<double>(i) / kRate;
        const double envelope = std::min(1.0, t / 0.005) * std::exp(-3.0 * t);
        double v = 0.0;
        for (int k = 1; k <= 12; ++k)
            v += std::sin(2.0 * std::numbers::pi * hz * k * t) / std::pow(k, 1.5);
        track[first + i] += level * envelope * v;
    }
}

// A melody over a bass line, with some soft low-passed noise as room tone.
std::vector<double> melody(unsigned seed, double rootHz)
{
    static constexpr double kPentatonic[] = {1.0, 9.0 / 8, 5.0 / 4, 3.0 / 2, 5.0 / 3, 2.0};
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> step(0, 5);
    std::normal_distribution<double> noise(0.0, 1.0);

    std::vector<double> track(static_cast<std::size_t>(kRate * kSeconds), 0.0);
    for (double t = 0.0; t < kSeconds; t += 0.25)
        addNote(track, t, 0.6, rootHz * kPentatonic[step(random)], 0.1);
    for (double t = 0.0; t < kSeconds; t += 1.0)
        addNote(track, t, 1.2, rootHz / 4, 0.15);

    double room = 0.0;
    for (double& v : track) {
        room += 0.05 * (noise(random) - room);
        v += 0.04 * room;
    }
    return track;
}

struct DemoFile {
    SourceFormat format;
    int channels;
};

// Written as outputs are: under a partial name, then put in place without replacing
// anything, never through a symlink. Empty on success, else why not.
std::string writeDemo(const std::filesystem::path& path, const DemoFile& demo, unsigned seed)
{
    std::vector<std::vector<double>> tracks{melody(seed, 440.0)};
    if (demo.channels == 2)
        tracks.push_back(melody(seed + 100, 660.0));

    const int bps = demo.format.bytesPerSample();
    const double fullScale = bps == 2 ? 32767.0 : 8388607.0;
    std::vector<std::uint8_t> bytes(tracks[0].size() * tracks.size() * bps);
    std::uint8_t* out = bytes.data();
    for (std::size_t i = 0; i < tracks[0].size(); ++i) {
        for (const auto& track : tracks) {
            const double v = std::clamp(track[i], -1.0, 1.0) * fullScale;
            encodeSample(static_cast<std::int32_t>(std::lround(v)), demo.format, out);
            out += bps;
        }
    }
    PartialFile file = PartialFile::create(path);
    if (file.fd() < 0 || !file.writeAll(bytes))
        return file.error();
    if (file.publish(path, [](const std::filesystem::path&) { return std::filesystem::path(); }).empty())
        return file.error();
    return {};
}

} // namespace

int runDemo(const std::filesystem::path& folder, std::ostream& out, std::ostream& err)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        err << "sd2wav: cannot create the demo folder " << printableName(folder.string()) << ": " << error.message() << '\n';
        return 1;
    }

    unsigned seed = 1;
    bool failed = false;
    for (SourceFormat format : SourceFormat::allCases()) {
        for (int channels : {1, 2}) {
            const auto name = "demo " + std::string(format.rawValue()) + (channels == 1 ? " mono" : " stereo") + ".sd2";
            const auto path = folder / name;
            // Never replace what is already there, even one of ours or a dangling symlink.
            if (!std::filesystem::exists(std::filesystem::symlink_status(path, error))) {
                if (const std::string why = writeDemo(path, {format, channels}, seed); !why.empty()) {
                    err << "sd2wav: couldn't write " << printableName(path.string()) << ": " << why << '\n';
                    failed = true;
                }
            }
            ++seed;
        }
    }
    out << "Demo files in " << printableName(folder.string()) << " (each name says its true encoding and layout):\n";
    DetectOptions options;
    options.jobs = defaultJobs();
    options.paths = {folder.string()};
    const int detected = runDetect(options, out, err);
    return failed ? 1 : detected;
}

} // namespace quorvel::cli
