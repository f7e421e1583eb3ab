#include "inspect/inspection/held_points.h"

#include <limits>

namespace velm::inspect {

void HeldPoints::add(const SurfaceRow& row) {
    const std::string number = std::to_string(points_.size() + 1);
    points_.push_back({row.measured, row.direction.value_or(ERVector3D()), row.diameter,
                       std::numeric_limits<double>::quiet_NaN()});
    const auto append = [this](const std::string& id, const std::string& feature,
                               const std::string& part) {
        texts_at_.push_back(texts_.size());
        for (const std::string* const text : {&id, &feature, &part})
            texts_.append(*text).push_back('\0');
    };
    if (texts_at_.empty() && (row.id != number || !row.feature.empty() || !row.part.empty()))
        for (std::size_t n = 1; n < points_.size(); ++n)
            append(std::to_string(n), {}, {});
    if (row.id != number || !row.feature.empty() || !row.part.empty() || !texts_at_.empty())
        append(row.id, row.feature, row.part);
    if (row.limits || !limits_.empty()) {
        limits_.resize(points_.size());
        limits_.back() = row.limits;
    }
}

std::optional<ERVector3D> HeldPoints::direction(std::size_t n) const {
    const ERVector3D& direction = points_[n].direction;
    return direction.norme2() > 0.0 ? std::optional(direction) : std::nullopt;
}

// The first, second or third text of a row that has some.
std::string_view HeldPoints::text(std::size_t n, int which) const {
    const char* at = texts_.data() + texts_at_[n];
    for (; which > 0; --which)
        at += std::string_view(at).size() + 1;
    return at;
}

std::string HeldPoints::id(std::size_t n) const {
    return texts_at_.empty() ? std::to_string(n + 1) : std::string(text(n, 0));
}

SurfaceRow HeldPoints::row(std::size_t n) const {
    SurfaceRow row;
    row.index = n;
    row.id = id(n);
    if (!texts_at_.empty()) {
        row.feature = text(n, 1);
        row.part = text(n, 2);
    }
    row.measured = points_[n].measured;
    row.direction = direction(n);
    row.diameter = points_[n].diameter;
    if (n < limits_.size()) row.limits = limits_[n];
    return row;
}

} // namespace velm::inspect
