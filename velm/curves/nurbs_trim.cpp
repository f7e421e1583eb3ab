// NURBS curves cut or continued to other ends.
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_trim.h"
#include "velm/curves/knot.h"
#include "velm/curves/nurbs_curve.h"

namespace velm::detail {

namespace {

// The poles of a curve as SplineTrim sees them.
template <class Pole>
class CurvePoles {
public:
    explicit CurvePoles(ERVec<Pole>& poles) : poles_(poles) {}

    bool insert(ERKnotVector& knots, double t, int r) {
        return insert_knot(poles_, knots, knots.degree(), t, r);
    }
    void keep(int first, int count) {
        poles_.resize(first + count);
        poles_.remove(0, first);
    }
    template <class F>
    void for_windows(int first, int count, F f) {
        f(row_of(poles_.writable().subspan(std::size_t(first), std::size_t(count))));
    }

private:
    ERVec<Pole>& poles_;
};

} // namespace

template <class D>
void NurbsCurve<D>::adjust() {
    const ERLimites natural = this->domain, trim = this->bound;
    if (trim == natural || !has_extent() || !(trim.start() < trim.end())) return;
    this->ResetCachedInfo();
    SplineTrim(CurvePoles(poles), knots).move_ends(natural, trim);
    this->domain = trim;
}

template <class D>
void NurbsCurve<D>::clamp() {
    SplineTrim(CurvePoles(poles), knots).clamp();
    take_limits_of_knots();
}

template void NurbsCurve<Plane>::adjust();
template void NurbsCurve<Space>::adjust();
template void NurbsCurve<Plane>::clamp();
template void NurbsCurve<Space>::clamp();

} // namespace velm::detail
