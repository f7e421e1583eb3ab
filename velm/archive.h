// velm/archive.h: to write values, targets, identifiers and selections into a host's document by
// CArchive, and to read them back.
#pragma once

#include "velm/frame/value_archive.h"
#include "velm/measure/cad_object_id.h"
#include "velm/measure/persistent_values.h"
#include "velm/measure/selection_flags.h"
#include "velm/measure/target_point.h"
#include "velm/numerics/matrix_archive.h"
#include "velm/platform/archive.h"
#include "velm/platform/archive_exception.h"
#include "velm/platform/file.h"
#include "velm/platform/file_exception.h"
#include "velm/transforms/transformation_archive.h"
