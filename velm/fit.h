// velm/fit.h: to fit lines, planes and circles through measured points.
#pragma once

#include "velm/measure/best_fit.h"
#include "velm/measure/fitted_entities.h"
#include "velm/measure/orthogonal_fit.h"
#include "velm/measure/point_sets.h"
