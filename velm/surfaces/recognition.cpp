#include "velm/surfaces/recognition.h"

#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/detail/best_first.h"
#include "velm/surfaces/detail/quotient_net.h"
#include "velm/surfaces/detail/shape_estimate.h"
#include "velm/surfaces/detail/surface_tables.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace velm {

namespace {

using detail::BernsteinNet;
using detail::EstimatedShape;
using detail::OrientedPoint;
using detail::QuotientNet;
using detail::SurfaceTables;

constexpr double infinite = std::numeric_limits<double>::infinity();

// |q| for q (q + 2 g) = f, |f| <= m and g at least the one given.
double root_bound(double m, double g) {
    const double rest = g * g - m;
    return rest >= 0.0 && g > 0.0 ? m / (g + std::sqrt(rest)) : std::sqrt(m);
}
// The q that is 0 with f.
double small_root(double f, double g) {
    const double sum = g + std::sqrt(std::max(0.0, g * g + f));
    return sum > 0.0 ? f / sum : 0.0;
}

// A part of a patch with the shape's implicit equation f, and g: with d the distance from the
// shape,
//     plane             d = f
//     cylinder, sphere  d (d + 2 r) = f, f the squared distance from the axis or centre less r^2
//     cone              d (d + 2 g) = f = (out cos)^2 - (height sin)^2, g = |height| sin
//     torus             d (d + 2 r) = q, q (q + 2 g) = f, g = 2 R out
struct ShapePart {
    QuotientNet f;
    QuotientNet g2; // the square of g without its factor; empty where g is the radius
    double attained = 0.0, upper = infinite;

    void bound(const EstimatedShape& shape) {
        double largest = 0.0, least_g2 = infinite;
        f.for_values([&](double value) { largest = std::max(largest, std::fabs(value)); });
        g2.for_values([&](double value) { least_g2 = std::min(least_g2, value); });
        upper = distance_of(shape, largest, std::max(0.0, least_g2), root_bound);
        std::vector<double> at_corners, g2_at_corners;
        f.for_corners([&](double value) { at_corners.push_back(value); });
        g2.for_corners([&](double value) { g2_at_corners.push_back(std::max(0.0, value)); });
        attained = 0.0;
        for (std::size_t k = 0; k < at_corners.size(); ++k)
            attained = std::max(
                attained, std::fabs(distance_of(shape, at_corners[k],
                                                k < g2_at_corners.size() ? g2_at_corners[k] : 0.0,
                                                small_root)));
    }

