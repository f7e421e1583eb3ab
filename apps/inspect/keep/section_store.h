// section_store.h: `SectionStore`, an inspection kept in an object file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "inspect/base/output_set.h"
#include "inspect/keep/store_writer.h"
#include "velm/inspection/nominal_entities.h"
#include "velm/inspection/section_result.h"

namespace velm::inspect {

/// Saves the records of one inspection, by the keys of record_keys.h: one of the section with the
/// inputs, the frame and the figures, one of each measured point as it is compared, which refers to
/// it as a `gmTargetPoint`, and one of each edge of the outline, which refers to the edge as a
/// segment, an arc or a circle. An edge has its contour as the level and is coloured by what was
/// found on it. `SectionRecord` reads all of it again. Throws `Failure`.
class SectionStore {
public:
    /// The outline must outlive the store.
    SectionStore(OutputSet& outputs, const std::string& path, const Outline& outline,
                 const SectionHead& head, bool sync = false);

    void add(const SectionRow& row);
    /// Saves what is known only at the end, and closes the file.
    void finish(const Summary& summary);

private:
    /// What was found on one edge.
    struct EdgeFigures {
        std::uint64_t count = 0;
        std::uint64_t out_of_tolerance = 0;
        double minimum = 0.0;
        double maximum = 0.0;
        void add(const SectionRow& row);
    };

    void save_edge(int contour, int edge, const EdgeFigures& figures);

    StoreWriter file_;
    const Outline& outline_;
    NominalEntities entities_;
    std::optional<Tolerance> tolerance_;
    std::optional<SectionFrame> frame_;
    std::uint64_t points_ = 0;
    t_SmartPtr<ERDBObject> section_;
    std::vector<std::vector<EdgeFigures>> figures_; // by contour and edge
};

} // namespace velm::inspect
