// Curves and faces of CAD files in their text form, and of drawings; what a curve's text says about
// its points, computed without the library.
#pragma once

#include "support/test.h"
#include "support/text_fields.h"

namespace velm_test {

/// A curve: `kind` is segment, line, arc, ellipse, nurbs, polyline or composite.
struct CurveText {
    std::string id, kind;
    int size = 3; ///< the dimension
    double t0 = 0.0, t1 = 1.0;
    /// Segment: both ends. Line: origin, direction. Arc and ellipse: center, both half axes, the
    /// two directions that the parameter's cosine and sine belong to.
    std::vector<double> numbers;
    int degree = 0;
    std::vector<double> knots;
    std::vector<double> poles; ///< points, each with its weight
    std::vector<std::string> members;

    using Point = std::array<long double, 3>;
    /// Of anything but a composite.
    Point point(long double t) const {
        const auto n = [this](int row, int c) {
            return c < size ? static_cast<long double>(numbers[std::size_t(row * size + c)]) : 0.0L;
        };
        if (kind == "segment")
            return each([&](int c) { return n(0, c) + t * (n(1, c) - n(0, c)); });
        if (kind == "line") return each([&](int c) { return n(0, c) + t * n(1, c); });
        if (kind == "arc" || kind == "ellipse")
            return each(
                [&](int c) { return n(0, c) + std::cos(t) * n(1, c) + std::sin(t) * n(2, c); });
        return spline_point(t);
    }

private:
    template <class F>
    static Point each(F f) {
        return {f(0), f(1), f(2)};
    }
    /// De Boor's algorithm.
    Point spline_point(long double t) const {
        const int width = size + 1, count = static_cast<int>(poles.size()) / width;
        int span = degree;
        while (span + 1 < count && t >= knots[std::size_t(span + 1)])
            ++span;
        std::vector<std::array<long double, 4>> work;
        for (int i = span - degree; i <= span; ++i) {
            const double* const pole = poles.data() + i * width;
            std::array<long double, 4> weighted{0, 0, 0, pole[size]};
            for (int c = 0; c < size; ++c)
                weighted[std::size_t(c)] = static_cast<long double>(pole[c]) * pole[size];
            work.push_back(weighted);
        }
        for (int level = 1; level <= degree; ++level) {
            for (int i = degree; i >= level; --i) {
                const long double low = knots[std::size_t(span - degree + i)];
                const long double high = knots[std::size_t(span + 1 + i - level)];
                const long double part = (t - low) / (high - low);
                for (std::size_t c = 0; c < 4; ++c)
                    work[std::size_t(i)][c] =
                        (1 - part) * work[std::size_t(i - 1)][c] + part * work[std::size_t(i)][c];
            }
        }
        const auto& sum = work.back();
        return each([&](int c) { return sum[std::size_t(c)] / sum[3]; });
    }
};

struct GeometryText {
    std::vector<CurveText> curves;
    /// The 3D curves around each face.
    std::map<std::string, std::vector<std::string>> face_edges;
};

/// Numbers of an arc from what its line says after the center: half axes, the x direction, then in
/// the plane its sense and in space the normal and the sense.
inline std::vector<double> conic_numbers(const std::vector<double>& given, int size, bool ellipse) {
    const double* v = given.data() + size;
    const double a = *v++, b = ellipse ? *v++ : a;
    const double* const x = v;
    std::vector<double> numbers(given.begin(), given.begin() + size);
    for (int c = 0; c < size; ++c)
        numbers.push_back(a * x[c]);
    if (size == 2) {
        numbers.push_back(-b * x[2] * x[1]);
        numbers.push_back(b * x[2] * x[0]);
        return numbers;
    }
    const double *const n = x + 3, h = x[6];
    for (int c = 0; c < 3; ++c) {
        const int d = (c + 1) % 3, e = (c + 2) % 3;
        numbers.push_back(b * h * (n[d] * x[e] - n[e] * x[d]));
    }
    return numbers;
}

inline CurveText read_curve(const std::string& line, std::istream& in) {
    TextFields fields(line);
    CurveText curve;
    curve.size = fields.word() == "curve2" ? 2 : 3;
    curve.id = fields.word();
    curve.kind = fields.word();
    curve.t0 = fields.number();
    curve.t1 = fields.number();
    std::string more;
    if (curve.kind == "composite") {
        for (int n = fields.whole(); n > 0; --n)
            curve.members.push_back(fields.word());
    } else if (curve.kind == "nurbs" || curve.kind == "polyline") {
        const bool nurbs = curve.kind == "nurbs";
        curve.degree = nurbs ? fields.whole() : 1;
        const int count = fields.whole();
        if (nurbs && std::getline(in, more)) {
            TextFields knots(more);
            knots.word();
            curve.knots = knots.rest();
        }
        for (int i = 0; i < count && std::getline(in, more); ++i) {
            TextFields pole(more);
            pole.word();
            for (const double x : pole.rest())
                curve.poles.push_back(x);
            if (!nurbs) {
                curve.poles.push_back(1.0);
                curve.knots.push_back(i);
            }
        }
        if (!nurbs) {
            curve.knots.insert(curve.knots.begin(), 0.0);
            curve.knots.push_back(count - 1);
        }
    } else {
        curve.numbers = fields.rest();
        if (curve.kind == "arc" || curve.kind == "ellipse")
            curve.numbers = conic_numbers(curve.numbers, curve.size, curve.kind == "ellipse");
    }
    return curve;
}

/// Surfaces are skipped.
inline GeometryText read_geometry(const std::filesystem::path& path) {
    GeometryText text;
    std::ifstream in(path);
    std::string face;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("curve2 ") || line.starts_with("curve3 ")) {
            text.curves.push_back(read_curve(line, in));
        } else if (line.starts_with("face ")) {
            TextFields fields(line);
            fields.word();
            face = fields.word();
        } else if (line.starts_with("coedge ")) {
            const std::size_t at = line.find("curve3 ");
            const std::string id = TextFields(line.substr(at + 7)).word();
            if (id != "-") text.face_edges[face].push_back(id);
        }
    }
    return text;
}

