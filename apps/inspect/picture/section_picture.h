// section_picture.h: `SectionPicture`, the deviations of a section drawn for a report.
#pragma once

#include "inspect/picture/deviation_envelope.h"
#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/page_pictures.h"
#include "inspect/picture/section_drawing.h"
#include "inspect/picture/section_panel.h"
#include "velm/inspection/section_result.h"

#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// Gathers the rows and draws them on one sheet of A4 or for a page: up to 5,000 points each as a
/// whisker, above that the envelope of the deviations along the outline, and every point out of
/// tolerance; where these are more than 5,000 the extremes of the envelope are marked instead.
class SectionPicture {
public:
    /// The outline must outlive the picture.
    SectionPicture(const SectionHead& head, const Outline& outline);
    void add(const SectionRow& row);
    /// The picture as SVG, or the pictures of a page. `worst` are the rows to be named, the worst
    /// first.
    std::string svg(const ReportHead& head, const Summary& summary, int decimals,
                    const std::vector<SectionRow>& worst) const;
    PagePictures page(int decimals, const std::vector<SectionRow>& worst) const;

private:
    static constexpr std::size_t most_whiskers = 5000;
    static constexpr std::size_t most_named = 1000;

    PictureLook look(int decimals) const;
    LegendNotes draw(SvgCanvas& canvas, const CanvasBox& area, const PictureLook& look,
                     const std::vector<SectionRow>& worst, std::string_view name_prefix) const;
    PagePictures::Drawing page_drawing(double width, const PictureLook& look,
                                       const std::vector<SectionRow>& worst,
                                       std::string_view name_prefix) const;
    std::string title() const;
    std::vector<SectionRow> rows_to_name(const std::vector<SectionRow>& worst) const;

    SectionHead head_;
    const Outline& outline_;
    std::optional<Tolerance> tolerance_;
    std::size_t count_ = 0;
    bool has_too_many_out_ = false;
    std::vector<DrawnPoint> points_;
    DeviationEnvelope envelope_;
    DeviationHistogram histogram_;
    LegendNotes notes_;
};

} // namespace velm::inspect
