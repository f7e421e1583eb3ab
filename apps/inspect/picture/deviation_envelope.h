// deviation_envelope.h: `DeviationEnvelope`, the least and greatest deviation along an outline.
#pragma once

#include "velm/inspection/section_result.h"

#include <cstdint>
#include <vector>

namespace velm::inspect {

/// Divides the outline into stretches of about equal length and keeps, for each, the extreme
/// deviations with the places where they were found, in constant memory.
class DeviationEnvelope {
public:
    struct Extreme {
        ERPoint2D foot;
        ERVector2D outward;
        double deviation = 0.0;
        bool is_out = false; ///< of tolerance
    };
    struct Stretch {
        Extreme least, greatest;
        double sum = 0.0; ///< of the deviations
        std::uint64_t count = 0;
        double mean() const { return sum / static_cast<double>(count); }
    };

    explicit DeviationEnvelope(const Outline& outline);
    void add(const SectionRow& row);
    /// The stretches of each contour, in the order of its vertices.
    const std::vector<std::vector<Stretch>>& contours() const { return stretches_; }

private:
    std::vector<std::vector<double>> way_; // to each vertex; the whole length at the end
    std::vector<std::vector<Stretch>> stretches_;
};

} // namespace velm::inspect
