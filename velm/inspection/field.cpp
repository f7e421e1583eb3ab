#include "velm/inspection/field.h"

namespace velm {

std::string_view component_suffix(FieldType type, int component) {
    constexpr std::string_view of_points[] = {"_x", "_y", "_z"}, of_vectors[] = {"_i", "_j", "_k"};
    const auto at = static_cast<std::size_t>(component);
    switch (type) {
    case FieldType::point2:
    case FieldType::point3:
        return of_points[at];
    case FieldType::vector2:
    case FieldType::vector3:
        return of_vectors[at];
    default:
        return {};
    }
}

} // namespace velm
