#include "velm/surfaces/detail/surface_leaves.h"

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/surfaces/detail/leaf_maker.h"
#include "velm/surfaces/detail/offset_fit.h"
#include "velm/surfaces/detail/sided_jet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace velm::detail {
namespace {

// Cuts of a patch in each direction at most.
constexpr int most_cuts = 5;
// Points of a patch this near to each other are one: an eighth of the accuracy of feet.
constexpr double no_extent = 0x1p-46;
// Polynomials of higher degrees go to the power form in pairs of doubles: its coefficients are up
// to 2.4^degree times as large as those of Bernstein's form, and cancel.
constexpr int plain_degree = 7;
// Leaves of polynomials that replace offsets are small, and count from points on them.
constexpr int plain_offset_degree = OffsetFit::degree;
// Of offset surfaces: what the polynomials are off by is at most this part of the size, where their
// parts are no smaller than so many cuts make them, and a patch has no more than so many.
constexpr double offset_error = 0x1p-45;
constexpr int most_base_cuts = 8, most_rounding_cuts = 12;
constexpr std::size_t most_parts = 1024;
// Where an offset surface folds no leaf is convex, however small: the polynomials' cuts at most.
constexpr int most_fold_cuts = 2;

} // namespace

LeafFrame leaf_frame(const ERMinimax3D& box) {
    LeafFrame frame;
    for (int c = 0; c < 3; ++c)
        frame.origin[c] = 0.5 * (box.MinPoint()[c] + box.MaxPoint()[c]);
    const double size = box.diagonal();
    constexpr int smallest = -960; // its inverse is a number, with room above it
    if (size > 0.0) frame.scale = std::ldexp(1.0, -std::max(std::ilogb(size), smallest));
    return frame;
}

// Cuts patches into leaves.
class LeafCutter {
public:
    LeafCutter(SurfaceLeaves& leaves, std::vector<OrientedBox>& boxes, const LeafTrim* trim,
               int plain)
        : to_(leaves), boxes_(boxes), trim_(trim), p_(leaves.degree_u), q_(leaves.degree_v),
          maker_(p_, q_, leaves.rational, leaves.size, plain) {}

    // What follows is about patches of the base.
    void move(int p, int q, bool rational, double offset) {
        base_p_ = p, base_q_ = q;
        fit_.emplace(p, q, rational, offset);
    }

    std::int32_t patch(const SurfacePatch& given, int number, std::uint8_t limits) {
        number_ = number;
        parts_ = 0;
        std::vector<double> local(given.poles.size());
        const LeafFrame& frame = to_.frame;
        double most = 0.0;
        for (std::size_t k = 3; k < local.size(); k += 4)
            most = std::max(most, given.poles[k]);
        const double unit = std::ldexp(1.0, -std::ilogb(most));
        // Normals depend on differences of poles: those of a base count from one of them.
        const double* const first = given.poles.data();
        const double* const pole =
            fit_ ? first + OffsetFit::origin_pole(first, base_p_, base_q_) : nullptr;
        double origin[3];
        for (std::size_t c = 0; c < 3; ++c) {
            origin[c] = fit_ ? pole[c] / pole[3] : frame.origin[c];
            origin_[c] = (origin[c] - frame.origin[c]) * frame.scale;
        }
        for (std::size_t k = 0; k < local.size(); k += 4) {
            const double w = given.poles[k + 3];
            for (std::size_t c = 0; c < 3; ++c) {
                const double x = given.poles[k + c];
                local[k + c] =
                    (fit_ ? std::fma(-w, origin[c], x) : x - w * origin[c]) * frame.scale * unit;
            }
            local[k + 3] = w * unit;
        }
        if (trim_ != nullptr && is_line(local, given)) return SurfaceLeaves::no_leaf;
        const InTrim in_trim = trim_ == nullptr ? InTrim::inside : InTrim::crossing;
        const Part whole{{0.0, 1.0}, {0.0, 1.0}, limits, 0, 0, in_trim};
        return fit_ ? moved(local, whole) : part(local, whole);
    }

private:
    struct Part {
        double u[2], v[2];
        std::uint8_t limits;
        int cuts_u, cuts_v;
        InTrim in_trim;
    };

