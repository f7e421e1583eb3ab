// BuildSlot in a plane of space; shape_recognition.h declares it.
#include "velm/surfaces/plane.h"
#include "velm/transforms/transformation_handle.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/shape_recognition.h"

int BuildSlot(const ERPlane& plane, const ERCircle3D& first, const ERCircle3D& second,
              ERArc3D& start, ERArc3D& end) {
    const ERPmIsometrie3D frame = plane.getTransfo();
    const auto flat = [&](const ERCircle3D& circle) {
        return ERCircle2D(frame.Project(circle.center()), circle.radius());
    };
    ERArc2D flat_start, flat_end;
    if (!BuildSlot(flat(first), flat(second), flat_start, flat_end)) return 0;
    start = ERArc3D(flat_start, frame);
    end = ERArc3D(flat_end, frame);
    return 1;
}
