#pragma once

#include <string>
#include <vector>

namespace engine {

/// The least number of the form 1, 2 or 5 times a power of ten that is not less than `number`, which must be
/// greater than 0.
double RoundUp125(double number);

/// A scale from one round number to another.
struct StAxis {
    double least = 0.0;
    double greatest = 1.0;
    double step = 1.0;

    /// The axis that covers the range with `mostTicks` ticks at most. Equal ends are moved apart. `isTight`
    /// ends the axis at the ends of the range instead of at ticks.
    static StAxis Covering(double least, double greatest, int mostTicks, bool isTight = false);

    /// The multiples of the step on the axis.
    [[nodiscard]] std::vector<double> Ticks() const;
    /// The power of ten that the labels are divided by: 0 unless the numbers are very large or small.
    [[nodiscard]] int Exponent() const;
    /// The label of a tick, with as many decimals as the step has.
    [[nodiscard]] std::string Label(double tick) const;
    /// Where a value lies: 0 at the least, 1 at the greatest.
    [[nodiscard]] double Place(double value) const { return (value - least) / (greatest - least); }
};

} // namespace engine
