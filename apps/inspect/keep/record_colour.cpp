#include "inspect/keep/record_colour.h"

namespace velm::inspect {
namespace {

struct Colour {
    int number;
    unsigned long rgb;
};
constexpr Colour out_of_tolerance{1, 0x7F0012};
constexpr Colour within_tolerance{3, 0x2E7D32};
constexpr Colour not_judged{7, 0x22303C};

} // namespace

void put_colour(ERDBObject& record, const std::optional<bool>& in_tolerance) {
    const Colour& colour = !in_tolerance   ? not_judged
                           : *in_tolerance ? within_tolerance
                                           : out_of_tolerance;
    record.color(colour.number);
    record.color_rgb(colour.rgb);
}

} // namespace velm::inspect
