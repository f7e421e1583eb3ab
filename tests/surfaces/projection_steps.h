// The steps of ProjectionNormale and of the line crossing once more, as plainly as they can be
// said: nothing is kept, nothing left out. What the library does must agree bit for bit.
#pragma once

#include "support/surfaces.h"
#include "velm/measure/best_fit.h"
#include "velm/numerics/newton_solvers.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/surfaces/plane.h"

namespace velm_test {

using Surface = ERAnyBoundedSurface;
constexpr double nowhere = std::numeric_limits<double>::max();

class ProjectionSteps {
public:
    explicit ProjectionSteps(const ERPoint3D& target, int inBound = 1)
        : q(target), in_bound(inBound) {}
    bool simplex_ran = false;

    bool of_nurbs(const ERSpoleNURBS3D& s, double distance, ERPoint2D& at) {
        if (disjoint(s, 0.001, distance * 1.1)) return false;
        ERVec<ERPoint3D> poles;
        for (const ERPole3DH& pole : s.poles().view())
            poles.push_back(pole.castToPoint());
        ERPlane plane;
        GetMediumPlane(poles, plane, 0.0);
        double flatness = 0;
        for (const ERPoint3D& p : poles)
            flatness = std::max(flatness, plane.distancePt(p));
        if (flatness <= 0.001) {
            const auto flat = [frame = plane.getTransfo()](ERPoint3D p) {
                frame.TransTo(p);
                return ERPoint2D(p.x(), p.y());
            };
            ERVec<ERPoint2D> all;
            for (const ERPoint3D& p : poles)
                all.push_back(flat(p));
            if (Inside(flat(q), CalculateConvexeHull(all)) == relpos_outside) return false;
        }
        const double u = s.upperEstimateInU(), v = s.upperEstimateInV();
        t_SmartPtr<ERSpoleNURBS3D> a, b;
        const bool in_u = (2 * v < u && v > 0.0001) || (flatness > 2 && v <= u);
        const bool in_v = (2 * u < v && u > 0.0001) || (flatness > 2 && u < v);
        if (!in_u && !in_v) return seed(s, distance, at) && seam(s, at);
        if (!(in_u ? s.SplitInU(a, b) : s.SplitInV(a, b)))
            return seed(s, distance, at) && seam(s, at);
        ERPoint2D low, high;
        const bool first = of_nurbs(*a, distance, low), second = of_nurbs(*b, distance, high);
        if (!first || !second) {
            if (first || second) at = first ? low : high;
            return first || second;
        }
        const double cut = in_u ? b->udeb() : b->vdeb();
        const double x = in_u ? low.x() : low.y(), y = in_u ? high.x() : high.y();
        const bool low_counts = x <= cut + 0.0001, high_counts = y >= cut - 0.0001;
        if (low_counts && high_counts)
            at = x < y ? low : high;
        else if (low_counts || high_counts)
            at = low_counts ? low : high;
        return true;
    }

    template <class Bezier>
    bool of_bezier(const Bezier& given, double distance, ERPoint2D& at) {
        Bezier s(given);
        const ERLimites u = s.getBoundU(), v = s.getBoundV();
        s.adjust();
        const Bezier unit(s.poles());
        ERPoint2D local;
        const bool found = seed(unit, distance, local) && seam(unit, local);
        at = ERPoint2D(u(local.x()), v(local.y()));
        return found;
    }

    bool of_revolution(const ERSurOfRevolution& s, double distance, ERPoint2D& at) {
        const ERSpoleNURBS3D form = s.ConvertToNurbs();
        if (!seed(form, distance, at) || !seam(form, at)) return false;
        seam(s, at);
        return true;
    }

    bool seed(const ERSpoleRep& s, double distance, ERPoint2D& at) {
        if (disjoint(s, 0.2, distance)) return false;
        const int nu = std::clamp(s.degreeU() * (s.nbPolesU() - s.degreeU()) * 4 + 4, 10, 80);
        const int nv = std::clamp(s.degreeV() * (s.nbPolesV() - s.degreeV()) * 4 + 4, 10, 80);
        const ERMatrix<ERPoint3D> grid = s.getMatricePoint(nu, nv);
        double best = nowhere, t0 = 0, s0 = 0;
        for (int i = 1; i <= nu - 2; ++i)
            for (int j = 1; j <= nv - 2; ++j)
                if (const double d = distance2(grid(j, i), q); d < best)
                    best = d, t0 = double(i) / (nu - 1), s0 = double(j) / (nv - 1);
        if (best == nowhere) return false;
        const auto place = [&](double t, double r) {
            return ERPoint2D(s.getBoundU()(t), s.getBoundV()(r));
        };
        at = place(t0, s0);
        for (int a = -10; a <= 9; ++a)
            for (int b = -10; b <= 9; ++b) {
                const ERPoint2D c =
                    place(t0 + double(a) / (20 * nu - 20), s0 + double(b) / (20 * nv - 20));
                if (const double d = distance2(s(c), grid(nv - 2, nu - 2)); d < best)
                    best = d, at = c;
            }
        return true;
    }