    template <class Root>
    static double distance_of(const EstimatedShape& shape, double value, double square, Root root) {
        switch (shape.kind) {
        case SurfaceKind::plane:
            return value;
        case SurfaceKind::cone:
            return root(value, std::sqrt(square) * std::sin(shape.radius));
        case SurfaceKind::torus:
            return root(root(value, 2.0 * shape.radius * std::sqrt(square)), shape.small_radius);
        default:
            return root(value, shape.radius);
        }
    }
};

// The shape's equation on a patch.
ShapePart part_of(const SurfaceTables& tables, int i, int j, const EstimatedShape& shape) {
    const ERVector3D z = shape.axis, x = z.find_perpendicular().getnormalized(), y = z ^ x;
    BernsteinNet local[3], w(tables.degree_u, tables.degree_v, 1);
    const double* pole = tables.patch(i, j);
    for (BernsteinNet& net : local)
        net = w;
    for (std::size_t k = 0; k < w.count(); ++k, pole += 4) {
        const ERVector3D arm(pole[0] - shape.origin.x() * pole[3],
                             pole[1] - shape.origin.y() * pole[3],
                             pole[2] - shape.origin.z() * pole[3]);
        local[0].c[k] = arm * x;
        local[1].c[k] = arm * y;
        local[2].c[k] = arm * z;
        w.c[k] = pole[3];
    }
    if (shape.kind == SurfaceKind::plane) return {QuotientNet(local[2], w), {}};
    const BernsteinNet w2 = product(w, w), height2 = product(local[2], local[2]);
    BernsteinNet out2 = product(local[0], local[0]);
    add(out2, product(local[1], local[1]), 1.0);
    const double r = shape.radius, s = shape.small_radius;
    BernsteinNet sum = out2;
    switch (shape.kind) {
    case SurfaceKind::cone: {
        const double cosine = std::cos(r), sine = std::sin(r);
        add(sum, out2, cosine * cosine - 1.0);
        add(sum, height2, -sine * sine);
        return {QuotientNet(sum, w2), QuotientNet(height2, w2)};
    }
    case SurfaceKind::torus: {
        // (out^2 + height^2 + R^2 - r^2)^2 - (2 R out)^2
        add(sum, height2, 1.0);
        add(sum, w2, (r - s) * (r + s));
        BernsteinNet f = product(sum, sum);
        const BernsteinNet w4 = product(w2, w2);
        add(f, product(out2, w2), -4.0 * r * r);
        return {QuotientNet(f, w4), QuotientNet(out2, w2)};
    }
    case SurfaceKind::sphere:
        add(sum, height2, 1.0);
        [[fallthrough]];
    default:
        add(sum, w2, -r * r);
        return {QuotientNet(sum, w2), {}};
    }
}

// The proved deviation of the surface, or something above the tolerance.
double proved_deviation(const SurfaceTables& tables, const EstimatedShape& shape,
                        double tolerance) {
    constexpr int most_halvings = 20000;
    std::vector<ShapePart> parts;
    for (int j = 0; j < tables.patches_v(); ++j)
        for (int i = 0; i < tables.patches_u(); ++i) {
            parts.push_back(part_of(tables, i, j, shape));
            parts.back().bound(shape);
        }
    const auto halve = [&](const ShapePart& whole, ShapePart& low, ShapePart& high) {
        const bool along_u = whole.f.bends_along_u();
        for (const bool is_low : {true, false}) {
            ShapePart& half = is_low ? low : high;
            half.f = whole.f.half(along_u, is_low);
            if (!whole.g2.net.empty()) half.g2 = whole.g2.half(along_u, is_low);
            half.bound(shape);
        }
    };
    const auto enough = [tolerance](double attained, double upper) {
        constexpr double near = 1.1, negligible = 1e-3;
        if (attained > tolerance) return true;
        return upper <= tolerance && (upper <= near * attained || upper <= negligible * tolerance);
    };
    return detail::best_first(std::move(parts), halve, enough, most_halvings).upper;
}

// The limits that hold angles: all but the widest gap between them, or a whole turn where no gap is
// wider than a few of their steps.
ERLimites limits_of_angles(std::vector<double> angles) {
    constexpr double few_steps = 0.3;
    std::sort(angles.begin(), angles.end());
    double gap = angles.front() + detail::turn - angles.back(), start = angles.front();
    for (std::size_t k = 1; k < angles.size(); ++k)
        if (angles[k] - angles[k - 1] > gap) {
            gap = angles[k] - angles[k - 1];
            start = angles[k];
        }
    if (gap < few_steps) return {0.0, detail::turn};
    return {start, start + detail::turn - gap};
}

// Places a shape with limits that hold the feet of points.
class Bounder {
public:
    Bounder(const EstimatedShape& shape, const PreparedSurface& surface)
        : shape_(shape), surface_(surface) {
        choose_frame();
        constexpr int n = 48;
        for (int j = 0; j <= n; ++j)
            for (int i = 0; i <= n; ++i)
                look_at(
                    surface(surface.domain_u()(double(i) / n), surface.domain_v()(double(j) / n)));
    }

    t_SmartPtr<ERAnyBoundedSurface> bounded() const {
        const ERPmIsometrie3D frame = ERChgRepere3D(x_, y_, shape_.origin);
        const ERLimites first(*std::min_element(heights_.begin(), heights_.end()),
                              *std::max_element(heights_.begin(), heights_.end()));
        switch (shape_.kind) {
        case SurfaceKind::plane: {
            auto* const plane = new ERBoundedPlane();
            plane->transformFrom(frame);
            plane->setBound({*std::min_element(angles_.begin(), angles_.end()),
                             *std::max_element(angles_.begin(), angles_.end())},
                            first);
            plane->adjust();
            return plane;
        }
        case SurfaceKind::cylinder:
            return new ERBoundedCylinder(frame, shape_.radius, first, limits_of_angles(angles_));
        case SurfaceKind::cone: {
            auto* const cone = new ERBoundedCone(frame, shape_.radius, first.start(), first.end());
            cone->setBound(first, limits_of_angles(angles_));
            cone->adjust();
            return cone;
        }
        case SurfaceKind::sphere:
            return new ERBoundedSphere(frame, shape_.radius, limits_of_angles(angles_), first);
        default: {
            const ERLimites u = limits_of_angles(angles_), v = limits_of_angles(heights_);
            auto* const torus = new ERBoundedTorus(frame, shape_.radius, shape_.small_radius,
                                                   u.start(), u.end(), v.start(), v.end());
            torus->adjust();
            return torus;
        }
        }
    }

