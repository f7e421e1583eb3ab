// ERLimitedEntity2DWF, ERLimitedEntity3DWF: curves with a stored natural domain.
// ERTrimmedEntity2DWF, ERTrimmedEntity3DWF: curves that also keep a trimmed part of it.
#pragma once

#include "velm/frame/finite_entity.h"

namespace velm::detail {

/// A curve of either dimension whose parameter runs over a stored domain.
template <class D>
class VELM_API LimitedEntity : public D::FiniteEntity {
public:
    /// Natural domain (0, 0).
    LimitedEntity() = default;
    explicit LimitedEntity(const ERLimites& natural) : domain(natural) {}

    double udeb() const override;
    double ufin() const override;
    ERLimites getBound() override;

    /// The start of the natural domain.
    virtual double Ndeb() const;
    /// The end of the natural domain.
    virtual double Nfin() const;
    /// Sets another natural domain for the same points.
    virtual void reparametrize(const ERLimites& natural);
    /// Makes the given interval the natural domain.
    virtual void redefineDomain(const ERLimites& natural);

    /// The natural domain: two doubles.
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

    /// Writes the line of the natural domain.
    void printOn(std::ostream& out) const override;

protected:
    ERLimites domain;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.domain);
    }
};

} // namespace velm::detail

/// A curve of the plane with a natural domain.
class VELM_API ERLimitedEntity2DWF : public velm::detail::LimitedEntity<velm::Plane> {
    VELM_DECLARE_CLASS(ERLimitedEntity2DWF)

public:
    using LimitedEntity::LimitedEntity;
};

/// A curve of space with a natural domain.
class VELM_API ERLimitedEntity3DWF : public velm::detail::LimitedEntity<velm::Space> {
    VELM_DECLARE_CLASS(ERLimitedEntity3DWF)

public:
    using LimitedEntity::LimitedEntity;
};

namespace velm::detail {

/// A curve of either dimension that is trimmed to a part of its natural domain. Trimming costs
/// nothing until adjust() makes it permanent.
template <class D>
class VELM_API TrimmedEntity : public D::LimitedEntity {
public:
    /// Both domains (0, 0).
    TrimmedEntity() = default;
    /// Untrimmed.
    explicit TrimmedEntity(const ERLimites& natural) : D::LimitedEntity(natural), bound(natural) {}
    TrimmedEntity(const ERLimites& natural, const ERLimites& trimmed)
        : D::LimitedEntity(natural), bound(trimmed) {}

    double udeb() const override;
    double ufin() const override;
    /// 1 if an end of the trimmed domain differs from the natural one, by exact comparison.
    int isTrimmed() const override;
    ERLimites getBound() override;

    /// Carries the trimmed domain over to the new natural one, at the same ratios.
    void reparametrize(const ERLimites& natural) override;
    /// setBound(natural), then adjust().
    void redefineDomain(const ERLimites& natural) override;

    /// Sets the trimmed domain and returns the old one.
    virtual ERLimites setBound(const ERLimites& trimmed);
    /// Makes the natural domain equal to the trimmed one.
    virtual void adjust();

    /// Mirrors the trimmed domain in the natural one. A derived class calls this and reverses its
    /// own data.
    void reverse() override;

    /// The natural domain, then the trimmed one: four doubles.
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

    /// Writes the lines of both domains.
    void printOn(std::ostream& out) const override;

protected:
    ERLimites bound;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.bound);
    }
};

} // namespace velm::detail

/// A trimmed curve of the plane.
class VELM_API ERTrimmedEntity2DWF : public velm::detail::TrimmedEntity<velm::Plane> {
    VELM_DECLARE_CLASS(ERTrimmedEntity2DWF)

public:
    using TrimmedEntity::TrimmedEntity;
};

/// A trimmed curve of space.
class VELM_API ERTrimmedEntity3DWF : public velm::detail::TrimmedEntity<velm::Space> {
    VELM_DECLARE_CLASS(ERTrimmedEntity3DWF)

public:
    using TrimmedEntity::TrimmedEntity;
};

extern template class velm::detail::LimitedEntity<velm::Plane>;
extern template class velm::detail::LimitedEntity<velm::Space>;
extern template class velm::detail::TrimmedEntity<velm::Plane>;
extern template class velm::detail::TrimmedEntity<velm::Space>;
