// clip_reports.h: the pieces of clipped polylines as text and as JSON.
#pragma once

#include "inspect/base/output_set.h"
#include "inspect/result/clip_result.h"

namespace velm::inspect {

/// One point per line, a comment before each piece, pieces separated by blank lines: a file of
/// polylines again.
void write_clip_text(Output& output, const ClipResult& result);

/// {"velm":...,"command":"clip","region":...,"polyline":...,"pieces":[{"polyline":0,"length":...,
/// "points":[[x,y],...]},...],"summary":{"polylines":...,"pieces":...,"length_inside":...,
/// "length":...}}; doubles read back exactly. The form is fixed.
void write_clip_json(Output& output, const ClipResult& result);

} // namespace velm::inspect
