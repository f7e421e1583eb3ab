#include "inspect/picture/surface_picture.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {

void SurfacePicture::add(const ViewPoint& point) {
    points_.push_back(point);
    if (point.state != PointState::unassigned) histogram_.add(double(point.deviation));
}

LegendNotes SurfacePicture::notes() const {
    LegendNotes notes;
    notes.has_tolerance = tolerance_.has_value();
    for (const ViewPoint& point : points_) {
        if (point.state == PointState::above) ++notes.above;
        if (point.state == PointState::below) ++notes.below;
        notes.has_tolerance |= point.state >= PointState::in;
    }
    notes.outwards = "along the normals, magnified";
    return notes;
}

PagePictures SurfacePicture::page(const ViewMesh&, int decimals) const {
    std::vector<DeviationHistogram::Cell> cells = histogram_.cells();
    if (cells.empty()) cells.push_back({0.0, 0});
    const double reference = reference_deviation(cells, tolerance_);
    const DeviationScale scale(tolerance_, reference);
    const DeviationUnit unit(
        std::max({std::fabs(scale.lower()), std::fabs(scale.upper()), reference}), decimals);
    PagePictures pictures;
    pictures.wide.legend = pictures.narrow.legend = page_legend(scale, notes(), unit);
    pictures.distribution = page_distribution(cells, scale, tolerance_.has_value(), unit);
    return pictures;
}

} // namespace velm::inspect