    // A leaf, or the halves of a part that is no leaf yet.
    std::int32_t part(const std::vector<double>& poles, Part now) {
        if (now.in_trim == InTrim::crossing) now.in_trim = place(now);
        if (now.in_trim == InTrim::outside) return SurfaceLeaves::no_leaf;
        SurfaceLeaf leaf = {};
        OrientedBox box;
        std::copy_n(now.u, 2, leaf.u);
        std::copy_n(now.v, 2, leaf.v);
        leaf.limits = leaf.sharp = now.limits;
        leaf.in_trim = now.in_trim;
        leaf.patch = number_;
        maker_.make(poles, origin_, error_, leaf, box);
        const bool u_left = now.cuts_u < most_cuts, v_left = now.cuts_v < most_cuts;
        if (maker_.is_good() || !(u_left || v_left)) {
            leaf.coefs = to_.coefs.size();
            const std::vector<double>& coefs = maker_.coefs();
            for (std::size_t k = 0; k < coefs.size(); k += 4)
                to_.coefs.push_back({{coefs[k], coefs[k + 1], coefs[k + 2], coefs[k + 3]}});
            to_.leaves.push_back(leaf);
            boxes_.push_back(box);
            return ~static_cast<std::int32_t>(to_.leaves.size() - 1);
        }
        const bool along_u = u_left && (maker_.cuts_u() || !v_left);
        return halves(
            poles, p_, q_, now, along_u,
            [this](const std::vector<double>& half, const Part& own) { return part(half, own); });
    }

    // The leaves of the offset of a part of a patch: of the polynomial that replaces it, or of
    // its halves while that is too far off.
    std::int32_t moved(const std::vector<double>& base, Part now) {
        if (now.in_trim == InTrim::crossing) now.in_trim = place(now);
        if (now.in_trim == InTrim::outside) return SurfaceLeaves::no_leaf;
        const double wanted = offset_error * to_.size;
        fit_->fit(base.data(), wanted);
        const bool u_left = now.cuts_u < most_base_cuts, v_left = now.cuts_v < most_base_cuts;
        const bool by_rounding =
            fit_->is_rounding() && now.cuts_u + now.cuts_v >= most_rounding_cuts;
        if (fit_->error() <= wanted || by_rounding || !(u_left || v_left) || parts_ >= most_parts) {
            ++parts_;
            error_ = fit_->error();
            Part own = now;
            own.cuts_u = own.cuts_v = most_cuts - most_fold_cuts;
            return part(fit_->poles(), own);
        }
        const bool rougher = fit_->is_rounding() ? longer_along_u(base) : fit_->rougher_along_u();
        const bool along_u = u_left && (rougher || !v_left);
        return halves(
            base, base_p_, base_q_, now, along_u,
            [this](const std::vector<double>& half, const Part& own) { return moved(half, own); });
    }

    bool longer_along_u(const std::vector<double>& base) const {
        const auto point = [&](int i, int j, std::size_t c) {
            const double* const pole =
                &base[static_cast<std::size_t>(4 * (j * base_q_ * (base_p_ + 1) + i * base_p_))];
            return pole[c] / pole[3];
        };
        double u = 0.0, v = 0.0;
        for (std::size_t c = 0; c < 3; ++c)
            for (int k = 0; k < 2; ++k) {
                u += std::fabs(point(1, k, c) - point(0, k, c));
                v += std::fabs(point(k, 1, c) - point(k, 0, c));
            }
        return u >= v;
    }

    // each(poles, part) of both halves, with a cut between them.
    template <class Each>
    std::int32_t halves(const std::vector<double>& poles, int p, int q, const Part& now,
                        bool along_u, Each each) {
        std::vector<double> first(poles), second(poles);
        Part below = now, above = now;
        double middle = 0.0;
        if (along_u) {
            for (int j = 0; j <= q; ++j) {
                const auto at = static_cast<std::size_t>(4 * j * (p + 1));
                split_row({&poles[at], p + 1, 4}, 0.5, {&first[at], p + 1, 4},
                          {&second[at], p + 1, 4});
            }
            middle = below.u[1] = above.u[0] = 0.5 * (now.u[0] + now.u[1]);
            below.limits &= static_cast<std::uint8_t>(~side_u_high);
            above.limits &= static_cast<std::uint8_t>(~side_u_low);
            ++below.cuts_u, ++above.cuts_u;
        } else {
            const int width = 4 * (p + 1);
            split_row({poles.data(), q + 1, width}, 0.5, {first.data(), q + 1, width},
                      {second.data(), q + 1, width});
            middle = below.v[1] = above.v[0] = 0.5 * (now.v[0] + now.v[1]);
            below.limits &= static_cast<std::uint8_t>(~side_v_high);
            above.limits &= static_cast<std::uint8_t>(~side_v_low);
            ++below.cuts_v, ++above.cuts_v;
        }
        const std::int32_t a = each(first, below), b = each(second, above);
        to_.cuts_.push_back({middle, along_u, {a, b}});
        return static_cast<std::int32_t>(to_.cuts_.size() - 1);
    }

