// ERBoundedSurface: surfaces with natural limits and working limits of both parameters.
#pragma once

#include "velm/surfaces/any_bounded_surface.h"

/// A surface with natural limits, those of its definition, and working limits, those of a trim,
/// from which udeb and its like answer. Trimming costs nothing until adjust() bakes it in. All
/// limits are [0, 1] by default.
class VELM_API ERBoundedSurface : public ERAnyBoundedSurface {
    VELM_DECLARE_CLASS(ERBoundedSurface)

public:
    ERBoundedSurface() = default;
    /// Untrimmed.
    ERBoundedSurface(const ERLimites& u, const ERLimites& v)
        : natural_u(u), natural_v(v), working_u(u), working_v(v) {}

    double udeb() const override;
    double ufin() const override;
    double vdeb() const override;
    double vfin() const override;
    ERLimites getBoundU() const override;
    ERLimites getBoundV() const override;

    /// The ends of the natural limits.
    virtual double NUdeb() const;
    virtual double NUfin() const;
    virtual double NVdeb() const;
    virtual double NVfin() const;
    /// Sets the working limits and drops the grid.
    virtual void setBound(const ERLimites& u, const ERLimites& v);
    /// Makes the natural limits equal to the working ones.
    virtual void adjust();
    /// Set the working limits named, then adjust(); drop the grid.
    virtual void redefineDomainU(const ERLimites& u);
    virtual void redefineDomainV(const ERLimites& v);
    virtual void redefinedDomain(const ERLimites& u, const ERLimites& v);

    using ERAnyBoundedSurface::SplitInU;
    using ERAnyBoundedSurface::SplitInV;
    /// Two copies with the working limits on either side; the natural ones are unchanged. 0 for a
    /// parameter outside the closed limits: at an end, one part has no extent.
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double v) const override;

    /// Exchanges the limits of U and V, natural and working, and transposes the grid. A derived
    /// class exchanges what its parameters mean; on a cylinder, cone, sphere or torus nothing does,
    /// so that the surface changes: part of the contract.
    void reverse() override;

    /// The four pairs of limits.
    void printOn(std::ostream& out) const override;
    /// The natural limits of U and V, then the working ones: eight doubles.
    VELM_DECLARE_STORED_FORM();

protected:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.natural_u, self.natural_v, self.working_u, self.working_v);
    }

    ERLimites natural_u{0.0, 1.0};
    ERLimites natural_v{0.0, 1.0};
    // A reader may shift the working limits by whole turns, see ERBoundedTorus::getBox.
    mutable ERLimites working_u{0.0, 1.0};
    mutable ERLimites working_v{0.0, 1.0};

private:
    int split_along(int axis, t_SmartPtr<ERAnyBoundedSurface>& a,
                    t_SmartPtr<ERAnyBoundedSurface>& b, double x) const;
};
