// SectionRecordWriter, SectionRecordReader and the same of targets and surfaces: an inspection as
// records of an object file, by the keys that docs/file-format.md lists. Those of fits are in
// kept_fit.h. InspectionRecords: the inspections of a file.
//
//     ERDataBase data;
//     if (data.Open("parts.velm", 0) != gmSuccess) return;
//     velm::StoreBatch batch(data); // optional: all of the inspection or nothing
//     velm::SectionRecordWriter records(data, "my-program 1.0", head, outline);
//     for (const velm::SectionRow& row : rows) records.add(row);
//     records.finish(summary);
//     batch.commit();
//
//     velm::InspectionRecords file("parts.velm");
//     for (const velm::StoredInspection& inspection : file.inspections()) {
//         if (inspection.kind() != velm::section_kind) continue;
//         velm::SectionRecordReader reader(file, inspection);
//         for (velm::SectionRow row; reader.next(row);) use(row, reader.head(), reader.outline());
//     }
//
// The head and the rows are kept by their descriptions (field.h): a field with a key is written and
// read by that alone.
//
// Guarantees: what is read is what was written, to the last bit, and is judged again by the
// tolerance. One row is in memory at a time.
//
// Failure: files raise CFileException*. A reader throws RecordFault where an inspection was not
// finished, has lost a record, or contradicts itself; the rows read before then are to be given up.
#pragma once

#include "velm/export.h"
#include "velm/frame/smart_pointer.h"
#include "velm/inspection/nominal_entities.h"
#include "velm/inspection/nominal_mesh.h"
#include "velm/inspection/record_fault.h"
#include "velm/inspection/record_keys.h"
#include "velm/inspection/section_result.h"
#include "velm/inspection/summary.h"
#include "velm/inspection/surface_result.h"
#include "velm/inspection/target_result.h"
#include "velm/planar/contour.h"
#include "velm/store/database.h"
#include "velm/store/db_object.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm {

/// What the records of all kinds of inspections have in common: the head is saved first, and again
/// at the end with the figures and the number of the other records; those follow it under the next
/// indices.
class VELM_API InspectionRecordWriter {
protected:
    /// An open database, which must outlive the writer. Raises CFileException*, as do all others.
    InspectionRecordWriter(ERDataBase& data, std::string_view program, const char* kind);

    ERDBObject& head() { return *head_; }
    void save_head();
    void save(const t_SmartPtr<ERDBObject>& record);
    /// The number of records follows from those saved.
    void finish_head(const Summary& summary);

private:
    void save_object(ERDBObject& record);

    ERDataBase& data_;
    t_SmartPtr<ERDBObject> head_;
    std::uint64_t records_ = 0;
};

/// Saves a section: a record of the whole with the inputs, the frame and the figures, one of each
/// measured point as it is compared, which refers to it as a gmTargetPoint, and one of each edge of
/// the outline, which refers to its entity (see NominalEntities). An edge has its contour as the
/// level and is colored by what was found on it.
class VELM_API SectionRecordWriter : public InspectionRecordWriter {
public:
    /// Of an outline whose areas are settled; it must outlive the writer. `program` is the program
    /// that writes, with its version.
    SectionRecordWriter(ERDataBase& data, std::string_view program, const SectionHead& head,
                        const Outline& outline);

    void add(const SectionRow& row);
    /// Saves the edges, and what is known only at the end.
    void finish(const Summary& summary);

private:
    struct EdgeFigures {
        std::uint64_t count = 0, out_of_tolerance = 0;
        double minimum = 0.0, maximum = 0.0;
        void add(const SectionRow& row);
    };
    void save_edge(int contour, int edge, const EdgeFigures& found);

    SectionHead described_;
    const Outline& outline_;
    NominalEntities entities_;
    std::vector<std::vector<EdgeFigures>> figures_; // by contour and edge
};

/// Saves targets: a record of the whole with the table's name, the alignment and the figures, then
/// one of each row in their order, which refers to its gmTargetPoint and is colored by the
/// tolerance.
class VELM_API TargetRecordWriter : public InspectionRecordWriter {
public:
    TargetRecordWriter(ERDataBase& data, std::string_view program, const TargetHead& head);

    void add(const TargetRow& row);
    void finish(const Summary& summary) { finish_head(summary); }

private:
    TargetHead described_;
};

/// Saves surfaces: a record of the whole, one of each point as it is compared, which refers to it
/// as a gmTargetPoint and is colored by the tolerance, and one of each face with its path, limits,
/// figures and triangles, colored by what was found on it.
class VELM_API SurfaceRecordWriter : public InspectionRecordWriter {
public:
    /// The mesh must outlive the writer.
    SurfaceRecordWriter(ERDataBase& data, std::string_view program, const SurfaceHead& head,
                        const NominalMesh& mesh);

