// nominal_surfaces.h: the faces that measured points are compared with: `NominalSurfaces`.
#pragma once

#include "inspect/base/output_set.h"
#include "inspect/input/cad_import.h"
#include "velm/inspection/nominal_mesh.h"
#include "velm/inspection/surface_result.h"
#include "velm/surfaces/prepared_part.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

struct NominalOptions {
    std::string path;                              ///< an object file or a CAD file
    std::optional<std::string> keep;               ///< where the object file of a CAD file is kept
    bool skip_bad = false;                         ///< faces that can't be taken are left out
    std::vector<std::string> faces;                ///< names of those that count; all without
    std::optional<std::string> tolerances;         ///< a table of limits
    double import_seconds = import_limits.seconds; ///< that reading a CAD file may take
    int threads = 1;
};

/// Why the faces of a nominal file can't be used.
enum class NominalFault {
    kept_already,  ///< it is to be kept, and is no CAD file
    lacks_faces,   ///< some of its CAD file, which are missed
    unusable_face, ///< which is missed
};
struct NominalRefusal {
    NominalFault fault;
    std::string path;
    std::size_t faces = 0;    ///< that it lacks
    std::string face, reason; ///< the unusable one, and why it is
};

/// The faces of a nominal file, prepared.
class NominalSurfaces {
public:
    /// Reads the file, a CAD file by way of velm-cad-import. Throws `Failure`,
    /// `NominalRefusal`, `StoreRefusal`.
    explicit NominalSurfaces(const NominalOptions& options);
    ~NominalSurfaces();

    const PreparedPart& part() const { return *part_; }
    /// Their paths, kinds and limits, in the order of the part.
    void describe(SurfaceHead& head) const;
    /// The triangles by which they are drawn, near enough for a picture.
    NominalMesh mesh() const;
    /// Keeps the object file of a CAD file where it was asked for, together with other outputs.
    void keep(OutputSet& outputs) const;
    const std::vector<std::string>& notes() const { return notes_; }

private:
    struct Read;
    void prepare(const Read& read, const NominalOptions& options);
    void apply_tolerances(const std::string& table);

    std::optional<PreparedPart> part_;
    std::vector<PreparedFace> prepared_;
    std::vector<int> outward_;
    std::vector<InspectedFace> faces_;
    std::vector<NamedText> left_out_;
    bool skips_bad_ = false, is_in_millimetres_ = false;
    std::optional<std::string> keep_;
    std::unique_ptr<ImportedPart> imported_;
    std::vector<std::string> notes_;
};

} // namespace velm::inspect
