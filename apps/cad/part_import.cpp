#include "cad/part_import.h"

#include "cad/cad_document.h"
#include "cad/face_conversion.h"
#include "inspect/base/failure.h"

#include <algorithm>
#include <filesystem>

namespace velm::cad {

namespace {

bool is_below(const std::string& path, const std::string& part) {
    return path.starts_with(part) &&
           (path.size() == part.size() || part.ends_with('/') || path[part.size()] == '/');
}

// Those asked for; each path must lead somewhere.
std::vector<CadFace> chosen(std::vector<CadFace> faces, const std::vector<std::string>& parts) {
    if (parts.empty()) return faces;
    for (const std::string& part : parts)
        if (std::none_of(faces.begin(), faces.end(),
                         [&](const CadFace& face) { return is_below(face.path, part); }))
            throw inspect::Failure(inspect::FailureKind::input,
                                   "--part " + part + ": no face is below it; the first face is " +
                                       faces.front().path);
    std::erase_if(faces, [&](const CadFace& face) {
        return std::none_of(parts.begin(), parts.end(),
                            [&](const std::string& part) { return is_below(face.path, part); });
    });
    return faces;
}

} // namespace

NominalPart import_part(const std::string& source, const std::vector<std::string>& parts) {
    CadDocument document = read_cad(source);
    NominalPart part;
    part.source = std::filesystem::path(source).filename().string();
    part.format = document.format;
    part.file_unit = document.file_unit;
    for (const long entity : document.lost)
        part.left_out.push_back({"/entity " + std::to_string(entity), entity,
                                 "the file's record of it can't be made into a face"});
    for (const CadFace& from : chosen(std::move(document.faces), parts)) {
        const ConvertedFace face = convert_face(from);
        if (!face.surface) {
            part.left_out.push_back({from.path, from.entity, face.why});
            continue;
        }
        part.largest_gap = std::max(part.largest_gap, face.gap);
        part.faces.push_back(
            {from.path, face.surface, from.colour, from.layer, from.entity, from.bounds_a_solid});
    }
    return part;
}

} // namespace velm::cad
