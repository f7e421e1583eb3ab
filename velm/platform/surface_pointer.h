// tqkSurf, tqkSurfPtr: a surface of the host's kernel library, and a shared pointer to one.
#pragma once

#include "velm/export.h"
#include "velm/platform/shared_reference.h"

/// The root of the kernel's surfaces.
class VELM_API tqkSurf {
public:
    virtual ~tqkSurf();

protected:
    tqkSurf() = default;
    tqkSurf(const tqkSurf&) = default;
    tqkSurf& operator=(const tqkSurf&) = default;
};

/// A shared surface, or none.
class VELM_API tqkSurfPtr : public utRef<tqkSurf> {
public:
    using utRef::utRef;
};
