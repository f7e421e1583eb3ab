// velm::PreparedCurve<2>, velm::PreparedCurve<3>: an immutable snapshot of a finite curve, from
// which points, certified nearest points, all perpendicular feet and all crossings come.
//
//     const auto curve = velm::prepare(arc);                     // see curves/prepare.h
//     const auto nearest = curve->nearest({1.0, 2.0});
//     if (nearest.certified) use(nearest.point, nearest.distance, nearest.t);
//     std::vector<velm::CurveFoot<2>> feet;                      // kept for the next call
//     curve->perpendicular_feet({1.0, 2.0}, feet);
//
// The curve is kept as rational Bezier pieces about local origins, cut until each turns by less
// than a right angle and its weights differ by less than a factor of 8, with a tree of their boxes.
// It needs nothing of the entity that it was made from. Parameters are that curve's own: arcs and
// elliptical arcs keep their angle. Lengths are model units.
//
// Use from threads: nothing changes after construction and there is no cache, so any number of
// threads may ask one object without a lock. No question allocates; those that list their answers
// write into the caller's vector, which allocates only when it has to grow.
//
// Accuracy, `size` being the diagonal of the curve's box, u = 2^-53 and n the degree of a piece:
//   points        within (2 n + 6) u times the sum of |pole - origin| weighted as the point is, and
//                 one rounding of the coordinates; a joint and an end are the poles themselves
//   arcs          the points lie within 4 units in the last place of the radius from the true one
//   derivatives   within (2 n + 6) u times the sums of the sizes of their terms by de Casteljau's
//                 scheme and the quotient rule (of 200,000 compared with 113 bits the largest take
//                 1.8 for n = 4, 9.6 for n = 20). On a piece over a short interval these sums are
//                 large: where the speed is far below size / interval, digits are lost that
//                 ERCpoleNURBS2D::PtCur keeps
//   parameters    a t is taken to some roundings of itself
//   nearest       no point of the curve is nearer than `lower`; certified means that it lies within
//                 2^-43 size + 2^-49 distance of `distance`
//   feet, crossings   a query and the poles are taken as known to some roundings: what is listed is
//                 every place where the function whose zeros are looked for differs in sign on both
//                 sides or comes as near to zero as that, once, with an interval that holds it
//
// Method. The derivative of |C(t) - p|^2 has the numerator g = (X - p w) . (X' w - X w') for
// C = X / w, a polynomial of degree 3 n - 2 (2 n - 1 without weights) that is affine in p: its
// Bernstein coefficients are tabulated as affine functions of p (for X' w - X w' see Sederberg and
// Wang, Rational hodographs, CAGD 4, 1987). Their signs isolate all feet on a piece by Descartes'
// rule (Lane and Riesenfeld, Bounds on a polynomial, BIT 21, 1981); a bound of g bounds the loss of
// the squared distance wherever a sign is uncertain. Pieces that are too far are left out by the
// distances of boxes.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/dimension.h"
#include "velm/frame/info_point.h"
#include "velm/frame/interval.h"

#include <memory>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

namespace velm {

namespace detail {
template <int N>
struct PreparedPieces;
}

/// The types of the plane (N = 2) or of space (N = 3).
template <int N>
using DimensionOf = std::conditional_t<N == 2, Plane, Space>;

/// A place on a prepared curve: its parameter, and the piece with that piece's parameter in [0, 1].
struct CurvePlace {
    double t = 0.0;
    int piece = 0;
    double u = 0.0;
};

enum class FootKind {
    interior,  ///< inside the curve, the tangent being continuous there
    end,       ///< an end of an open curve, or of a part that doesn't meet the next one
    kink,      ///< a joint where the tangent turns by more than 1e-9
    cusp,      ///< a place where the derivative vanishes
    continuum, ///< one of a whole piece of points that are equally far, as from the centre of an
               ///< arc
};

/// The nearest point of a curve.
template <int N>
struct NearestPoint : CurvePlace {
    typename DimensionOf<N>::Point point;
    double distance = 0.0;
    FootKind kind = FootKind::interior;
    /// No point of the curve is nearer than this; 0 <= lower <= distance.
    double lower = 0.0;
    /// Whether `lower` has come as near to `distance` as promised. If not, the budget ended, the
    /// point isn't finite, or the poles' own rounding is more than that, as where all heavy poles
    /// are far from the curve: none of 6 10^6 random points of curves whose weights spread over two
    /// decades.
    bool certified = false;
};

/// A place where the distance of a point is stationary along the curve.
template <int N>
struct CurveFoot : CurvePlace {
    typename DimensionOf<N>::Point point;
    double distance = 0.0;
    FootKind kind = FootKind::interior;
    /// Holds the parameter of the foot; all the feet of a continuum. The end is below the start
    /// where the interval runs through the seam of a closed curve.
    ERLimites parameters;
    /// The distance has a minimum (-1 before, +1 after), a maximum (+1, -1) or neither (equal
    /// signs): the signs of its derivative on both sides, 0 beyond an end of the curve.
    int before = 0;
    int after = 0;
};

/// A place where a curve meets a line (N = 2) or a plane (N = 3).
template <int N>
struct CurveCrossing : CurvePlace {
    typename DimensionOf<N>::Point point;
    /// Holds the parameter of the crossing; all of a piece that runs along the line or plane.
    ERLimites parameters;
    /// The sides of the curve before and after, +1 being left of the line's direction or the side
    /// of the plane's normal, 0 beyond an end of the curve. Equal signs: it touches.
    int before = 0;
    int after = 0;
    /// Whether whole pieces lie in the line or plane.
    bool along = false;
};

/// What a prepared curve is built from: a rational Bezier piece over a parameter interval.
struct BezierPiece {
    /// N + 1 doubles a pole: the weighted coordinates about the origin given to from_pieces, then
    /// the weight.
    std::span<const double> poles;
    double start = 0.0;
    double end = 1.0;
};

/// How the parameter of a piece depends on its u in [0, 1].
enum class PieceParameter {
    linear,  ///< start + u (end - start)
    angular, ///< the angle on an arc of at most half a turn, weights 1, cos(half the angle), 1
};

/// A piece of a prepared curve, as intersection and tessellation want it.
template <int N>
struct CurvePiece {
    /// N + 1 doubles a pole: coordinates relative to the origin, times the weight; the weight. All
    /// weights are positive and the greatest is in [0.5, 1].
    std::span<const double> poles;
    int degree = 0;
    bool rational = false; ///< false: all weights are 1
    typename DimensionOf<N>::Point origin;
    ERLimites parameters;
};

template <int N>
class VELM_API PreparedCurve {
public:
    using Point = typename DimensionOf<N>::Point;
    using Vector = typename DimensionOf<N>::Vector;
    using Box = typename DimensionOf<N>::Box;
    using InfoPoint = typename DimensionOf<N>::InfoPoint;

