// surface_picture.h: `SurfacePicture`, the deviations of a part drawn for a page.
#pragma once

#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/page_pictures.h"
#include "inspect/picture/surface_view.h"

#include <optional>
#include <vector>

namespace velm::inspect {

/// Gathers the points and draws the part in the colours of their deviations: a view in space that
/// the reader of the page turns, and six still pictures for paper and for browsers without WebGL.
/// Every point is drawn. Holds 48 bytes a point.
class SurfacePicture {
public:
    explicit SurfacePicture(const std::optional<Tolerance>& tolerance) : tolerance_(tolerance) {}

    void reserve(std::size_t count) { points_.reserve(count); }
    void add(const ViewPoint& point);
    /// The pictures of a page, with the view in place of a drawing.
    PagePictures page(const ViewMesh& mesh, int decimals) const;

private:
    LegendNotes notes() const;

    std::optional<Tolerance> tolerance_;
    std::vector<ViewPoint> points_;
    DeviationHistogram histogram_;
};

} // namespace velm::inspect
