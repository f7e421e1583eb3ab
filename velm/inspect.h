// velm/inspect.h: to judge measured points and to keep an inspection. Profiles of outlines, rows
// and heads with their tolerance and figures, their records in an object file and their archive,
// both read again.
#pragma once

#include "velm/inspection/fit_result.h"
#include "velm/inspection/inspection_archive.h"
#include "velm/inspection/inspection_records.h"
#include "velm/inspection/kept_fit.h"
#include "velm/inspection/section_result.h"
#include "velm/inspection/section_target.h"
#include "velm/inspection/summary.h"
#include "velm/inspection/surface_result.h"
#include "velm/inspection/surface_target.h"
#include "velm/inspection/target_result.h"
#include "velm/planar/outline_checks.h"
#include "velm/planar/outline_nesting.h"
#include "velm/planar/profile.h"
#include "velm/store/store_batch.h"