    /// Of higher degree no curve is prepared.
    static constexpr int max_degree = 32;
    /// The pieces and halves that one `nearest` examines before it gives up the certificate.
    static constexpr int default_budget = 1 << 20;

    /// A curve of pieces, in order: each starts at the parameter where the one before it ends,
    /// while their points may differ. Nothing if there is no piece, a degree is below 1 or above
    /// max_degree, a value isn't finite, an interval is empty, or a weight function vanishes, so
    /// that the curve isn't finite.
    static std::optional<PreparedCurve>
    from_pieces(std::span<const BezierPiece> pieces, const Point& origin = Point(),
                PieceParameter parameter = PieceParameter::linear);

    PreparedCurve(const PreparedCurve& other);
    PreparedCurve(PreparedCurve&& other) noexcept;
    PreparedCurve& operator=(PreparedCurve other) noexcept;
    ~PreparedCurve();

    ERLimites domain() const;
    /// Whether the ends agree to rounding, so that they are a joint like others.
    bool closed() const;
    /// Holds the curve, some roundings larger than the boxes of the pieces' poles.
    Box box() const;
    /// The diagonal of box().
    double size() const;

    /// The number of pieces, and each of them.
    int pieces() const;
    CurvePiece<N> piece(int i) const;
    /// The tree of boxes: the node `i` of a level holds the pieces from i 8^level on, at most
    /// 8^level of them. Level 0 holds the pieces' own boxes, the last level at most 8 nodes.
    int levels() const;
    int nodes(int level) const;
    Box node_box(int level, int i) const;

    /// The place of a parameter; t is clamped to the domain. A joint belongs to the piece after it.
    CurvePlace place(double t) const;
    Point operator()(double t) const;
    /// The point with its derivatives by t; at a kink those of the piece after it.
    InfoPoint point_at(double t) const;
    InfoPoint point_at(const CurvePlace& place) const;
    /// The points at many parameters, quickest in ascending order. `points` is as long as `t`, and
    /// `first` and `second`, the derivatives by t, are as long or empty.
    void evaluate(std::span<const double> t, std::span<Point> points, std::span<Vector> first = {},
                  std::span<Vector> second = {}) const;

    /// The nearest point; of several equally near ones (within the accuracy of the certificate) one
    /// of them, the same at each call. A hint is the parameter of a point that is expected to be
    /// near: it changes the time, and the choice among equally near points, not the certificate.
    NearestPoint<N> nearest(const Point& p, int budget = default_budget) const;
    NearestPoint<N> nearest_from(const Point& p, double hint, int budget = default_budget) const;

    /// Every place where the distance of p is stationary: the feet of perpendiculars, the joints
    /// where its derivative changes sign, cusps; an end of an open curve if p lies perpendicular
    /// above it. In the order of the parameter, each once, whether or not it lies on a joint. Feet
    /// that rounding can't tell apart are one.
    void perpendicular_feet(const Point& p, std::vector<CurveFoot<N>>& feet) const;

    /// Every place where the curve meets the line through q along `direction` (N = 2) or the plane
    /// through q with the normal `direction` (N = 3), in the order of the parameter, each once.
    /// None if the direction is zero or not finite.
    void crossings(const Point& q, const Vector& direction,
                   std::vector<CurveCrossing<N>>& crossings) const;

    /// The tables that all this is computed from, for algorithms of the library.
    const detail::PreparedPieces<N>& tables() const { return *pieces_; }

private:
    friend struct detail::PreparedPieces<N>;
    explicit PreparedCurve(std::unique_ptr<const detail::PreparedPieces<N>> pieces);

    std::unique_ptr<const detail::PreparedPieces<N>> pieces_;
};

extern template class PreparedCurve<2>;
extern template class PreparedCurve<3>;

} // namespace velm
