// section_page.h: `SectionPage`, the report of a section as one HTML page.
#pragma once

#include <string>
#include <vector>

#include "inspect/base/worst_rows.h"
#include "inspect/picture/section_picture.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/contour.h"

namespace velm::inspect {

/// Gathers the rows of the table and makes the page. It depends on the head, the outline and the
/// rows alone: it tells no time and no place where it was made.
class SectionPage {
public:
    /// The outline must outlive the page.
    SectionPage(const SectionHead& head, const Outline& outline) : head_(head), outline_(outline) {}
    void add(const SectionRow& row) { rows_.add(row); }
    /// `picture` has gathered the same rows; `worst` are those to be named in it.
    std::string html(const Summary& summary, const SectionPicture& picture,
                     const std::vector<SectionRow>& worst) const;

private:
    SectionHead head_;
    const Outline& outline_;
    WorstRows<SectionRow> rows_;
};

} // namespace velm::inspect
