#include "cli/usage.hpp"

namespace quorvel::cli {

namespace {

OptionDoc sourceFormat()
{
    return {{"--source-format"}, "F", {"auto", "s16be", "s24be", "s16le", "s24le"}, Offer::nothing,
            "read every file as F instead of detecting it (the layout is still detected); default auto"};
}

OptionDoc noSession(std::string_view help)
{
    return {{"--no-session"}, {}, {}, Offer::nothing, help};
}

OptionDoc jobs(std::string_view help)
{
    return {{"-j"}, "N", {}, Offer::nothing, help, {"--jobs"}};
}

} // namespace

// Adding an option: one row here (and its parsing in options.cpp); --help, the man page
// and the bash, zsh and fish completions follow from it.
ProgramDoc sd2wavUsage()
{
    return {
        .name = "sd2wav",
        .summary = "detect how Sound Designer II audio is encoded and bounce it to WAV",
        .description = {"Works out how the headerless audio in Sound Designer II (.sd2) files is encoded, and "
                        "bounces it to WAV."},
        .commands = {
            {.name = "detect",
             .summary = "print how each file is encoded and laid out",
             .help = "For each .sd2 file, print its encoding, whether it is mono or stereo and how sure the "
                     "detection is, or what the file's own metadata (resource fork, AppleDouble, MacBinary, "
                     "AppleSingle) says. PATHs are files or folders; folders are searched through, \".sd2\" "
                     "matches in any letter case, and files with no extension or only a channel suffix (Gtr.L) "
                     "are taken when their data reads as audio (given by name, always).",
             .options = {
                 sourceFormat(),
                 {{"--source-rate"}, "HZ", {"44100", "48000", "22050"}, Offer::nothing,
                  "the rate reported for files without their own metadata (default 44100)"},
                 {{"--json"}, {}, {}, Offer::nothing,
                  "one JSON object per line: path, format, channels, confidence, corr, scores, status, rate, from "
                  "(metadata, session, content or detection), container (or path, error); a split-stereo pair "
                  "adds pair: {left, right}"},
                 {{"--no-pairs"}, {}, {}, Offer::nothing,
                  "keep NAME.L and NAME.R as two mono files instead of joining them into one stereo source"},
                 noSession("judge every file on its own: by default the files of one folder are one session, and a "
                           "file without its own metadata takes the rate its folder's forks agree on, an unsure one "
                           "the encoding and layout at least three sure files agree on"),
                 jobs("files analysed at once (default: number of cores)"),
             },
             .operands = "PATH..."},
            {.name = "convert",
             .summary = "bounce each file to WAV",
             .help = "Bounce each file to Broadcast WAV, as the Quorvel app's BOUNCE does: encoding checked and "
                     "auto-corrected when it reads as static, never overwriting a file. Each file carries a bext "
                     "chunk (what it was made from and how, when the original was made, its coding history) and "
                     "an MD5 chunk of its audio.",
             .options = {
                 {{"--rate"}, "HZ", {"44100", "48000", "88200", "96000", "source"}, Offer::nothing,
                  "output rate, or source: each file's own, never resampled (default 48000)"},
                 {{"--depth"}, "BITS", {"16", "24", "32", "source"}, Offer::nothing,
                  "output bit depth, integer PCM, or source: each file's own (8-bit becomes 16) (default 24)"},
                 {{"--channels"}, "C", {"stereo", "preserve", "mono"}, Offer::nothing,
                  "stereo deliverable, preserve source or force mono (default stereo)"},
                 {{"--normalize"}, {}, {}, Offer::nothing, "match to −14 LUFS with a −1 dBTP true-peak ceiling"},
                 sourceFormat(),
                 {{"--source-rate"}, "HZ", {"44100", "48000", "22050"}, Offer::nothing,
                  "the rate the source was recorded at, for files whose metadata gives none (default 44100)"},
                 {{"--mono", "--stereo"}, {}, {}, Offer::nothing,
                  "read every file as mono or stereo instead of detecting it"},
                 {{"-o"}, "DIR", {}, Offer::folders, "output folder (default: _sd2_outputs beside the first file)",
                  {"--output"}},
                 {{"--keep-tree"}, {}, {}, Offer::nothing,
                  "keep each given folder's structure: OUT/FOLDER/sub/folders/NAME_48kHz_24bit_stereo.wav (a file "
                  "given by itself goes to OUT); given folders of one name become FOLDER, FOLDER (2) …; OUT defaults "
                  "to _sd2_outputs beside the folder the first file was found under"},
                 {{"--plain-wav"}, {}, {}, Offer::nothing, "write plain WAV files, without the bext and MD5 chunks"},
                 {{"--originator"}, "TEXT", {}, Offer::nothing,
                  "the bext chunk's Originator, up to 32 ASCII characters, such as an archive's own "
                  "\"US, Library of Congress\" (default Quorvel)"},
                 {{"--report"}, "FILE", {}, Offer::paths,
                  "append each file's JSON line (as --json prints it) to FILE as soon as the file ends, synced to "
                  "disk; a FILE named *.csv gets the same fields as CSV (RFC 4180) under a header row. Run again "
                  "with the same FILE, in either form, to skip every file it lists as converted whose source, "
                  "settings and output are unchanged"},
                 {{"--shard"}, "K/N", {}, Offer::nothing,
                  "convert only the K-th of N parts of the files found, split by each file's path below its given "
                  "folder (by its name when given by itself): N runs, K = 1…N, convert each file once, whatever "
                  "machine or mount point; each file still takes its session's evidence from its whole folder"},
                 jobs("files converted at once (default: number of cores)"),
                 {{"--json"}, {}, {}, Offer::nothing,
                  "one JSON object per line: path, output, ok, status, format, channels, autoCorrected (and error), "
                  "from (as detect gives it), size and modified (the source's), outputSize, sha256 (the source's), "
                  "audioMD5, frames, rate (the source's, as read), encodingFrom, layoutFrom and rateFrom (metadata, "
                  "session, detection, content or set), settings"},
                 {{"--no-pairs"}, {}, {}, Offer::nothing, "convert NAME.L and NAME.R as two mono files"},
                 noSession("judge every file on its own, as detect --no-session does"),
             },
             .operands = "PATH..."},
            {.name = "verify",
             .summary = "check each WAV file's audio against its MD5 chunk",
             .help = "Re-compute the MD5 of each file's audio (its data chunk) and compare it with the MD5 chunk "
                     "convert wrote. Prints each file that matches; stops at the first that does not, naming it "
                     "and the reason.",
             .operands = "OUTPUT.wav..."},
            {.name = "demo",
             .summary = "write synthetic .sd2 files and detect them",
             .help = "Write synthetic music in all four encodings, mono and stereo, to FOLDER (default: "
                     "sd2wav-demo), then detect it. Existing files are left alone.",
             .operands = "[FOLDER]",
             .operandOffer = Offer::folders},
        },
        .options = {
            {{"--help"}, {}, {}, Offer::nothing, "print this usage; after a command, in an option's place, too",
             {"-h"}},
            {{"--version"}, {}, {}, Offer::nothing,
             "print the version of sd2wav and of the libsoxr and libsndfile it runs with"},
        },
        .exitStatus = "0 every file was read (detect) or converted (convert, counting those a report lists as "
                      "converted) or matched its MD5 chunk (verify), 1 some file failed, a folder could not be "
                      "opened or the report could not be written, 2 usage error.",
        .examples = {
            {"sd2wav detect sessions/", "Print how every .sd2 file under sessions/ reads."},
            {"sd2wav convert --rate 44100 --depth 16 sessions/",
             "Bounce them to 44.1 kHz 16-bit stereo WAV files in _sd2_outputs beside the first file."},
            {"sd2wav convert --channels preserve --normalize -o bounced Take*.sd2",
             "Keep each file's layout, match it to −14 LUFS and write the WAV files to bounced/."},
            {"sd2wav convert --rate source --depth source --channels preserve --report masters.csv -o masters archive/",
             "Preservation masters: the original samples in Broadcast WAV, with a CSV of every file's checksums."},
            {"sd2wav verify masters/*.wav", "Check that no master's audio has changed since it was written."},
        },
        .seeAlso = {"quorvel(1)"},
    };
}

} // namespace quorvel::cli
