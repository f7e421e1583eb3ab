// ERSurfaceBasedOnTransfo3D: surfaces whose geometry is given in a frame of their own.
#pragma once

#include "velm/surfaces/surface.h"
#include "velm/transforms/transformation_handle.h"

/// A surface in a frame. Moving the surface moves the frame.
class VELM_API ERSurfaceBasedOnTransfo3D : public virtual ERSurface {
    VELM_DECLARE_CLASS(ERSurfaceBasedOnTransfo3D)

public:
    const ERPmIsometrie3D& getMatrix() const { return frame; }
    /// The frame's z axis.
    ERVector3D getNormale() const { return frame.getVector(Coord3D_Z); }

    /// The frame.
    VELM_DECLARE_STORED_FORM();

protected:
    ERSurfaceBasedOnTransfo3D() = default;
    explicit ERSurfaceBasedOnTransfo3D(const ERPmIsometrie3D& placed) : frame(placed) {}

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.frame);
    }

    ERPmIsometrie3D frame;
};
