#include "inspect/inspection/nominal_surfaces.h"

#include "inspect/base/text_escape.h"
#include "inspect/input/face_tolerances.h"
#include "inspect/input/text_source.h"
#include "inspect/keep/store_reader.h"
#include "velm/inspection/nominal_part.h"
#include "velm/surfaces/part_tessellation.h"

#include <algorithm>
#include <filesystem>
#include <numeric>

namespace velm::inspect {
namespace {

// A part of a part's diagonal, by which triangles may be off in a picture: less than a dot of it.
constexpr double chord_part = 5e-4;
// Faces that share an edge meet within this part of the part's diagonal, or within the largest gap
// that the file states.
constexpr double gap_part = 1e-6;

// Refuses what is no object file, before it is looked into.
void require_readable(const std::string& path) {
    std::error_code error;
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
        throw Failure(FailureKind::file, path + ": is no regular file");
    char byte = 0;
    open_input(path).read(&byte, 1); // fails where it can't be read
    if (!is_store_file(path))
        throw Failure(FailureKind::input, path + ": is neither an object file nor a STEP, IGES or "
                                                 "BREP file");
}

std::string entity_text(long entity) { return std::to_string(std::max(entity, 0L)); }

} // namespace

// A face as the file has it.
struct NominalSurfaces::Read {
    struct Face {
        std::string path;
        t_SmartPtr<ERAnyBoundedSurface> surface;
        int outward = 1;
        long entity = 0;
    };
    std::vector<Face> faces;
    double largest_gap = 0.0;