    // Whether a patch, as between knots that differ by roundings, has no extent in one direction:
    // then its neighbours' sides are the patch. Of a base the offset may have an extent, except
    // between such knots.
    bool is_line(const std::vector<double>& poles, const SurfacePatch& given) const {
        const int p = given.degree_u, q = given.degree_v;
        const auto is_thin = [](const ERLimites& own, const std::vector<double>& ends) {
            constexpr double thin = 1e-12;
            return own.amplitude() <= thin * (ends.back() - ends.front());
        };
        if (fit_ && !is_thin(given.u, to_.along_u_.ends) && !is_thin(given.v, to_.along_v_.ends))
            return false;
        const auto extent = [&](int count, int others, int step, int other_step) {
            double most = 0.0;
            for (int other = 0; other < others; ++other)
                for (int i = 1; i < count; ++i)
                    for (std::size_t c = 0; c < 3; ++c) {
                        const double *const first = &poles[std::size_t(other * other_step)],
                                            *const at = first + i * step;
                        most = std::max(most, std::fabs(at[c] / at[3] - first[c] / first[3]));
                    }
            return most;
        };
        const int row = 4 * (p + 1);
        return extent(p + 1, q + 1, 4, row) <= no_extent ||
               extent(q + 1, p + 1, row, 4) <= no_extent;
    }
    InTrim place(const Part& now) const {
        const int i = number_ % to_.along_u_.patches(), j = number_ / to_.along_u_.patches();
        const double u[2] = {to_.along_u_.parameter(i, now.u, -1.0),
                             to_.along_u_.parameter(i, now.u, 1.0)};
        const double v[2] = {to_.along_v_.parameter(j, now.v, -1.0),
                             to_.along_v_.parameter(j, now.v, 1.0)};
        return trim_->place(u, v);
    }

    SurfaceLeaves& to_;
    std::vector<OrientedBox>& boxes_;
    const LeafTrim* const trim_;
    const int p_, q_;
    LeafMaker maker_;
    int number_ = 0;
    std::optional<OffsetFit> fit_; // of the base's patches, which have these degrees
    int base_p_ = 0, base_q_ = 0;
    double origin_[3] = {}; // what the poles of a moved patch count from, local
    std::size_t parts_ = 0; // of this patch
    double error_ = 0.0;
};

void SurfaceLeaves::build(const PreparedSurface& surface, const LeafFrame& local,
                          std::vector<OrientedBox>& boxes, const LeafTrim* trim, double most_size) {
    *this = {};
    frame = local;
    const std::optional<PreparedSurface> base = surface.base();
    const PreparedSurface& patches = base ? *base : surface;
    const int nu = patches.patches_u(), nv = patches.patches_v();
    const SurfacePatch first = patches.patch(0, 0);
    degree_u = base ? OffsetFit::degree : first.degree_u;
    degree_v = base ? OffsetFit::degree : first.degree_v;
    rational = !base && first.rational;
    size = std::min(surface.box().diagonal() * frame.scale, most_size);
    along_u_ = {{surface.domain_u().start()}, first.angular_u};
    along_v_ = {{surface.domain_v().start()}, first.angular_v};
    for (int i = 0; i < nu; ++i)
        along_u_.ends.push_back(patches.patch(i, 0).u.end());
    for (int j = 0; j < nv; ++j)
        along_v_.ends.push_back(patches.patch(0, j).v.end());
    LeafCutter cutter(*this, boxes, trim, base ? plain_offset_degree : plain_degree);
    if (base)
        cutter.move(first.degree_u, first.degree_v, first.rational, surface.offset() * frame.scale);
    for (int j = 0; j < nv; ++j)
        for (int i = 0; i < nu; ++i) {
            const int limits = (i == 0 ? side_u_low : 0) | (i == nu - 1 ? side_u_high : 0) |
                               (j == 0 ? side_v_low : 0) | (j == nv - 1 ? side_v_high : 0);
            patches_.push_back(
                cutter.patch(patches.patch(i, j), j * nu + i, static_cast<std::uint8_t>(limits)));
        }
    find_seams(patches);
    if (base) keep_true_seams(surface);
}

