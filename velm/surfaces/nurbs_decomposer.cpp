#include "velm/surfaces/nurbs_decomposer.h"

#include "velm/surfaces/detail/pole_grid.h"
#include "velm/surfaces/nurbs_surface.h"

#include <algorithm>

using velm::detail::Axis;

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

} // namespace

Nurbs3DToBezier3DRDecomposer::Nurbs3DToBezier3DRDecomposer(const ERSpoleNURBS3D& surface)
    : degree_u_(surface.degreeU()), degree_v_(surface.degreeV()) {
    if (surface.isValid() == 0) return;
    const ERMatrix<ERPole3DH> along_u =
        velm::detail::bezier_pieces(surface.poles(), surface.knotVectorU(), Axis::u, ends_u_);
    poles_ = velm::detail::bezier_pieces(along_u, surface.knotVectorV(), Axis::v, ends_v_);
    patches_.resize(at(nu()) * at(nv()));
}

Nurbs3DToBezier3DRDecomposer::Nurbs3DToBezier3DRDecomposer(
    const Nurbs3DToBezier3DRDecomposer& other)
    : poles_(other.poles_), degree_u_(other.degree_u_), degree_v_(other.degree_v_),
      ends_u_(other.ends_u_), ends_v_(other.ends_v_), patches_(other.patches_.size()) {
    for (std::size_t k = 0; k < patches_.size(); ++k)
        if (other.patches_[k]) patches_[k] = new ERSpoleBezier3DR(*other.patches_[k]);
}

t_SmartPtr<ERSpoleBezier3DR> Nurbs3DToBezier3DRDecomposer::Bezier(int i, int j) const {
    if (i < 0 || i >= nv() || j < 0 || j >= nu()) return {};
    t_SmartPtr<ERSpoleBezier3DR>& patch = patches_[at(i) * at(nu()) + at(j)];
    if (!patch) {
        const int rows = degree_v_ + 1, columns = degree_u_ + 1;
        ERMatrix<ERPole3DH> own = ERMatrix<ERPole3DH>::unfilled(rows, columns);
        ERPole3DH* to = own.writable().data();
        for (int row = 0; row < rows; ++row, to += columns)
            std::copy_n(poles_.row(rows * i + row).data() + columns * j, columns, to);
        patch = new ERSpoleBezier3DR(own, ERLimites(ends_u_[j], ends_u_[j + 1]),
                                     ERLimites(ends_v_[i], ends_v_[i + 1]));
    }
    return patch;
}

Nurbs3DToBezier3DRDecomposer* Nurbs3DToBezier3DRDecomposer::getCopy() const {
    return new Nurbs3DToBezier3DRDecomposer(*this);
}

template <class Map>
void Nurbs3DToBezier3DRDecomposer::map(Map f) {
    // The poles by the same operation, as one large patch.
    ERSpoleBezier3DR all(poles_);
    f(all);
    poles_ = all.poles();
    for (const auto& patch : patches_)
        if (patch) f(*patch);
}

void Nurbs3DToBezier3DRDecomposer::scale(double s) {
    map([s](ERSpoleBezier3DR& patch) { patch.scale(s); });
}

void Nurbs3DToBezier3DRDecomposer::translate(const ERPoint3D& v) {
    map([by = v](ERSpoleBezier3DR& patch) { patch.translate(by); });
}

void Nurbs3DToBezier3DRDecomposer::transformFrom(const ERPmSimilitude3D& t) {
    map([&t](ERSpoleBezier3DR& patch) { patch.transformFrom(t); });
}

void Nurbs3DToBezier3DRDecomposer::transformFrom(const ERPmIsometrie3D& t) {
    map([&t](ERSpoleBezier3DR& patch) { patch.transformFrom(t); });
}

void Nurbs3DToBezier3DRDecomposer::transformTo(const ERPmSimilitude3D& t) {
    map([&t](ERSpoleBezier3DR& patch) { patch.transformTo(t); });
}

void Nurbs3DToBezier3DRDecomposer::transformTo(const ERPmIsometrie3D& t) {
    map([&t](ERSpoleBezier3DR& patch) { patch.transformTo(t); });
}

void Nurbs3DToBezier3DRDecomposer::reverse() {
    map([](ERSpoleBezier3DR& patch) { patch.reverse(); });
    std::vector<t_SmartPtr<ERSpoleBezier3DR>> turned(patches_.size());
    for (int i = 0; i < nv(); ++i)
        for (int j = 0; j < nu(); ++j)
            turned[at(j) * at(nv()) + at(i)] = patches_[at(i) * at(nu()) + at(j)];
    patches_.swap(turned);
    std::swap(degree_u_, degree_v_);
    ends_u_.swap(ends_v_);
}
