#include "frame/circle_curve.h"

namespace velm_test {

VELM_DEFINE_CLASS(CircleCurve2D, ERTrimmedEntity2DWF)
VELM_DEFINE_CLASS(CircleCurve3D, ERTrimmedEntity3DWF)

} // namespace velm_test
