// ERPoint23: a point of a surface with its parameters. ERPoint23List: a list of them. ERVecPoint23:
// such a list as a persistent object.
#pragma once

#include "velm/frame/object.h"
#include "velm/frame/point.h"
#include "velm/frame/pooled_list.h"
#include "velm/frame/vec.h"

/// A point in space and its parameters (u, v) on a surface.
class VELM_API ERPoint23 {
public:
    ERPoint3D point;
    ERPoint2D parameters;
};

/// Sampled points of a surface.
class VELM_API ERPoint23List : public velm::detail::PooledList<ERPoint23> {
public:
    /// Adds a point at the end.
    void append(const ERPoint3D& point, const ERPoint2D& parameters);

    /// Inserts points of the surface at the middles of parameters until the middle of each piece is
    /// within tol of its chord, as ERPoint13List::Smash does. Pieces whose lengths in u and in v
    /// are at most 1e-6 of the surface's limits are not split. Defined in
    /// surfaces/points_on_surface.cpp.
    void Smash(const ERAnyBoundedSurface& surface, double tol);

    /// The points, and their parameters, in order.
    ERVec<ERPoint3D> toVec() const;
    ERVec<ERPoint2D> toVec2D() const;
};

/// Holds the points and parameters of a list as two arrays. Stored form: the array of points, then
/// that of parameters.
class VELM_API ERVecPoint23 : public ERObject {
    VELM_DECLARE_CLASS(ERVecPoint23)

public:
    ERVecPoint23() = default;
    explicit ERVecPoint23(const ERPoint23List& list);
    ERVecPoint23(const ERVec<ERPoint3D>& points, const ERVec<ERPoint2D>& parameters);

    int entries() const { return points_.size(); }
    const ERVec<ERPoint3D>& toVec() const { return points_; }
    const ERVec<ERPoint2D>& toVec2D() const { return parameters_; }

    /// 1 if every point has its parameters.
    int isValid() const override;
    ERObject* getCopy() const override;
    /// A line for each point: the point, a blank and its parameters.
    void printOn(std::ostream& out) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.points_, self.parameters_);
    }

    ERVec<ERPoint3D> points_;
    ERVec<ERPoint2D> parameters_;
};