    bool seam(const Surface& s, ERPoint2D& at) {
        const ERPoint2D entry = at;
        if (retry(s, at)) return true;
        const ERPoint2D left = at;
        const double d = distance(s(left), q);
        for (double ERPoint2D::*axis : {&ERPoint2D::x_, &ERPoint2D::y_}) {
            at = left;
            const ERLimites limits = axis == &ERPoint2D::x_ ? s.getBoundU() : s.getBoundV();
            const double low = std::fabs(at.*axis - limits.start());
            const double high = std::fabs(at.*axis - limits.end());
            if (std::min(low, high) > 0x1p-23) continue;
            at.*axis = high <= low ? limits.start() : limits.end();
            if (distance(s(at), q) < d + 1e-5 && retry(s, at)) return true;
        }
        at = entry;
        return false;
    }

private:
    // Newton's problem, with the limits kept by writing into the solver's vector.
    struct Foot : ERCNewtonM {
        Foot(const Surface& on, const ERPoint3D& p) : s(on), q(p) {}
        void go(const ERVec<double>& x) {
            double t[2];
            for (int i = 0; i < 2; ++i)
                const_cast<ERVec<double>&>(x)[i] = t[i] =
                    std::clamp(x.view()[std::size_t(i)], 0., 1.);
            at = s.PtCur((1 - t[0]) * s.udeb() + t[0] * s.ufin(),
                         (1 - t[1]) * s.vdeb() + t[1] * s.vfin());
            d = ERVector3D(q, at.point());
            du = s.ufin() - s.udeb(), dv = s.vfin() - s.vdeb();
        }
        ERVec<double> f(const ERVec<double>& x) override {
            go(x);
            return {at.tangenteU() * d * du, at.tangenteV() * d * dv};
        }
        ERMatrix<double> fprime(const ERVec<double>& x) override {
            go(x);
            const ERVector3D u = at.tangenteU(), v = at.tangenteV();
            const double uv = (at.derivative(1, 1) * d + u * v) * (du * dv);
            const double j[] = {(at.derivative(0, 2) * d + u * u) * (du * du), uv, uv,
                                (at.derivative(2, 0) * d + v * v) * (dv * dv)};
            return {2, 2, j};
        }
        const Surface& s;
        ERPoint3D q;
        ERInfoPoint3DSurf at;
        ERVector3D d;
        double du = 0, dv = 0;
    };

    bool disjoint(const ERSpoleRep& s, double wider, double reach) const {
        ERMinimax3D box = s.getBox(), point(q, q);
        box.Inflate(wider);
        point.Inflate(reach);
        return RelativePosition(box, point) == 0;
    }

    static ERVector3D normal(const Surface& s, const ERInfoPoint3DSurf& p, int& singular) {
        const ERVector3D pu = p.tangenteU(), pv = p.tangenteV();
        singular = 0;
        if (pu.norme2() > 1e-14 && pv.norme2() > 1e-14 &&
            (pu ^ pv).norme2() > 1e-14 * pu.norme2() * pv.norme2())
            return (pu ^ pv).getnormalized();
        singular = 1;
        double du = (s.ufin() - s.udeb()) * 1e-5, dv = (s.vfin() - s.vdeb()) * 1e-5;
        if (s.ufin() - p.u() < p.u() - s.udeb()) du = -du;
        if (s.vfin() - p.v() < p.v() - s.vdeb()) dv = -dv;
        ERVector3D a(p.point(), s(p.u() + du, p.v())), b(p.point(), s(p.u(), p.v() + dv));
        const ERVector3D c(p.point(), s(p.u() + du, p.v() + dv));
        if (b.norme() <= a.norme())
            b = c;
        else
            a = c;
        return ((a ^ b) * (du * dv < 0 ? -1.0 : 1.0)).getnormalized();
    }

