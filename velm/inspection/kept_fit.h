// FitRecordWriter, FitRecordReader, FitArchiveWriter, FitArchiveReader: a fit in an object file and
// in an archive. inspection_records.h and inspection_archive.h describe what all kinds share.
//
//     velm::FitArchiveWriter archive("bore.arc", "my-program 1.0", head);
//     for (const velm::FitRow& row : rows) archive.add(row);
//     archive.finish(summary);
//
// Guarantees and failure: as those of the other kinds. A reader also refuses a residual that isn't
// that of its point, and a characteristic whose judgement isn't that of its value.
#pragma once

#include "velm/export.h"
#include "velm/inspection/fit_result.h"
#include "velm/inspection/inspection_archive.h"
#include "velm/inspection/inspection_records.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace velm {

/// Saves a fit: a record of the whole with the entity, to which it refers as an ERPlane,
/// ERInfLine2D, ERInfLine3D, ERCircle2D or ERCircle3D, then one of each point in their order.
class VELM_API FitRecordWriter : public InspectionRecordWriter {
public:
    FitRecordWriter(ERDataBase& data, std::string_view program, const FitHead& head);

    void add(const FitRow& row);
    void finish(const Summary& summary) { finish_head(summary); }

private:
    FitHead described_;
};

class VELM_API FitRecordReader : public InspectionRecordReader {
public:
    using Row = FitRow;

    FitRecordReader(InspectionRecords& file, const StoredInspection& inspection);

    const FitHead& head() const { return head_; }
    /// The next point, in the order of the run; false after the last.
    bool next(FitRow& row);

private:
    FitHead head_;
};

/// Writes a fit: its head and the points.
class VELM_API FitArchiveWriter : public InspectionArchiveWriter {
public:
    FitArchiveWriter(const std::string& path, std::string_view program, const FitHead& head);

    void add(const FitRow& row);

private:
    FitHead head_;
};

class VELM_API FitArchiveReader {
public:
    using Row = FitRow;

    /// A document of this kind, which must outlive the reader.
    explicit FitArchiveReader(InspectionArchiveReader& document);

    const FitHead& head() const { return head_; }
    /// The next point; false after the last.
    bool next(FitRow& row);

private:
    InspectionArchiveReader& document_;
    FitHead head_;
    std::uint64_t count_ = 0;
};

} // namespace velm
