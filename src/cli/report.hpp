#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace quorvel::cli {

// A command's report on standard output, a line at a time. The first line that cannot be
// written (a full disk, a closed pipe) is remembered with its reason: a report that never
// arrived must not end in success.
class Report {
public:
    explicit Report(std::ostream& out) : out_(out) {}

    void line(std::string_view text);
    bool failed() const { return !failure_.empty(); }
    // 0 when every line went out; otherwise says why on `err` and gives 1.
    int finish(std::ostream& err) const;

private:
    std::ostream& out_;
    std::string failure_;
};

} // namespace quorvel::cli
