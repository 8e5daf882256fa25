// Writes starting corpora for the fuzz targets: short tones in every encoding and layout,
// silence, a constant, noise, and a few folder-tree programs. fuzz_seed CORPUS_ROOT writes
// CORPUS_ROOT/<target>/<name>.
#include "convertInput.hpp"
#include "detectionInput.hpp"
#include "intakeProgram.hpp"

#include "core/formats/encodeSample.hpp"
#include "../tests/support/forks.hpp"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<std::uint8_t>;

void save(const fs::path& dir, const std::string& name, const Bytes& bytes)
{
    fs::create_directories(dir);
    std::ofstream(dir / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// `frames` frames of a tone per channel (each channel its own pitch), at 0.5 full scale.
Bytes tone(SourceFormat format, int channels, int frames, double hz = 440.0, double rate = 44100.0)
{
    const int bps = format.bytesPerSample();
    const double full = bps == 2 ? 32767.0 : 8388607.0;
    Bytes bytes(static_cast<std::size_t>(frames * channels * bps));
    std::uint8_t* out = bytes.data();
    for (int i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c) {
            const double v = 0.5 * std::sin(2.0 * std::numbers::pi * hz * (1.0 + 0.5 * c) * i / rate);
            encodeSample(static_cast<std::int32_t>(std::lround(v * full)), format, out);
            out += bps;
        }
    }
    return bytes;
}

Bytes noise(std::size_t size, std::uint32_t seed)
{
    Bytes bytes(size);
    for (auto& b : bytes) {
        seed = seed * 1664525u + 1013904223u;
        b = static_cast<std::uint8_t>(seed >> 24);
    }
    return bytes;
}

void detectionSeeds(const fs::path& dir)
{
    for (SourceFormat format : SourceFormat::allCases()) {
        const std::string id{format.rawValue()};
        save(dir, id + "_mono", tone(format, 1, 1500));
        save(dir, id + "_stereo", tone(format, 2, 800));
        save(dir, id + "_short", tone(format, 1, 12));
    }
    save(dir, "silence", Bytes(4000, 0));
    save(dir, "constant", Bytes(3000, 0x5A));
    save(dir, "noise", noise(6000, 1));
    save(dir, "tiny", Bytes{1, 2, 3});
    // One cycle of a tone in s24le, repeated out to about 1.1 MB; the low bytes of the
    // length are chosen to make it one of the inputs that are also run long.
    Bytes tiled{0xD8, 0x00, 0x00};
    const Bytes cycle = tone(SourceFormat::s24le, 1, 100, 441.0);
    tiled.insert(tiled.end(), cycle.begin(), cycle.end());
    for (std::uint16_t k = 1; !fuzz::isTiled(tiled.data(), tiled.size()); ++k) {
        tiled[1] = static_cast<std::uint8_t>(k >> 8);
        tiled[2] = static_cast<std::uint8_t>(k);
    }
    save(dir, "tiled_s24le", tiled);
}

void convertSeeds(const fs::path& dir)
{
    struct Case {
        const char* name;
        fuzz::ConvertSettings settings;
        Bytes payload;
    };
    const auto settings = [](SourceFormat format, bool automatic, std::int64_t channels, std::int64_t sourceRate,
                             std::int64_t targetRate, TargetChannels layout, std::int64_t depth, bool normalize) {
        fuzz::ConvertSettings s;
        s.format = format;
        s.automatic = automatic;
        s.sourceChannels = channels;
        s.sourceRate = sourceRate;
        s.targetRate = targetRate;
        s.layout = layout;
        s.depth = depth;
        s.normalize = normalize;
        s.detectItemFormat = automatic;
        s.itemFormat = format;
        return s;
    };
    const std::vector<Case> cases{
        {"s16be_mono_44to48_stereo24", settings(SourceFormat::s16be, false, 1, 44100, 48000, TargetChannels::stereo, 24, false),
         tone(SourceFormat::s16be, 1, 600)},
        {"s24le_stereo_same_preserve24", settings(SourceFormat::s24le, false, 2, 48000, 48000, TargetChannels::preserve, 24, false),
         tone(SourceFormat::s24le, 2, 500)},
        {"s16le_stereo_22to96_mono16_norm", settings(SourceFormat::s16le, true, 2, 22050, 96000, TargetChannels::mono, 16, true),
         tone(SourceFormat::s16le, 2, 9000, 440.0, 22050.0)},
        {"s24be_mono_same_preserve32_norm", settings(SourceFormat::s24be, false, 1, 44100, 44100, TargetChannels::preserve, 32, true),
         tone(SourceFormat::s24be, 1, 18000)},
        {"s16be_stereo_same_mono16", settings(SourceFormat::s16be, false, 2, 44100, 44100, TargetChannels::mono, 16, false),
         tone(SourceFormat::s16be, 2, 700)},
        {"noise_auto", settings(SourceFormat::s16be, true, 1, 48000, 88200, TargetChannels::stereo, 24, false),
         noise(2000, 7)},
        {"one_frame", settings(SourceFormat::s24le, false, 2, 48000, 44100, TargetChannels::preserve, 16, false),
         Bytes(6, 0x11)},
    };
    for (const Case& c : cases) {
        Bytes bytes(fuzz::kConvertHeader);
        fuzz::writeConvertSettings(c.settings, bytes[0], bytes[1]);
        bytes.insert(bytes.end(), c.payload.begin(), c.payload.end());
        save(dir, c.name, bytes);
    }
}

void intakeSeeds(const fs::path& dir)
{
    using namespace fuzz;
    // Stem and end indices into kNameStems / kNameEnds.
    const auto named = [](std::uint8_t stem, std::uint8_t end) { return Bytes{stem, end}; };
    const auto program = [](std::initializer_list<Bytes> steps) {
        Bytes bytes;
        for (const Bytes& step : steps)
            bytes.insert(bytes.end(), step.begin(), step.end());
        return bytes;
    };
    const Bytes folder{opFolder}, up{opUp}, file{opFile}, loop{opLoop}, dangling{opDangling}, link{opLink},
        queue{opQueue};

    // Take 1/2/10 in a folder, a hidden one, a wav, a folder named x.sd2 with a file inside.
    save(dir, "takes",
         program({file, named(2, 0), file, named(4, 1), file, named(3, 2), file, named(18, 0), file, named(0, 4),
                  folder, named(32, 5), file, named(1, 0), up}));
    // A loop back to the root two levels down, a dangling .sd2 link, a link to a file.
    save(dir, "loops",
         program({folder, named(0, 5), folder, named(1, 5), file, named(2, 0), loop, named(6, 5), Bytes{0x02}, dangling,
                  named(7, 0), link, named(8, 1), up, loop, named(9, 0), Bytes{0x80}}));
    // Odd bytes in names, a queued file, paths handed in several ways.
    save(dir, "odd_names",
         program({file, named(14, 0), file, named(12, 1), file, named(10, 2), queue, file, named(15, 3), folder,
                  named(11, 5), file, named(16, 0), Bytes{opGive, giveHere}, Bytes{opGive, giveLast},
                  Bytes{opGive, giveMissing, 0, 0}, Bytes{opGive, giveHereSlash}, Bytes{opGive, giveRoot}}));
    // Raw bytes as a name.
    save(dir, "raw_name", program({file, Bytes{0xE5, 0xFF, 0x80, '.', 's', 'D', '2'}}));
}

// Each container the fork travels in, a swapped fork, and an AppleDouble of another file.
void forkSeeds(const fs::path& dir)
{
    const Bytes fork = test::resourceFork({});
    const Bytes audio = tone(SourceFormat::s24be, 2, 200);
    save(dir, "bare_fork", fork);
    save(dir, "swapped_fork", test::resourceFork({"44100.000000", "2", "1"}));
    save(dir, "apple_double", test::appleDouble(fork));
    save(dir, "apple_double_text", test::appleContainer(0x00051607, {{9, test::finderInfo("TEXT", "ttxt")}}));
    save(dir, "apple_single", test::appleSingle(audio, fork));
    save(dir, "mac_binary", test::macBinary("Mix 3", audio, fork));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seed CORPUS_ROOT\n");
        return 2;
    }
    const fs::path root = argv[1];
    detectionSeeds(root / "fuzz_detection");
    convertSeeds(root / "fuzz_convert");
    intakeSeeds(root / "fuzz_intake");
    forkSeeds(root / "fuzz_fork");
    return 0;
}