    // Whether normals in the middle agree. Outward is the side of increasing distance, and of the
    // true derivatives: on cylinders and cones Pu ^ Pv points to the axis.
    bool same_side() const {
        const double u = surface_.domain_u()(0.43), v = surface_.domain_v()(0.47);
        const ERPoint3D p = surface_(u, v);
        const ERVector3D n = surface_.normal(u, v);
        const double h = 1e-4 * surface_.box().diagonal();
        const double rise = shape_.distance(p + ERPoint3D(n * h)) - shape_.distance(p);
        const bool inward =
            shape_.kind == SurfaceKind::cylinder || shape_.kind == SurfaceKind::cone;
        return (rise > 0.0) != inward;
    }

private:
    // x towards the middle of the surface; the axis of a sphere through a pole of the parameters if
    // there is one, else across.
    void choose_frame() {
        const ERLimites u = surface_.domain_u(), v = surface_.domain_v();
        const ERVector3D towards(shape_.origin, surface_(u(0.5), v(0.5)));
        if (shape_.kind == SurfaceKind::sphere) {
            shape_.axis = (surface_.jet(u(0.5), v(0.5)).dv ^ towards) ^ towards;
            const auto try_pole = [&](const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c) {
                const double same = 1e-9 * surface_.box().diagonal();
                if (ERVector3D(a, b).norme() < same && ERVector3D(b, c).norme() < same)
                    shape_.axis = ERVector3D(shape_.origin, a);
            };
            for (const double end : {u.start(), u.end()})
                try_pole(surface_(end, v(0.0)), surface_(end, v(0.4)), surface_(end, v(1.0)));
            for (const double end : {v.start(), v.end()})
                try_pole(surface_(u(0.0), end), surface_(u(0.4), end), surface_(u(1.0), end));
            shape_.axis = shape_.axis.getnormalized();
        }
        const ERVector3D& z = shape_.axis;
        ERVector3D across = towards - z * (towards * z);
        if (!(across.norme() > 1e-9 * surface_.box().diagonal())) across = z.find_perpendicular();
        x_ = across.getnormalized();
        y_ = z ^ x_;
    }

    // The angle (on a plane the first coordinate) and the other parameter of a point's foot.
    void look_at(const ERPoint3D& p) {
        const ERVector3D arm(shape_.origin, p);
        const double a = arm * x_, b = arm * y_, height = arm * shape_.axis;
        const double out = std::hypot(a, b);
        const bool flat = shape_.kind == SurfaceKind::plane;
        // At a point of the axis every angle is right.
        if (flat || out > 1e-9 * surface_.box().diagonal())
            angles_.push_back(flat ? a
                              : height < 0.0 && shape_.kind == SurfaceKind::cone
                                  ? std::atan2(-b, -a)
                                  : std::atan2(b, a));
        switch (shape_.kind) {
        case SurfaceKind::plane:
            heights_.push_back(b);
            break;
        case SurfaceKind::sphere:
            heights_.push_back(std::atan2(height, out));
            break;
        case SurfaceKind::torus:
            heights_.push_back(std::atan2(height, out - shape_.radius));
            break;
        default:
            heights_.push_back(height);
        }
    }

    EstimatedShape shape_;
    const PreparedSurface& surface_;
    ERVector3D x_, y_;
    std::vector<double> angles_, heights_;
};

} // namespace

std::optional<RecognizedSurface> recognize(const PreparedSurface& surface, double tolerance) {
    const SurfaceTables& tables = SurfaceTables::of(surface);
    if (tables.poles.empty() || !(tolerance > 0.0)) return std::nullopt;
    constexpr int n = 12;
    std::vector<OrientedPoint> points;
    for (int k = 0; k < n * n; ++k) {
        const double u = tables.u((k % n + 0.5) / n), v = tables.v((k / n + 0.5) / n);
        points.push_back({surface(u, v), surface.normal(u, v)});
    }
    const double size = tables.box.diagonal();
    for (const SurfaceKind kind : {SurfaceKind::plane, SurfaceKind::cylinder, SurfaceKind::sphere,
                                   SurfaceKind::cone, SurfaceKind::torus}) {
        std::optional<EstimatedShape> shape = estimate(kind, points, size);
        if (!shape) continue;
        const auto farthest = [&] {
            double most = 0.0;
            for (const OrientedPoint& q : points)
                most = std::max(most, std::fabs(shape->distance(q.point)));
            return most;
        };
        if (!(farthest() < 0.1 * size)) continue;
        detail::refine(*shape, points, size);
        if (!(farthest() <= tolerance)) continue;
        const double deviation = proved_deviation(tables, *shape, tolerance);
        if (!(deviation <= tolerance)) continue;
        const Bounder bounder(*shape, surface);
        return RecognizedSurface{kind, bounder.bounded(), deviation, bounder.same_side()};
    }
    return std::nullopt;
}

} // namespace velm
