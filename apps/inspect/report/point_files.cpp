#include "inspect/report/point_files.h"

#include "inspect/base/text_escape.h"
#include "inspect/picture/surface_view.h"
#include "velm/version.h"

#include <array>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {
namespace {

constexpr double nothing = std::numeric_limits<double>::quiet_NaN();

// What both forms say about a point.
struct Values {
    double deviation = nothing, distance = nothing;
    std::int32_t face = -1;
    std::uint8_t verdict = 0;
};

Values values_of(const SurfaceRow& row, const SurfaceHead& head) {
    Values values;
    values.verdict = static_cast<std::uint8_t>(state_of(row, tolerance_of(row, head)));
    if (!row.found) return values;
    values.deviation = row.deviation;
    values.distance = row.found->distance;
    values.face = row.found->face;
    return values;
}

template <class Number>
std::string bytes_of(const Number& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::vector<std::int32_t> faces_of_corners(const NominalMesh& mesh) {
    std::vector<std::int32_t> faces(mesh.positions.size(), -1);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t)
        for (const int corner : mesh.triangles[t])
            faces[static_cast<std::size_t>(corner)] = mesh.face_of_triangle[t];
    return faces;
}

// What is said at the verdict of every output, a line each.
std::vector<std::string> remarks(const ReportHead& shown) {
    std::vector<std::string> lines{"velm-inspect " VELM_VERSION_STRING, shown.subtitle,
                                   shown.verdict.sentence};
    for (const auto& [name, value] : shown.lines)
        lines.push_back(name + ": " + value);
    lines.emplace_back("verdict: 0 no place, 1 not judged, 2 in tolerance, 3 above, 4 below");
    for (std::string& line : lines)
        line = clipped(terminal_text(line), 400);
    return lines;
}

// Two hyphens would end a comment.
std::string xml_comment(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += xml_text(line) + '\n';
    for (std::size_t at = 0; (at = text.find("--", at)) != std::string::npos;)
        text.replace(at, 2, "- -");
    return "<!--\n" + text + "-->\n";
}

} // namespace

void PlyReport::add(const SurfaceRow& row) {
    const Values values = values_of(row, head_);
    for (int axis = 0; axis < 3; ++axis)
        points_.put(row.measured[axis]);
    const ERVector3D normal = row.found ? row.found->normal : ERVector3D();
    for (int axis = 0; axis < 3; ++axis)
        points_.put(static_cast<float>(normal[axis]));
    points_.put(values.deviation);
    points_.put(values.distance);
    points_.put(values.face);
    points_.put(values.verdict);
    points_.put(static_cast<float>(values.deviation));
    ++count_;
}

void PlyReport::finish(const ReportHead& shown) {
    std::string header = "ply\nformat binary_little_endian 1.0\n";
    for (const std::string& line : remarks(shown))
        header += "comment " + line + '\n';
    for (std::size_t f = 0; f < head_.faces.size(); ++f)
        header += "comment face " + std::to_string(f) + " " +
                  clipped(terminal_text(head_.faces[f].path), 400) + '\n';
    header += "element vertex " + std::to_string(count_) + '\n';
    for (const char* const property : {"double x", "double y", "double z", "float nx", "float ny",
                                       "float nz", "double deviation", "double distance",
                                       "int face", "uchar verdict", "float scalar_deviation"})
        header += std::string("property ") + property + '\n';
    output_.write(header + "end_header\n");
    points_.read([this](std::string_view bytes) { output_.write(bytes); });
}

void VtpReport::add(const SurfaceRow& row) {
    const Values values = values_of(row, head_);
    for (int axis = 0; axis < 3; ++axis)
        places_.put(row.measured[axis]);
    deviations_.put(values.deviation);
    distances_.put(values.distance);
    faces_.put(values.face);
    verdicts_.put(values.verdict);
    if (row.found) colours_.add(row.found->foot, row.found->face, row.deviation);
    ++count_;
}

