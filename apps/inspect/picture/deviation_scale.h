// deviation_scale.h: `DeviationScale`, the colours of deviations, and numbers for pictures.
#pragma once

#include "velm/inspection/section_result.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velm::inspect {

/// A diverging scale of nine classes, from blue over grey to red: seven of equal width between two
/// limits, and one beyond each of them. With a tolerance the limits are its own, so that the two
/// darkest colours mean out of tolerance and nothing else; without one they are plus and minus a
/// round number that is not below `range`. The hues are distinguishable in all common forms of
/// colour blindness, and the lightness falls to both sides, so that the scale survives a print in
/// grey.
class DeviationScale {
public:
    static constexpr int classes = 9, below = 0, above = 8;

    DeviationScale(const std::optional<Tolerance>& tolerance, double range);

    double lower() const { return lower_; }
    double upper() const { return upper_; }
    int class_of(double deviation) const;
    /// The same, but never beyond a limit for what is in tolerance, nor between them for what
    /// isn't.
    int class_of(const Judged& point) const;
    /// The lower limit of a class from 1 to 8; that of `above` is the upper limit.
    double class_start(int number) const;
    static std::string_view color(int number);

private:
    double lower_, upper_;
};

/// A number with its sign, for texts in pictures.
std::string signed_text(double value, int decimals);

/// The form of deviations in a picture: all with the same decimals and, if they are very small or
/// very large and no decimals are given, in a power of ten named in the headings.
class DeviationUnit {
public:
    /// For deviations up to `largest`, with these decimals, or three significant digits in a power
    /// of ten.
    explicit DeviationUnit(double largest, std::optional<int> decimals = {});
    std::string text(double deviation, int more_decimals = 0) const;
    /// As `text`, but complete in itself: "+80.0e-9".
    std::string whole_text(double deviation, int more_decimals = 0) const;
    /// A heading with the power of ten: "Distribution (10^-9)" in raised digits.
    std::string heading(std::string_view title) const;
    double scaled(double deviation) const { return deviation * factor_; }
    int exponent() const { return exponent_; }

private:
    int exponent_ = 0;
    double factor_ = 1.0;
    int decimals_ = 0;
};

/// The largest of 1, 2, 5 times a power of ten that is not above `value`; 1 for none.
double round_step_below(double value);

/// The least such step that is not below `value`.
double round_step_above(double value);

/// As round_step_below, with the finer steps 1, 1.2, 1.5, 2, 2.5, 3, 4, 5, 6, 8.
double fine_step_below(double value);

} // namespace velm::inspect
