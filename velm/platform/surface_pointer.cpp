#include "velm/platform/surface_pointer.h"

tqkSurf::~tqkSurf() = default;