// In the order of the file.
std::vector<VtpReport::Array> VtpReport::arrays() {
    const NominalMesh& mesh = colours_.mesh();
    const std::uint64_t corners = mesh.positions.size(), triangles = mesh.triangles.size();
    const std::uint64_t all = corners + count_;
    const auto put = [this](auto value) { output_.write(bytes_of(value)); };
    const auto put_each = [put](const auto& tuples) {
        for (const auto& tuple : tuples)
            for (int i = 0; i < 3; ++i)
                put(tuple[i]);
    };
    const auto pass_on = [this](Spool& spool) {
        spool.read([this](std::string_view bytes) { output_.write(bytes); });
    };
    const auto count_by = [put](std::uint64_t first, std::uint64_t step, std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i)
            put(first + i * step);
    };
    return {
        {"PointData", "Float64", "deviation", 1, all * 8,
         [=, this] {
             for (const std::optional<double>& deviation : colours_.deviations())
                 put(deviation.value_or(nothing));
             pass_on(deviations_);
         }},
        {"PointData", "Float64", "distance", 1, all * 8,
         [=, this] {
             for (std::uint64_t i = 0; i < corners; ++i)
                 put(nothing);
             pass_on(distances_);
         }},
        {"PointData", "Int32", "face", 1, all * 4,
         [=, this] {
             for (const std::int32_t face : faces_of_corners(colours_.mesh()))
                 put(face);
             pass_on(faces_);
         }},
        {"PointData", "UInt8", "verdict", 1, all,
         [=, this] {
             output_.write(std::string(corners, static_cast<char>(PointState::unjudged)));
             pass_on(verdicts_);
         }},
        {"Points", "Float64", "Points", 3, all * 24,
         [=, this] {
             put_each(colours_.mesh().positions);
             pass_on(places_);
         }},
        {"Verts", "Int64", "connectivity", 1, count_ * 8,
         [=, this] { count_by(corners, 1, count_); }},
        {"Verts", "Int64", "offsets", 1, count_ * 8, [=, this] { count_by(1, 1, count_); }},
        {"Polys", "Int64", "connectivity", 1, triangles * 24,
         [=, this] {
             for (const std::array<int, 3>& triangle : colours_.mesh().triangles)
                 for (const int corner : triangle)
                     put(static_cast<std::uint64_t>(corner));
         }},
        {"Polys", "Int64", "offsets", 1, triangles * 8, [=] { count_by(3, 3, triangles); }},
    };
}

void VtpReport::finish(const ReportHead& shown) {
    const std::vector<Array> arrays = this->arrays();
    const NominalMesh& mesh = colours_.mesh();
    std::string header = "<?xml version=\"1.0\"?>\n" + xml_comment(remarks(shown)) +
                         "<VTKFile type=\"PolyData\" version=\"1.0\" byte_order=\"LittleEndian\" "
                         "header_type=\"UInt64\">\n<PolyData>\n<Piece NumberOfPoints=\"" +
                         std::to_string(mesh.positions.size() + count_) + "\" NumberOfVerts=\"" +
                         std::to_string(count_) +
                         "\" NumberOfLines=\"0\" NumberOfStrips=\"0\" NumberOfPolys=\"" +
                         std::to_string(mesh.triangles.size()) + "\">\n";
    std::uint64_t offset = 0;
    std::string_view section;
    for (const Array& array : arrays) {
        if (section != array.section) {
            if (!section.empty()) header += "</" + std::string(section) + ">\n";
            section = array.section;
            header += "<" + std::string(section) +
                      (section == "PointData" ? " Scalars=\"deviation\">\n" : ">\n");
        }
        header += std::string("<DataArray type=\"") + array.type + "\" Name=\"" + array.name +
                  "\" NumberOfComponents=\"" + std::to_string(array.components) +
                  "\" format=\"appended\" offset=\"" + std::to_string(offset) + "\"/>\n";
        offset += sizeof array.size + array.size;
    }
    output_.write(header + "</" + std::string(section) +
                  ">\n</Piece>\n</PolyData>\n<AppendedData encoding=\"raw\">\n_");
    for (const Array& array : arrays) {
        output_.write(bytes_of(array.size));
        array.write();
    }
    output_.write("\n</AppendedData>\n</VTKFile>\n");
}

} // namespace velm::inspect
