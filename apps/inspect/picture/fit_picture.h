// fit_picture.h: `FitPicture`, the residuals of a fit drawn for a report.
#pragma once

#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/fit_drawing.h"
#include "inspect/picture/page_pictures.h"
#include "inspect/picture/report_head.h"
#include "velm/inspection/fit_result.h"

#include <string>
#include <vector>

namespace velm::inspect {

/// Gathers the rows of a fit and draws them: a circle's residuals magnified about the circle
/// (polar), a line's along it, a plane's as spots in it. Of very many points those that stand out
/// are drawn.
class FitPicture {
public:
    explicit FitPicture(const FitHead& head) : head_(head) {}
    void add(const FitRow& row);

    /// A sheet in landscape: beside the drawing the figures, the distribution and the colours.
    /// `worst` are the rows to be named, the worst first.
    std::string svg(const ReportHead& head, const std::vector<FigureLine>& figures,
                    const Summary& summary, int decimals, const std::vector<FitRow>& worst) const;
    PagePictures page(const Summary& summary, int decimals, const std::vector<FitRow>& worst) const;

private:
    PictureLook look(const Summary& summary, int decimals) const;
    LegendNotes notes() const;

    FitHead head_;
    std::vector<FitSpot> spots_;
    DeviationHistogram histogram_;
    std::uint64_t above_ = 0, below_ = 0; // points beyond the band
};

} // namespace velm::inspect