/// The pieces of a polyline with bulges (the tangents of a quarter of their sweeps).
inline void add_bulges(const std::vector<double>& v, bool closed, std::vector<CurveText>& curves) {
    const std::size_t count = v.size() / 3;
    for (std::size_t i = 0; i + (closed ? 0 : 1) < count; ++i) {
        const double *const p = &v[3 * i], *const q = &v[3 * ((i + 1) % count)], bulge = p[2];
        CurveText piece;
        piece.size = 2;
        piece.kind = bulge == 0.0 ? "segment" : "arc";
        piece.numbers = {p[0], p[1], q[0], q[1]};
        if (bulge != 0.0) {
            const double f = (1 - bulge * bulge) / (4 * bulge), s = bulge < 0.0 ? -1.0 : 1.0;
            const double cx = 0.5 * (p[0] + q[0]) - f * (q[1] - p[1]);
            const double cy = 0.5 * (p[1] + q[1]) + f * (q[0] - p[0]);
            const double x = p[0] - cx, y = p[1] - cy;
            piece.numbers = {cx, cy, x, y, -s * y, s * x};
            piece.t1 = 4.0 * std::atan(std::fabs(bulge));
        }
        curves.push_back(piece);
    }
}

inline std::vector<CurveText> read_drawing(const std::filesystem::path& path) {
    constexpr double turn = 2.0 * std::numbers::pi;
    std::vector<CurveText> curves;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        TextFields fields(line);
        CurveText curve;
        curve.size = 2;
        curve.kind = fields.word();
        const std::vector<double> v = fields.rest();
        if (curve.kind == "line") {
            curve.kind = "segment";
            curve.numbers = v;
        } else if (curve.kind == "arc" || curve.kind == "circle") {
            const bool whole = curve.kind == "circle";
            curve.kind = "arc";
            curve.numbers = {v[0], v[1], v[2], 0.0, 0.0, v[2]};
            curve.t0 = whole ? 0.0 : v[3];
            curve.t1 = whole ? turn : v[4];
        } else if (curve.kind == "ellipse") {
            curve.numbers = {v[0], v[1], v[2], v[3], -v[4] * v[3], v[4] * v[2]};
            curve.t0 = v[5] < v[6] ? v[5] : v[5] - turn;
            curve.t1 = v[6];
        } else if (curve.kind == "nurbs") {
            curve.degree = static_cast<int>(v[0]);
            const auto poles = v.begin() + 2 + static_cast<int>(v[1]) + curve.degree + 1;
            curve.knots.assign(v.begin() + 2, poles);
            curve.poles.assign(poles, v.end());
            curve.t0 = curve.knots[std::size_t(curve.degree)];
            curve.t1 = curve.knots[curve.knots.size() - 1 - std::size_t(curve.degree)];
        } else {
            if (curve.kind == "polyline") add_bulges({v.begin() + 2, v.end()}, v[0] != 0.0, curves);
            continue;
        }
        curves.push_back(curve);
    }
    return curves;
}

} // namespace velm_test
