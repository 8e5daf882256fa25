#pragma once

namespace quorvel {

// Opens /dev/null on descriptor 0, 1 or 2 where the process started with it closed, so no
// file opened later can take its place: a report line written to standard output would
// otherwise land in the middle of an output file. Call first thing in main.
void openClosedStandardDescriptors();

} // namespace quorvel