    void take_part(NominalPart& part) {
        largest_gap = part.largest_gap;
        for (const NominalFace& face : part.faces)
            faces.push_back({face.path, t_SmartPtr<ERAnyBoundedSurface>(face.surface.get()),
                             outward_side(*face.surface), face.entity});
    }
    // The surfaces of a file without a part, whether or not a record names them.
    void take_surfaces(InspectionRecords& file) {
        for (long index = 0; index < file.size(); ++index) {
            const t_SmartPtr<ERDBObject> record = file.record(index);
            const t_SmartPtr<ERObject> object = record ? record->object() : file.object(index);
            ERAnyBoundedSurface* const surface = ERAnyBoundedSurface::castdown(object.get());
            if (surface == nullptr) continue;
            std::string path = record ? record->name() : "";
            if (path.empty()) path = "surface " + std::to_string(index);
            if (!path.starts_with('/')) path.insert(0, "/");
            const ERTrimmedSurface* const trimmed = ERTrimmedSurface::castdown(surface);
            faces.push_back({path, t_SmartPtr<ERAnyBoundedSurface>(surface),
                             trimmed != nullptr ? outward_side(*trimmed) : 1, 0});
        }
    }
};

NominalSurfaces::NominalSurfaces(const NominalOptions& options)
    : skips_bad_(options.skip_bad), keep_(options.keep) {
    Read read;
    std::string path = options.path;
    const bool is_cad = is_cad_file(path);
    if (is_cad) {
        ProcessLimits limits = import_limits;
        limits.seconds = options.import_seconds;
        imported_ = std::make_unique<ImportedPart>(path, options.skip_bad, limits);
        path = imported_->path();
    } else if (options.keep) {
        throw NominalRefusal{NominalFault::kept_already, options.path, 0, {}, {}};
    }
    if (!is_cad)
        require_readable(path);
    else if (!is_store_file(path))
        throw Failure(FailureKind::input, options.path + ": its reader wrote no object file");
    std::optional<NominalPart> part;
    try {
        part = with_store(
            options.path, [&] { return read_part(path); }, path);
    } catch (const RecordFault& fault) { // what has no part may have surfaces
        if (is_cad)
            throw Failure(FailureKind::input,
                          options.path + ": its reader wrote no part: " + fault.what());
    }
    if (part) {
        is_in_millimetres_ = true;
        for (const LeftOutFace& face : part->left_out)
            left_out_.push_back({entity_text(face.entity), face.reason});
        if (!part->left_out.empty() && !options.skip_bad)
            throw NominalRefusal{
                NominalFault::lacks_faces, options.path, part->left_out.size(), {}, {}};
        read.take_part(*part);
    } else {
        const std::unique_ptr<InspectionRecords> file = open_records(path);
        read_records(path, [&] { read.take_surfaces(*file); });
    }
    if (read.faces.empty()) throw Failure(FailureKind::input, options.path + ": holds no surfaces");
    prepare(read, options);
    if (options.tolerances) apply_tolerances(*options.tolerances);
}

NominalSurfaces::~NominalSurfaces() = default;

void NominalSurfaces::prepare(const Read& read, const NominalOptions& options) {
    const auto is_chosen = [&](const std::string& path) {
        return options.faces.empty() ||
               std::any_of(options.faces.begin(), options.faces.end(),
                           [&](const std::string& name) { return is_face_called(name, path); });
    };
    for (const std::string& name : options.faces)
        if (std::none_of(read.faces.begin(), read.faces.end(),
                         [&](const Read::Face& face) { return is_face_called(name, face.path); }))
            throw Failure(FailureKind::input, options.path + ": has no face '" + clipped(name, 60) +
                                                  "'; its first one is '" +
                                                  clipped(read.faces.front().path, 60) + "'");
    std::vector<PartFace> faces;
    for (const Read::Face& face : read.faces) {
        if (!is_chosen(face.path)) continue;
        std::optional<PreparedFace> prepared = prepare_face(*face.surface);
        if (!prepared) {
            const std::string reason = "nearest points of a surface of kind " +
                                       std::string(surface_kind(*face.surface)) +
                                       " like this one can't be found";
            if (!options.skip_bad)
                throw NominalRefusal{NominalFault::unusable_face, options.path, 0, face.path,
                                     reason};
            left_out_.push_back({entity_text(face.entity), reason});
            continue;
        }
        prepared_.push_back(*prepared);
        outward_.push_back(face.outward);
        faces.push_back({std::move(*prepared), face.outward});
        faces_.push_back({face.path, std::string(surface_kind(*face.surface)), {}});
    }
    if (faces.empty()) throw Failure(FailureKind::input, options.path + ": no face can be used");
    ERMinimax3D box;
    for (const PreparedFace& face : prepared_) {
        box.Update(face.surface().box().MinPoint());
        box.Update(face.surface().box().MaxPoint());
    }
    const double tolerance = std::max(read.largest_gap, gap_part * box.diagonal());
    part_ = PreparedPart::of(std::move(faces), tolerance, options.threads);
    if (!part_) throw Failure(FailureKind::input, options.path + ": its faces can't be used");
}

// The first row that calls a face by its name counts.
void NominalSurfaces::apply_tolerances(const std::string& table) {
    const std::vector<FaceTolerance> rows = read_face_tolerances(table);
    std::vector<bool> is_used(rows.size());
    for (InspectedFace& face : faces_)
        for (std::size_t r = 0; r < rows.size(); ++r) {
            if (!is_face_called(rows[r].name, face.path)) continue;
            is_used[r] = true;
            if (!face.tolerance) face.tolerance = rows[r].limits;
        }
    for (std::size_t r = 0; r < rows.size(); ++r)
        if (!is_used[r])
            notes_.push_back(table + ", line " + std::to_string(rows[r].line) + ": no face is '" +
                             clipped(rows[r].name, 60) + "'");
}

void NominalSurfaces::describe(SurfaceHead& head) const {
    head.faces = faces_;
    head.face_count = static_cast<int>(faces_.size());
    head.skips_bad = skips_bad_;
    head.left_out = left_out_;
    if (is_in_millimetres_) head.unit = "mm";
}

NominalMesh NominalSurfaces::mesh() const {
    PartMesh all = tessellate(prepared_, outward_, chord_part * part_->size());
    NominalMesh mesh;
    mesh.positions = std::move(all.positions);
    mesh.normals = std::move(all.normals);
    mesh.triangles = std::move(all.triangles);
    mesh.face_of_triangle = std::move(all.face_of_triangle);
    return mesh.in_order_of_use();
}

void NominalSurfaces::keep(OutputSet& outputs) const {
    if (!keep_) return;
    const std::string copy = outputs.add_by_name(*keep_);
    std::error_code error;
    std::filesystem::copy_file(imported_->path(), copy,
                               std::filesystem::copy_options::overwrite_existing, error);
    if (error) fail_file(*keep_, "can't be written", error.value());
}

} // namespace velm::inspect
