#pragma once

#include <array>

namespace quorvel {

// One second-order section in direct form I from zero state, in double precision.
class Biquad {
public:
    Biquad(const std::array<double, 3>& b, const std::array<double, 3>& a) : b_(b), a_(a) {}
    double operator()(double x)
    {
        const double y = b_[0] * x + b_[1] * x1_ + b_[2] * x2_ - a_[1] * y1_ - a_[2] * y2_;
        x2_ = x1_;
        x1_ = x;
        y2_ = y1_;
        y1_ = y;
        return y;
    }

private:
    std::array<double, 3> b_, a_;
    double x1_ = 0, x2_ = 0, y1_ = 0, y2_ = 0;
};

} // namespace quorvel