// A limit is a seam where the poles of both sides are the same points.
void SurfaceLeaves::find_seams(const PreparedSurface& surface) {
    const int nu = surface.patches_u(), nv = surface.patches_v();
    const SurfacePatch first = surface.patch(0, 0);
    const double tolerance = 0x1p-40 * surface.box().diagonal();
    const auto agree = [&](const SurfacePatch& a, int in_a, const SurfacePatch& b, int in_b) {
        const double *const x = &a.poles[static_cast<std::size_t>(4 * in_a)],
                            *const y = &b.poles[static_cast<std::size_t>(4 * in_b)];
        for (int c = 0; c < 3; ++c)
            if (!(std::fabs(x[c] / x[3] - y[c] / y[3]) <= tolerance)) return false;
        return true;
    };
    closed_u = closed_v = true;
    const int p = first.degree_u, q = first.degree_v, row = p + 1;
    for (int j = 0; j < nv; ++j)
        for (int k = 0; k <= q; ++k)
            closed_u = closed_u &&
                       agree(surface.patch(0, j), k * row, surface.patch(nu - 1, j), k * row + p);
    for (int i = 0; i < nu; ++i)
        for (int k = 0; k <= p; ++k)
            closed_v =
                closed_v && agree(surface.patch(i, 0), k, surface.patch(i, nv - 1), q * row + k);
}

// A seam of the base is one of its offset where both sides have the same normals.
void SurfaceLeaves::keep_true_seams(const PreparedSurface& surface) {
    const SurfaceTables& tables = SurfaceTables::of(surface);
    const double tolerance = 0x1p-40 * surface.box().diagonal();
    const ERLimites& u = tables.u;
    const ERLimites& v = tables.v;
    constexpr int samples = 4 * OffsetFit::degree;
    const auto agree = [&](const ERPoint2D& low, const ERPoint2D& high, const SurfaceSide& side) {
        const Jet a = sided_jet(tables, low, {}), b = sided_jet(tables, high, side);
        return !(ERVector3D(a.point() - b.point()).norme() > tolerance); // or no normal
    };
    const auto parameter = [](const Direction& along, int k) {
        return along.parameter(k / samples, std::array{0.0, 1.0}.data(),
                               2.0 * (k % samples + 0.5) / samples - 1.0);
    };
    for (int k = 0; closed_u && k < samples * along_v_.patches(); ++k) {
        const double at = parameter(along_v_, k);
        closed_u = agree({u.start(), at}, {u.end(), at}, {true, false});
    }
    for (int k = 0; closed_v && k < samples * along_u_.patches(); ++k) {
        const double at = parameter(along_u_, k);
        closed_v = agree({at, v.start()}, {at, v.end()}, {false, true});
    }
}

double SurfaceLeaves::Direction::parameter(int patch, const double* own, double s) const {
    const double x = 0.5 * ((1.0 - s) * own[0] + (1.0 + s) * own[1]);
    const double low = ends[static_cast<std::size_t>(patch)],
                 high = ends[static_cast<std::size_t>(patch) + 1];
    if (!(x > 0.0)) return low;
    if (!(x < 1.0)) return high;
    double t = (1.0 - x) * low + x * high;
    if (angular) {
        const double half = 0.5 * (high - low);
        t = 0.5 * (low + high) + 2.0 * std::atan((2.0 * x - 1.0) * std::tan(0.5 * half));
    }
    return std::clamp(t, low, high);
}

int SurfaceLeaves::Direction::patch_at(double t, double* own) const {
    const int patch = interval_of(ends, t);
    const double low = ends[static_cast<std::size_t>(patch)],
                 high = ends[static_cast<std::size_t>(patch) + 1];
    double x = (t - low) / (high - low);
    if (angular) {
        const double from_middle = t - 0.5 * (low + high);
        x = 0.5 + 0.5 * std::tan(0.5 * from_middle) / std::tan(0.25 * (high - low));
    }
    *own = std::clamp(x, 0.0, 1.0);
    return patch;
}

int SurfaceLeaves::leaf_at(double u, double v, double* s, double* t) const {
    double x = 0.0, y = 0.0;
    const int i = along_u_.patch_at(u, &x), j = along_v_.patch_at(v, &y);
    std::int32_t at = patches_[static_cast<std::size_t>(j * along_u_.patches() + i)];
    while (at >= 0) {
        const Cut& cut = cuts_[static_cast<std::size_t>(at)];
        at = cut.part[(cut.along_u ? x : y) < cut.value ? 0 : 1];
    }
    if (at == no_leaf) return -1;
    const SurfaceLeaf& leaf = leaves[static_cast<std::size_t>(~at)];
    const auto within = [](const double* ends, double own) {
        return ((own - ends[0]) - (ends[1] - own)) / (ends[1] - ends[0]);
    };
    *s = within(leaf.u, x);
    *t = within(leaf.v, y);
    return ~at;
}

} // namespace velm::detail
