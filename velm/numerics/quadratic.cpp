#include "velm/numerics/quadratic.h"

#include <cmath>

int EquationBiCarre(double a, double b, double c, double& x1, double& x2) {
    if (a == 0.0) {
        x1 = x2 = c == 0.0 ? 0.0 : -(b / c); // -(b / c), see the header
        return 1;
    }
    const double discriminant = b * b - 4 * a * c;
    if (0.0 > discriminant) return 0;
    const double root = std::sqrt(discriminant);
    x1 = (root - b) / (2 * a);
    x2 = (-b - root) / (2 * a);
    return 1;
}
