// surface_assets.h: the style and the script of a page's view, as the build embeds them.
#pragma once

namespace velm::inspect {

extern const char* const surface_view_style;  ///< surface_view.css
extern const char* const surface_view_script; ///< surface_view.js

} // namespace velm::inspect
