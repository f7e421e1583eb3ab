#include "velm/numerics/polynomial_derivatives.h"

ERTValVector<ERPolynome> getAllDerivate(const ERPolynome& p) {
    ERTValVector<ERPolynome> derivatives(p.degree() + 1);
    derivatives[0] = p;
    for (int k = 1; k < derivatives.length(); ++k)
        derivatives[k] = derivatives[k - 1].getDerived(1);
    return derivatives;
}
