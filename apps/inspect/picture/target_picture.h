// target_picture.h: `TargetPicture`, the deviations of targets drawn for a report.
#pragma once

#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/page_pictures.h"
#include "inspect/picture/report_head.h"
#include "inspect/picture/target_drawing.h"
#include "velm/inspection/target_result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velm::inspect {

/// Gathers targets and draws them at their nominal places, from the side that shows most of them
/// and along the surface, with the deviation as a whisker along the normal, or for a direct target
/// towards the measured point, magnified by a round factor; coloured by the deviation, the worst
/// above the others and named. More than 5,000 points make a map of colours; 32 bytes of each are
/// in memory then.
class TargetPicture {
public:
    explicit TargetPicture(const TargetHead& head) : head_(head) {}
    void add(const TargetRow& row);

    /// A picture on one sheet, or those of a page. `worst` are the rows to be named, the worst
    /// first.
    std::string svg(const ReportHead& head, const std::vector<FigureLine>& figures, int decimals,
                    const std::vector<TargetRow>& worst) const;
    PagePictures page(int decimals, const std::vector<TargetRow>& worst) const;

private:
    static constexpr std::size_t most_points = 5000;

    PictureLook look(int decimals) const;
    LegendNotes notes() const;
    std::string drawing(double width, const PictureLook& look,
                        const std::vector<TargetRow>& worst) const;

    TargetHead head_;
    TargetBox box_;
    std::vector<TargetRow> rows_;   // up to most_points
    std::vector<TargetSpot> spots_; // all, if there are more
    DeviationHistogram histogram_;
    std::uint64_t above_ = 0, below_ = 0; // points beyond their limits
    bool has_normals_ = false;
};

} // namespace velm::inspect
