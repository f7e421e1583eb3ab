// velm::detail::Jet: a point of a surface with its derivatives as plain doubles. AnalyticJet: those
// of planes, cylinders, cones, spheres and tori; jet_of_turned: those of a turned curve.
#pragma once

#include "velm/frame/info_point.h"
#include "velm/surfaces/detail/surface_tables.h"

#include <cmath>

namespace velm::detail {

/// Eighteen doubles: P, Pu, Pv, Puu, Puv, Pvv.
struct Jet {
    double c[18];

    ERPoint3D point() const { return {c[0], c[1], c[2]}; }
    ERVector3D vector(int k) const { return {c[3 * k], c[3 * k + 1], c[3 * k + 2]}; }
};

/// cos and sin of an angle, or the parameter itself on axes that are lengths.
struct Turn {
    double t, cosine, sine;

    static Turn of(double t, bool angle) {
        return angle ? Turn{t, std::cos(t), std::sin(t)} : Turn{t, 0.0, 0.0};
    }
};

/// From the coordinates in the frame.
inline Jet jet_in_frame(const AnalyticShape& shape, const double (*local)[3]) {
    Jet jet = {};
    for (int k = 0; k < 6; ++k)
        for (int c = 0; c < 3; ++c)
            jet.c[3 * k + c] = (k == 0 ? shape.origin[c] : 0.0) + local[k][0] * shape.x[c] +
                               local[k][1] * shape.y[c] + local[k][2] * shape.z[c];
    return jet;
}

class AnalyticJet {
public:
    explicit AnalyticJet(const SurfaceTables& tables) : kind_(tables.kind), shape_(tables.shape) {}

    Turn turn_u(double t) const {
        return Turn::of(t, kind_ == SurfaceKind::sphere || kind_ == SurfaceKind::torus);
    }
    Turn turn_v(double t) const { return Turn::of(t, kind_ != SurfaceKind::plane); }

    Jet at(const Turn& u, const Turn& v) const {
        // Local coordinates of P, Pu, Pv, Puu, Puv, Pvv.
        double local[6][3] = {};
        const auto set = [&local](int k, double x, double y, double z) {
            local[k][0] = x, local[k][1] = y, local[k][2] = z;
        };
        const double r = shape_.radius;
        if (kind_ == SurfaceKind::plane) {
            set(0, u.t, v.t, 0);
            set(1, 1, 0, 0);
            set(2, 0, 1, 0);
        } else if (kind_ == SurfaceKind::cylinder) {
            set(0, r * v.cosine, r * v.sine, u.t);
            set(1, 0, 0, 1);
            set(2, -r * v.sine, r * v.cosine, 0);
            set(5, -r * v.cosine, -r * v.sine, 0);
        } else if (kind_ == SurfaceKind::cone) {
            const double c = r * v.cosine, s = r * v.sine, height = u.t + shape_.lift;
            set(0, height * c, height * s, height);
            set(1, c, s, 1);
            set(2, -height * s, height * c, 0);
            set(4, -s, c, 0);
            set(5, -height * c, -height * s, 0);
        } else {
            // The circle of v has the radius `tube` about a circle of the radius `spine`.
            const bool is_sphere = kind_ == SurfaceKind::sphere;
            const double spine = is_sphere ? 0.0 : r, tube = is_sphere ? r : shape_.small_radius;
            const double out = spine + tube * v.cosine, rise = tube * v.sine, run = tube * v.cosine;
            set(0, out * u.cosine, out * u.sine, rise);
            set(1, -out * u.sine, out * u.cosine, 0);
            set(2, -rise * u.cosine, -rise * u.sine, run);
            set(3, -out * u.cosine, -out * u.sine, 0);
            set(4, rise * u.sine, -rise * u.cosine, 0);
            set(5, -run * u.cosine, -run * u.sine, -rise);
        }
        return jet_in_frame(shape_, local);
    }

private:
    SurfaceKind kind_;
    const AnalyticShape& shape_;
};

/// A point of the generatrix with its derivatives, in the frame, turned by v about the z axis.
inline Jet jet_of_turned(const AnalyticShape& shape, const ERInfoPoint3DWF& on, const Turn& v) {
    const ERVector3D arm(on.point()), first = on.tangente(), second = on.second_derivative();
    double local[6][3] = {};
    // By v: z drops out, and each derivative is a quarter turn further.
    const auto set = [&](int k, const ERVector3D& w, int quarters) {
        const double x = v.cosine * w.i() - v.sine * w.j(), y = v.sine * w.i() + v.cosine * w.j();
        local[k][0] = quarters == 0 ? x : quarters == 1 ? -y : -x;
        local[k][1] = quarters == 0 ? y : quarters == 1 ? x : -y;
        local[k][2] = quarters == 0 ? w.k() : 0.0;
    };
    set(0, arm, 0);
    set(1, first, 0);
    set(2, arm, 1);
    set(3, second, 0);
    set(4, first, 1);
    set(5, arm, 2);
    return jet_in_frame(shape, local);
}

} // namespace velm::detail