    double sine(const Surface& s, const ERInfoPoint3DSurf& p, int& singular) const {
        const ERVector3D n = normal(s, p, singular);
        return n.norme() == 0 ? nowhere : (ERVector3D(q, p.point()).getnormalized() ^ n).norme();
    }

    bool newton(const Surface& s, ERPoint2D& at, double& criterion, int& singular) const {
        Foot foot(s, q);
        ERNewtonMSolver solver(&foot, 2, 1e-11, 10);
        const ERLimites u = s.getBoundU(), v = s.getBoundV();
        ERVec<double> x{u.ratio(at.x()), v.ratio(at.y())};
        int code = solver.Resoudre(x, std::max(1e-10, 1e-10 * (1 / s.getBox().diagonal())));
        if (code == 2 && (solver.GetLastCriteria() < 1e-5 || sine(s, foot.at, singular) < 1e-5))
            code = 0;
        at = ERPoint2D(u(x[0]), v(x[1]));
        const ERInfoPoint3DSurf p = s.PtCur(at.x(), at.y());
        if (code >= 3) normal(s, p, singular);
        if (code >= 2) return false;
        criterion = sine(s, p, singular);
        if (distance(p.point(), q) < 1e-5) criterion = 0;
        return true;
    }

    static bool accepts(const Surface& s, const ERPoint2D& at, double criterion, double tolerance) {
        const double margin =
            std::min({at.x() - s.udeb(), s.ufin() - at.x(), at.y() - s.vdeb(), s.vfin() - at.y()});
        return margin >= 0 && (margin >= 0x1p-23 || criterion <= tolerance);
    }

    bool retry(const Surface& s, ERPoint2D& at) {
        const ERPoint2D entry = at;
        double criterion = nowhere;
        int singular = 0;
        if (newton(s, at, criterion, singular) && accepts(s, at, criterion, 1e-5)) return true;
        if (!singular) return false;
        simplex_ran = true;
        for (int k = 0; k < 8; ++k) {
            at = entry;
            if (k % 2 == 0)
                at.x() = s.getBoundU()((k >> 1) / 3.0);
            else
                at.y() = s.getBoundV()((k >> 1) / 3.0);
            if (!simplex(s, at)) continue;
            const double angle = sine(s, s.PtCur(at.x(), at.y()), singular);
            return accepts(s, at, angle, 0.001);
        }
        return false;
    }

    bool simplex(const Surface& s, ERPoint2D& at) const {
        int evaluations = 0;
        const auto value = [&](const ERPoint2D& p) {
            ++evaluations;
            if (!s.getBoundU().inBound(p.x()) || !s.getBoundV().inBound(p.y()))
                return 3.4028234663852886e+38;
            int singular;
            const ERInfoPoint3DSurf on = s.PtCur(p.x(), p.y());
            const ERVector3D d(q, on.point());
            const double along = d * normal(s, on, singular);
            return d.norme2() - along * along;
        };
        ERPoint2D at_vertex[] = {at, at + ERPoint2D(0.001, 0), at + ERPoint2D(0, 0.001)};
        double f[3];
        std::ranges::transform(at_vertex, f, value);
        while (true) {
            // Of equal ones the first.
            const auto low = std::ranges::min_element(f) - f,
                       high = std::ranges::max_element(f) - f;
            const auto next = low == high ? 1 : 3 - low - high;
            const ERPoint2D gap = at_vertex[high] - at_vertex[low];
            if (2 * std::fabs(f[high] - f[low]) / (std::fabs(f[high]) + std::fabs(f[low]) + 1e-15) <
                    1e-13 ||
                evaluations >= 2000 || std::fabs(f[high]) < 1e-15 ||
                std::max(std::fabs(gap.x()), std::fabs(gap.y())) < 1e-15) {
                at = at_vertex[low];
                break;
            }
            const ERPoint2D middle = (at_vertex[low] + at_vertex[next]) * 0.5;
            const auto move = [&](double factor) {
                const ERPoint2D trial = middle * (1 - factor) + at_vertex[high] * factor;
                const double there = value(trial);
                if (there < f[high]) f[high] = there, at_vertex[high] = trial;
                return there;
            };
            const double reflected = move(-1);
            if (reflected < f[low]) {
                move(2);
            } else if (reflected >= f[next]) {
                const double before = f[high];
                if (move(0.5) < before) continue;
                for (const auto i : {next, high}) {
                    at_vertex[i] = (at_vertex[i] + at_vertex[low]) * 0.5;
                    f[i] = value(at_vertex[i]);
                }
            }
        }
        return *std::ranges::min_element(f) < 1e-5 &&
               (!in_bound || (s.getBoundU().inBound(at.x()) && s.getBoundV().inBound(at.y())));
    }

