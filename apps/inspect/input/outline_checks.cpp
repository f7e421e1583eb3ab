#include "inspect/input/outline_checks.h"

#include "inspect/base/number_text.h"
#include "velm/planar/outline_nesting.h"

#include <algorithm>
#include <utility>

namespace velm::inspect {
void require_area(const TextSource& source, std::size_t line, const Contour& contour) {
    const auto refuse = [&](const std::string& why) { source.refuse_at(line, why); };
    const std::string subject = "the contour that starts here ";
    switch (area_fault(contour)) {
    case AreaFault::none:
        return;
    case AreaFault::too_few_vertices: {
        const int count = std::max(contour.size(), 1);
        return refuse(subject + "has " + std::to_string(count) +
                      (count == 1 ? " different vertex" : " different vertices") +
                      "; expected at least three");
    }
    case AreaFault::beyond_double:
        return refuse(subject + "reaches beyond what a double can hold");
    case AreaFault::on_one_line:
        return refuse("the vertices of the contour that starts here are on one line; expected an "
                      "outline round an area");
    case AreaFault::leads_back:
        return refuse(subject + "leads back along its own arc; expected an outline round an area");
    case AreaFault::leads_back_along_curves:
        return refuse(subject + "encloses no area; expected an outline round one");
    }
}

void require_areas(const TextSource& source, std::vector<LocatedContour> contours,
                   Outline& outline) {
    for (LocatedContour& located : contours)
        outline.contours.push_back(std::move(located.contour));
    const std::optional<ContourClash> clash = settle_areas(outline);
    if (!clash) return;
    const auto line = [&](int contour) { return contours[static_cast<std::size_t>(contour)].line; };
    const std::string other = clash->other == clash->contour
                                  ? "itself"
                                  : "that of line " + std::to_string(line(clash->other));
    const auto place = [](const ERPoint2D& p) { return shortest(p.x()) + " " + shortest(p.y()); };
    const std::string subject = "the contour that starts here ";
    if (clash->shared)
        source.refuse_at(line(clash->contour), subject + "shares an edge with " + other +
                                                   ", from " + place((*clash->shared)[0]) + " to " +
                                                   place((*clash->shared)[1]));
    source.refuse_at(line(clash->contour),
                     clash->crossing
                         ? subject + "crosses " + other + " about " + place(*clash->crossing)
                         : subject + "runs along " + other + " all the way");
}

} // namespace velm::inspect
