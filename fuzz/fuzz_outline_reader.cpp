// Any bytes as a nominal outline, in every form: it is read or refused, and what is read can be
// compared with.
#include "inspect/base/failure.h"
#include "inspect/input/outline_reader.h"
#include "velm/planar/profile.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace velm::inspect;
using velm::Contour;
using velm::Outline;
using velm::OutlineForm;
using velm::Profile;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const OutlineForm form :
         {OutlineForm::automatic, OutlineForm::contours, OutlineForm::round, OutlineForm::runs,
          OutlineForm::arcs, OutlineForm::pieces}) {
        try {
            TextSource source("fuzz", text);
            const Outline outline = read_outline(source, form);
            const Profile profile(outline);
            for (const Contour& contour : outline.contours) {
                if (contour.size() < (contour.is_polygon() ? 3 : 1)) std::abort();
                const ERPoint2D p = (contour[0] + contour[1]) * 0.5;
                if (profile.is_comparable(p) && !std::isfinite(profile.compare(p).distance))
                    std::abort();
            }
        } catch (const Failure& failure) {
            if (failure.kind() != FailureKind::input) std::abort();
        }
    }
    return 0;
}
