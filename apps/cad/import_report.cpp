#include "cad/import_report.h"

#include "inspect/base/text_escape.h"
#include "velm/version.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

namespace velm::cad {

namespace {

using Json = nlohmann::ordered_json;

// The colour as CSS has it.
Json colour_of(const NominalFace& face) {
    if (!face.colour) return nullptr;
    char text[8];
    std::snprintf(text, sizeof text, "#%06lx", *face.colour & 0xFFFFFFul);
    return text;
}

Json text_or_null(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json entity_of(long entity) { return entity == 0 ? Json(nullptr) : Json(entity); }

long open_sides(const NominalPart& part) {
    return std::count_if(part.faces.begin(), part.faces.end(),
                         [](const NominalFace& face) { return !face.bounds_a_solid; });
}

} // namespace

std::string import_json(const NominalPart& part) {
    Json report;
    report["velm"] = VELM_VERSION_STRING;
    report["command"] = "cad-import";
    report["source"] = part.source;
    report["format"] = part.format;
    report["file_unit"] = text_or_null(part.file_unit);
    report["unit"] = "mm";
    report["largest_gap"] = part.largest_gap;
    report["faces"] = Json::array();
    for (const NominalFace& face : part.faces)
        report["faces"].push_back({{"face", face.path},
                                   {"entity", entity_of(face.entity)},
                                   {"surface", surface_kind(*face.surface)},
                                   {"outward", outward_side(*face.surface)},
                                   {"bounds_a_solid", face.bounds_a_solid},
                                   {"colour", colour_of(face)},
                                   {"layer", text_or_null(face.layer)}});
    report["left_out"] = Json::array();
    for (const LeftOutFace& face : part.left_out)
        report["left_out"].push_back(
            {{"face", face.path}, {"entity", entity_of(face.entity)}, {"reason", face.reason}});
    // Names in a file may be in any encoding.
    return report.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string summary_text(const NominalPart& part, const std::string& result) {
    std::map<std::string_view, int> kinds;
    for (const NominalFace& face : part.faces)
        ++kinds[surface_kind(*face.surface)];
    std::string text = inspect::terminal_text(result) + ": " + std::to_string(part.faces.size()) +
                       " faces of " + inspect::terminal_text(part.source) + " (" + part.format +
                       (part.file_unit.empty() ? "" : ", " + part.file_unit) + ", now mm)\n";
    for (const auto& [kind, count] : kinds)
        text += "  " + std::to_string(count) + " " + std::string(kind) + "\n";
    char gap[32];
    std::snprintf(gap, sizeof gap, "%.3g", part.largest_gap);
    text += "  largest gap " + std::string(gap) + " mm\n";
    if (const long open = open_sides(part))
        text += "  " + std::to_string(open) +
                " faces bound no solid: their outside is the side that the file gives them\n";
    if (!part.left_out.empty())
        text += "  " + std::to_string(part.left_out.size()) + " faces left out\n";
    return text;
}

std::string left_out_text(const LeftOutFace& face) {
    const std::string entity =
        face.entity == 0 ? "" : " (entity " + std::to_string(face.entity) + ")";
    return "face " + face.path + entity + " is left out: " + face.reason;
}

} // namespace velm::cad
