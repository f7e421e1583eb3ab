// velm/align.h: to bring measured points onto their nominal places by the best rigid motion.
#pragma once

#include "velm/measure/alignment.h"
#include "velm/measure/measured_point.h"
#include "velm/measure/target_point.h"
#include "velm/transform.h"
