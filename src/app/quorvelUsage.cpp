#include "app/quorvelUsage.hpp"

namespace quorvel {

cli::ProgramDoc quorvelUsage()
{
    using cli::Offer;
    return {
        .name = "quorvel",
        .summary = "rescue Sound Designer II audio: detect its encoding and bounce it to WAV",
        .description = {
            "Opens the Quorvel window. Drop .sd2 files or whole folders on it (or use \"Browse…\"), check each "
            "file's reading in its row, pick the output rate, depth and layout, and press BOUNCE. The WAV files "
            "land in _sd2_outputs beside the first file unless a destination is picked.",
            "PATHs given here are queued as if dropped. When Quorvel is already running, they go to its window "
            "and this launch ends.",
            "sd2wav does the same work from the command line, for scripts and large batches.",
        },
        .commands = {{.operands = "[PATH...]"}},
        .options = {
            {{"--help"}, {}, {}, Offer::nothing, "print this usage", {"-h"}},
            {{"--version"}, {}, {}, Offer::nothing,
             "print the version of quorvel and of the libsoxr, libsndfile and Qt it runs with"},
        },
        .exitStatus = "0 when the window was closed or the paths were handed to a running window, 1 when the "
                      "window could not be opened.",
        .seeAlso = {"sd2wav(1)"},
    };
}

} // namespace quorvel
