// velm/part.h: to ask the faces of a part. Prepared faces, nearest points with distances signed by
// the material, the edges that faces share, one mesh of all faces, and parts in object files.
#pragma once

#include "velm/inspection/nominal_part.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/face_projector.h"
#include "velm/surfaces/face_tessellation.h"
#include "velm/surfaces/part_edges.h"
#include "velm/surfaces/part_tessellation.h"
#include "velm/surfaces/prepared_face.h"
#include "velm/surfaces/prepared_part.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/polyline.h"
