#include "velm/frame/math_utils.h"

constinit const double equalityTolerance = 1e-11;