    ERPoint3D q;
    int in_bound;
};

/// The parameters at which the z line through p meets a Bezier patch, in order.
template <class Patch>
void crossing_steps(const Patch& s, ERPoint3D p, std::vector<ERPoint2D>& found) {
    const auto box_has = [&](const ERMinimax3D& b, bool strict) {
        const double margin =
            std::min({p.x() - b.xmin, b.xmax - p.x(), p.y() - b.ymin, b.ymax - p.y()});
        return strict ? margin > 0 : margin >= 0;
    };
    const auto solve = [&](const Patch& on) {
        const ERLimites in_u = on.getBoundU(), in_v = on.getBoundV();
        const double h = (in_v.amplitude() + in_u.amplitude()) / 1000000.0;
        const ERMatrix<ERPoint3D> grid = on.getMatricePoint(7, 7);
        const auto to = [](const ERPoint3D& a, const ERPoint3D& b) {
            return ERVector2D(b.x() - a.x(), b.y() - a.y());
        };
        double least = nowhere, u = 0, v = 0;
        for (int j = 1; j <= 5; ++j)
            for (int i = 1; i <= 5; ++i)
                if (const double d = to(p, grid(j, i)).norme2(); d < least)
                    least = d, u = in_u(i / 6.0), v = in_v(j / 6.0);
        double previous = 100000000.0;
        for (int rises = 0; rises <= 10;) {
            const ERPoint3D at = on(u, v);
            const ERVector2D e = to(at, p);
            const double change = e.norme() - previous;
            if (std::fabs(change) <= 1e-10) return;
            if (change <= 1e-10 && e.norme() < 5e-8) return void(found.emplace_back(u, v));
            if (change > 1e-10) ++rises;
            previous = e.norme();
            const ERVector2D a(to(at, on(u + h, v)) / h), b(to(at, on(u, v + h)) / h);
            const double det = velm::cross(a, b);
            if (std::fabs(det) <= 1e-9) return;
            u = std::clamp(u + velm::cross(e, b) / det, in_u.start(), in_u.end());
            v = std::clamp(v + velm::cross(a, e) / det, in_v.start(), in_v.end());
        }
    };
    const ERMinimax3D box = s.getBox();
    if (!box_has(box, false)) return;
    if (std::min(box.xlength(), box.ylength()) < 0.1) return solve(s);
    const ERVec<ERPoint2D> hull = s.getConvexHull();
    if (hull.size() <= 2 || Inside(ERPoint2D(p.x(), p.y()), hull) == 3) return;
    const int n = s.nbPolesU() - 1, m = s.nbPolesV() - 1;
    const auto corner = [&](int i, int j) {
        const auto pole = [&](int k, int l) {
            return ERVector3D(ERPole3DH(s.poles()(l, k)).castToPoint());
        };
        const int k = std::min(i, n - 1), l = std::min(j, m - 1);
        return ((pole(k + 1, j) - pole(k, j)) ^ (pole(i, l + 1) - pole(i, l))).k();
    };
    const double a = corner(0, 0), b = corner(0, m), c = corner(n, m), d = corner(n, 0);
    const double u = s.upperEstimateInU(), v = s.upperEstimateInV();
    t_SmartPtr<Patch> one, two;
    bool both = true;
    if (d * a > 0 && b * c > 0 && b * a < 0) {
        if (!(v > 1e-11) || !s.SplitInV(one, two)) return;
    } else if (b * a > 0 && d * c > 0 && d * a < 0) {
        if (!(u > 1e-11) || !s.SplitInU(one, two)) return;
    } else {
        if (!(u <= v ? s.SplitInV(one, two) : s.SplitInU(one, two))) return;
        both = (u <= v ? v / u : u / v) > 3 || a * b * c * d < 0;
        const bool in_one = box_has(one->getBox(), true), in_two = box_has(two->getBox(), false);
        if (!both && in_one != in_two) return solve(in_one ? *one : *two);
        both = both || (in_one && in_two);
    }
    if (!both) return;
    crossing_steps(*one, p, found);
    crossing_steps(*two, p, found);
}

} // namespace velm_test
