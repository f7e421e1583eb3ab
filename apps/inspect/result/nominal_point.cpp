#include "inspect/result/nominal_point.h"

#include <filesystem>

namespace velm::inspect {

CADObjectID nominal_point(const TargetHead& head, int row) {
    gmCADGroupStructure group;
    group.start_group(utString(std::filesystem::path(head.table_name()).filename().string()));
    const stoClass type(utString("ERPoint3D"));
    CADObjectID identifier(0, group, &type, static_cast<unsigned long>(row));
    identifier.set_name_space(gmIDNameSpace(gmNSTypeFile, utString(head.table)));
    return identifier;
}

} // namespace velm::inspect
