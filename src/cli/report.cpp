#include "cli/report.hpp"

#include <cerrno>
#include <system_error>

namespace quorvel::cli {

void Report::line(std::string_view text)
{
    if (failed())
        return;
    // errno is the thread's own and nothing runs between the write and this read.
    errno = 0;
    out_ << text << '\n' << std::flush;
    if (!out_)
        failure_ = errno != 0 ? std::generic_category().message(errno) : "the write failed";
}

int Report::finish(std::ostream& err) const
{
    if (!failed())
        return 0;
    err << "sd2wav: couldn't write the report to standard output: " << failure_ << '\n';
    return 1;
}

} // namespace quorvel::cli
