// Nurbs3DToBezier3DRDecomposer: a NURBS surface as Bezier patches.
#pragma once

#include "velm/frame/smart_pointer.h"
#include "velm/frame/vec.h"
#include "velm/surfaces/bezier_surface.h"

#include <vector>

/// The spans of a NURBS surface that are not empty as patches, each a surface once it is asked for.
/// All work on knots is done by the constructor.
class VELM_API Nurbs3DToBezier3DRDecomposer {
public:
    /// Of the whole surface, trimmed or not. No patches of a surface that isn't valid.
    explicit Nurbs3DToBezier3DRDecomposer(const ERSpoleNURBS3D& surface);
    Nurbs3DToBezier3DRDecomposer(const Nurbs3DToBezier3DRDecomposer& other);
    Nurbs3DToBezier3DRDecomposer& operator=(const Nurbs3DToBezier3DRDecomposer& other) = delete;

    /// The numbers of patches along U and V.
    int nu() const { return std::max(ends_u_.size() - 1, 0); }
    int nv() const { return std::max(ends_v_.size() - 1, 0); }
    /// Patch i along V, j along U, over its spans; the same object each time. Null out of range.
    t_SmartPtr<ERSpoleBezier3DR> Bezier(int i, int j) const;

    /// A new object; its patches are its own.
    Nurbs3DToBezier3DRDecomposer* getCopy() const;

    /// Map the poles, and the patches that have been asked for.
    void scale(double s);
    void translate(const ERPoint3D& v);
    void transformFrom(const ERPmSimilitude3D& t);
    void transformFrom(const ERPmIsometrie3D& t);
    void transformTo(const ERPmSimilitude3D& t);
    void transformTo(const ERPmIsometrie3D& t);
    /// Exchanges U and V.
    void reverse();

private:
    template <class Map>
    void map(Map f);

    ERMatrix<ERPole3DH> poles_; ///< patch beside patch
    int degree_u_ = 0;
    int degree_v_ = 0;
    ERVec<double> ends_u_, ends_v_; ///< the knots between which the patches are
    mutable std::vector<t_SmartPtr<ERSpoleBezier3DR>>
        patches_; ///< row by row, null until asked for
};
