// fit_picture.h: `fit_svg`, the residuals of a fit as a picture.
#pragma once

#include "inspect/picture/page_pictures.h"
#include "inspect/result/fit_result.h"

#include <string>

namespace velm::inspect {

/// A page in landscape: a circle's residuals magnified about the circle (polar), a line's along it,
/// a plane's as spots in it; beside it the figures, the entity, the distribution and the colours.
/// Of very many points those that stand out are drawn.
std::string fit_svg(const FitResult& result, const FitPoints& points);

/// The same for a page.
PagePictures fit_pictures(const FitResult& result, const FitPoints& points);

} // namespace velm::inspect
