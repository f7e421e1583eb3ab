#include "velm/surfaces/loft.h"

#include "velm/curves/detail/counted_knots.h"
#include "velm/surfaces/detail/pole_grid.h"
#include "velm/surfaces/detail/row_fit.h"

#include <algorithm>
#include <cmath>

namespace velm {

namespace {

using detail::Axis;
using detail::counted_knots;
using detail::CountedKnot;
using detail::ValueRow;

// A curve as a grid of one row, clamped, with knots of [0, 1].
struct Section {
    ERMatrix<ERPole3DH> poles;
    ERKnotVector knots;
};

std::optional<Section> section_of(ERCpoleNURBS3D curve) {
    curve.adjust();
    const auto view = curve.getPoles().view();
    const auto is_good = [](const ERPole3DH& p) {
        return p.weigth() > 0.0 && std::isfinite(p.x() + p.y() + p.z() + p.weigth());
    };
    if (curve.isValid() == 0 || !curve.getKnots().isUsable() || curve.degree() < 1 ||
        view.empty() || !std::all_of(view.begin(), view.end(), is_good) ||
        !(curve.ufin() > curve.udeb()))
        return std::nullopt;
    Section section{ERMatrix<ERPole3DH>(1, static_cast<int>(view.size()), view.data()),
                    curve.getKnots()};
    clamp_ends(section.poles, section.knots, Axis::u);
    const ERLimites limits = section.knots.limites();
    ERVec<double> ratios;
    for (const double knot : section.knots.getVec().view())
        ratios.push_back(limits.ratio(knot));
    section.knots = ERKnotVector(section.knots.degree(), ratios);
    double sum = 0.0;
    for (const ERPole3DH& pole : section.poles.view())
        sum += pole.weigth();
    for (ERPole3DH& pole : section.poles.writable())
        pole = pole * (static_cast<double>(view.size()) / sum);
    return section;
}

// Gives all sections one degree and the same knots.
void make_compatible(std::vector<Section>& sections) {
    constexpr double same_knot = 1e-9;
    int degree = 0;
    for (const Section& section : sections)
        degree = std::max(degree, section.knots.degree());
    std::vector<CountedKnot> all;
    for (Section& section : sections) {
        elevate_grid(section.poles, section.knots, Axis::u, degree - section.knots.degree());
        ERVec<double> settled;
        for (const CountedKnot& run : counted_knots(section.knots)) {
            const auto near = std::find_if(all.begin(), all.end(), [&](const CountedKnot& other) {
                return std::fabs(other.knot - run.knot) <= same_knot;
            });
            const double knot = near == all.end() ? run.knot : near->knot;
            if (near == all.end()) {
                all.push_back(run);
            } else {
                near->copies = std::max(near->copies, run.copies);
            }
            for (int k = 0; k < run.copies; ++k)
                settled.push_back(knot);
        }
        section.knots = ERKnotVector(degree, settled);
    }
    for (Section& section : sections)
        for (const CountedKnot& wanted : all) {
            int copies = 0;
            for (const CountedKnot& run : counted_knots(section.knots))
                if (run.knot == wanted.knot) copies = run.copies;
            insert_knot(section.poles, section.knots, Axis::u, wanted.knot, wanted.copies - copies);
        }
}

} // namespace

std::optional<LoftedSurface> loft(std::span<const ERCpoleNURBS3D> given, int degree_v) {
    if (given.size() < 2 || degree_v < 1 || degree_v > detail::highest_fit_degree) return {};
    std::vector<Section> sections;
    for (const ERCpoleNURBS3D& curve : given) {
        auto section = section_of(curve);
        if (!section) return {};
        sections.push_back(std::move(*section));
    }
    make_compatible(sections);
    const int n = sections.front().poles.columns(), m = static_cast<int>(sections.size());
    // The columns of points, for the parameters, and the rows of poles.
    std::vector<ValueRow> columns(std::size_t(n), ValueRow(3 * sections.size()));
    std::vector<ValueRow> rows(sections.size(), ValueRow(4 * std::size_t(n)));
    for (std::size_t j = 0; j < sections.size(); ++j)
        for (std::size_t i = 0; i < std::size_t(n); ++i) {
            const ERPole3DH& pole = sections[j].poles.view()[i];
            const ERPoint3D p = pole.castToPoint();
            for (int k = 0; k < 4; ++k) {
                if (k < 3) columns[i][3 * j + std::size_t(k)] = p[k];
                rows[j][4 * i + std::size_t(k)] = pole[k];
            }
        }
    std::vector<double> v = detail::mean_parameters(columns, 3, PointParameters::chord_length);
    if (v.empty()) return {};
    const auto knots = detail::fit_rows(rows, v, std::min(degree_v, m - 1), m);
    if (!knots) return {};
    ERMatrix<ERPole3DH> net(m, n);
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i) {
            const double* const c = &rows[std::size_t(j)][4 * std::size_t(i)];
            if (!(c[3] > 0.0)) return {};
            net(j, i) = ERPole3DH(c[0], c[1], c[2], c[3]);
        }
    return LoftedSurface{ERSpoleNURBS3D(net, sections.front().knots, *knots), std::move(v)};
}

std::optional<ERSpoleNURBS3D> ruled(const ERCpoleNURBS3D& lower, const ERCpoleNURBS3D& upper) {
    const ERCpoleNURBS3D both[] = {lower, upper};
    auto surface = loft(both, 1);
    if (!surface) return {};
    return std::move(surface->surface);
}

ERSpoleNURBS3D bilinear(const ERPoint3D& p00, const ERPoint3D& p10, const ERPoint3D& p01,
                        const ERPoint3D& p11) {
    ERMatrix<ERPole3DH> net(2, 2);
    net(0, 0) = ERPole3DH(p00, 1.0);
    net(0, 1) = ERPole3DH(p10, 1.0);
    net(1, 0) = ERPole3DH(p01, 1.0);
    net(1, 1) = ERPole3DH(p11, 1.0);
    const ERKnotVector knots(1, 2, ERLimites(0.0, 1.0));
    return {net, knots, knots};
}

} // namespace velm
