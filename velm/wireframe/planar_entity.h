// ERPlanarEntity3DWF: wireframe entities of space that hold an entity of the plane in a frame.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/entity.h"
#include "velm/transforms/transformation_handle.h"

/// A frame, and in its plane z = 0 the entity of the plane that a subclass holds. Moving the entity
/// moves only the frame.
class VELM_API ERPlanarEntity3DWF : public virtual EREntity3DWF {
    VELM_DECLARE_CLASS(ERPlanarEntity3DWF)

public:
    const ERPmIsometrie3D& getRepere() const { return frame_; }
    /// The frame's z axis.
    ERVector3D normale() const { return frame_.getVector(Coord3D_Z); }

    /// Multiplies the frame's origin; the axes are unchanged. The subclass scales its entity of the
    /// plane.
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    /// An isometry moves the frame. A similarity gives the frame whose x and y axes are the images
    /// of the old ones, and the subclass scales its entity of the plane by the ratio of lengths, so
    /// that every point goes where the map takes it.
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// Turns the frame half round about the x axis of space. Part of the contract: the entity
    /// moves, except if this half turn maps it to itself.
    void reverse() override;

    /// The frame.
    void printOn(std::ostream& out) const override;
    /// The frame: its matrix, translation and factor.
    VELM_DECLARE_STORED_FORM();

protected:
    ERPlanarEntity3DWF() = default;
    explicit ERPlanarEntity3DWF(const ERPmIsometrie3D& frame) : frame_(frame) {}

    void setTransfo(const ERPmIsometrie3D& frame) { frame_ = frame; }
    /// The box of the corners of a flat box.
    ERMinimax3D transform(const ERMinimax2D& box) const;
    /// Scales the entity of the plane about the frame's origin; the default does nothing.
    virtual void scale_flat(double ratio);

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.frame_);
    }

    ERPmIsometrie3D frame_;
};

namespace velm::detail {

/// A point and a vector of the plane z = 0 of a frame.
VELM_API ERPoint3D lifted(const ERPmIsometrie3D& frame, const ERPoint2D& p);
VELM_API ERVector3D lifted(const ERPmIsometrie3D& frame, const ERVector2D& v);

} // namespace velm::detail
