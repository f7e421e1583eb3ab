// surface_outputs.h: `SurfaceOutputs`, the outputs of an inspection of a part's surfaces.
#pragma once

#include "inspect/base/shown_rows.h"
#include "inspect/picture/surface_picture.h"
#include "inspect/report/inspection_outputs.h"
#include "inspect/report/point_files.h"
#include "velm/inspection/nominal_mesh.h"
#include "velm/inspection/surface_result.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// Only a page keeps points in memory, 48 bytes each.
class SurfaceOutputs : public InspectionOutputs<SurfaceRow> {
public:
    /// The mesh must outlive the outputs.
    SurfaceOutputs(const SurfaceHead& head, const NominalMesh& mesh, const OutputPaths& paths);

    /// Whether the outputs draw the part.
    static bool need_mesh(const OutputPaths& paths) { return paths.html || paths.vtp; }

private:
    void take(const SurfaceRow& row) override;
    void finish_files() override;
    ReportHead report_head() const override;
    std::vector<FigureLine> figure_lines() const override;
    std::string group_text() const override;
    void add_lists(JsonReport& json) const override;
    std::string page() const override;
    ReportPage::Points table_of_faces() const;
    ReportPage::Points table_of_points(const std::vector<SurfaceRow>& rows) const;

    const NominalMesh& mesh_;
    FaceSummary faces_;
    SurfacePicture picture_;
    WorstRows<SurfaceRow, 1000> page_rows_;
    std::optional<PlyReport> ply_;
    std::optional<VtpReport> vtp_;
    std::array<std::uint64_t, 3> places_{}; // the number of points in each kind of place
};

} // namespace velm::inspect