    void add(const SurfaceRow& row);
    /// Saves the faces, and what is known only at the end.
    void finish(const Summary& summary);

private:
    SurfaceHead described_;
    const NominalMesh& mesh_;
    FaceSummary figures_;
};

/// An inspection in an object file. Its other records follow its head under the next indices.
struct VELM_API StoredInspection {
    long number = 0; ///< from 1, in the order in which they were saved
    long index = 0;  ///< of the head
    t_SmartPtr<ERDBObject> head;

    /// section_kind, targets_kind, fit_kind or surfaces_kind.
    std::string kind() const;
    /// What was inspected, for people: "probed.csv against wing.dat", the name of the table, or
    /// "circle of bore.csv".
    std::string title() const;
    /// What the user said; empty where the record has none.
    std::vector<NamedText> info() const;
    /// Of points, or of those out of tolerance; none where the head has none.
    std::optional<std::uint64_t> count(RecordKey key) const;
    /// Whether all points and characteristics are in tolerance; none where none is judged.
    std::optional<bool> is_in_tolerance() const;
    /// Throws RecordFault: "inspection 2 (probed.csv against wing.dat): why".
    [[noreturn]] void refuse(const std::string& why,
                             RecordFault::Reason reason = RecordFault::Reason::damaged) const;
};

/// The records of an object file, read one at a time by the index that counts them in the order in
/// which they were saved. The file is never written, and every class in it is known.
class VELM_API InspectionRecords {
public:
    /// Raises CFileException*: an invalidFile for what is no object file of a known version, and
    /// for one that can't hold as many objects as it counts.
    explicit InspectionRecords(const std::string& path);
    ~InspectionRecords();
    InspectionRecords(const InspectionRecords&) = delete;
    InspectionRecords& operator=(const InspectionRecords&) = delete;

    /// Whether the counters are behind the contents, as a killed process leaves them: there is an
    /// object under the next index. salvage_store (store_salvage.h) mends such a file.
    bool has_stale_counters();
    /// The number of indices, 0 for a file whose objects have none.
    long size() const;
    /// Null for an index whose object is no record or no more.
    t_SmartPtr<ERDBObject> record(long index);
    /// The object itself, of any class; null for an index without one.
    t_SmartPtr<ERObject> object(long index);
    /// All inspections, finished or not.
    std::vector<StoredInspection> inspections();

private:
    class Store;
    std::unique_ptr<Store> store_;
};

/// What the readers of all kinds have in common.
class VELM_API InspectionRecordReader {
public:
    /// Of points.
    std::uint64_t count() const { return count_; }

protected:
    /// The file must outlive the reader.
    InspectionRecordReader(InspectionRecords& file, const StoredInspection& inspection);

    const ERDBObject& head_record() const { return *inspection_.head; }
    /// The record at a place after the head, from 0, of the kind, which names the head under the
    /// key `owner`. `what` is what is lost otherwise: "row 5".
    t_SmartPtr<ERDBObject> part(std::uint64_t place, const char* kind, RecordKey owner,
                                const std::string& what);
    /// The record of the next point; null after the last.
    t_SmartPtr<ERDBObject> next_point(const char* kind, RecordKey owner);

    std::uint64_t count_ = 0;
    std::uint64_t read_ = 0; ///< rows

private:
    InspectionRecords& file_;
    StoredInspection inspection_;
};

class VELM_API SectionRecordReader : public InspectionRecordReader {
public:
    using Row = SectionRow;

    SectionRecordReader(InspectionRecords& file, const StoredInspection& inspection);

    const SectionHead& head() const { return head_; }
    /// Its areas are settled, and each contour encloses one.
    const Outline& outline() const { return outline_; }
    /// The next point, in the order of the run; false after the last.
    bool next(SectionRow& row);

private:
    void read_outline();
    void read_edge(const ERDBObject& record);

    SectionHead head_;
    Outline outline_;
};

class VELM_API TargetRecordReader : public InspectionRecordReader {
public:
    using Row = TargetRow;

    TargetRecordReader(InspectionRecords& file, const StoredInspection& inspection);

    const TargetHead& head() const { return head_; }
    /// The next target, in the order of the run; false after the last.
    bool next(TargetRow& row);

private:
    TargetHead head_;
};

class VELM_API SurfaceRecordReader : public InspectionRecordReader {
public:
    using Row = SurfaceRow;

    SurfaceRecordReader(InspectionRecords& file, const StoredInspection& inspection);

    const SurfaceHead& head() const { return head_; }
    const NominalMesh& mesh() const { return mesh_; }
    /// The next point, in the order of the run; false after the last.
    bool next(SurfaceRow& row);

private:
    SurfaceHead head_;
    NominalMesh mesh_;
};

} // namespace velm
