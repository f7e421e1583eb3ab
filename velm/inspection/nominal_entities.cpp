#include "velm/inspection/nominal_entities.h"

#include "velm/wireframe/segment.h"

#include <filesystem>

namespace velm {
namespace {

// A level of a group's path, in which no slash may separate names.
utString level_name(std::string name) {
    utString level(std::move(name));
    gm_replace_name_slashes(level);
    return level;
}

std::string model_name(const std::string& title, const std::string& file) {
    return title.empty() ? std::filesystem::path(file).filename().string() : title;
}

CADObjectID named_object(int number, const gmCADGroupStructure& group, const char* type,
                         int sub_number, const std::string& file) {
    const stoClass of{utString(type)};
    CADObjectID identifier(static_cast<unsigned long>(number), group, &of,
                           static_cast<unsigned long>(sub_number));
    identifier.set_name_space(gmIDNameSpace(gmNSTypeFile, utString(file)));
    return identifier;
}

} // namespace

std::string contour_name(const Outline& outline, int contour) {
    const std::string kind = outline.is_hole[static_cast<std::size_t>(contour)] ? "hole" : "outer";
    return contour == 0 && kind == "outer" ? kind : kind + " " + std::to_string(contour);
}

NominalEntities::NominalEntities(const Outline& outline, const std::string& title,
                                 const std::string& file)
    : outline_(outline), file_(file) {
    const utString model = level_name(model_name(title, file));
    for (std::size_t contour = 0; contour < outline.contours.size(); ++contour) {
        gmCADGroupStructure group;
        group.start_group(model);
        group.start_group(level_name(contour_name(outline, static_cast<int>(contour))));
        groups_.push_back(std::move(group));
    }
}

t_SmartPtr<ERObject> NominalEntities::entity(int contour, int edge) const {
    const Contour& of = outline_.contours[static_cast<std::size_t>(contour)];
    if (const CurveEdge* const curve = of.curve(edge))
        return t_SmartPtr<ERObject>(new ERCpoleNURBS2D(curve->nurbs()));
    const ERArc2D* const arc = of.arc(edge);
    if (arc == nullptr) return t_SmartPtr<ERObject>(new ERSegment2D(of[edge], of[edge + 1]));
    if (of.size() == 1) return t_SmartPtr<ERObject>(new ERCircle2D(arc->center(), arc->radius()));
    return t_SmartPtr<ERObject>(new ERArc2D(*arc));
}

CADObjectID NominalEntities::identifier(int contour, int edge) const {
    return named_object(contour, groups_[static_cast<std::size_t>(contour)],
                        entity(contour, edge)->className(), edge, file_);
}

CADObjectID nominal_point(const TargetHead& head, int row) {
    gmCADGroupStructure group;
    group.start_group(utString(std::filesystem::path(head.table_name()).filename().string()));
    return named_object(0, group, "ERPoint3D", row, head.table);
}

} // namespace velm
