// Any bytes in the host's archives: documents of inspections, and the forms of identifiers,
// selections and measured points in all their versions. What can't be loaded is refused by an
// archive exception and leaves the value alone; what could be loaded is stored and loaded again as
// it is.
#include "inspect/base/shown_rows.h"
#include "inspect/picture/fit_picture.h"
#include "inspect/picture/section_picture.h"
#include "inspect/picture/target_picture.h"
#include "velm/inspection/inspection_archive.h"
#include "velm/inspection/kept_fit.h"
#include "velm/measure/cad_object_id.h"
#include "velm/measure/measured_point.h"
#include "velm/measure/selection_flags.h"
#include "velm/measure/target_point.h"

#include "support/archived.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <vector>

using namespace velm;
using namespace velm::inspect;

namespace {

using velm_test::MemoryFile;

void require(bool holds) {
    if (!holds) std::abort();
}

// Whether the operation loads from these bytes.
template <class Load>
bool loads(const std::string& bytes, Load load) {
    MemoryFile file(bytes);
    CArchive archive(&file, CArchive::load, 128);
    try {
        load(archive);
        return true;
    } catch (CArchiveException* failure) {
        failure->Delete();
        return false;
    }
}

// `load` takes any version, `serialize` stores and loads the newest one.
template <class Value, class Load, class Serialize>
void check(const std::string& bytes, Load load, Serialize serialize) {
    Value value, again;
    const auto form_of = [&](Value& of) {
        return velm_test::archived([&](CArchive& archive) { serialize(archive, of); });
    };
    const std::string before = form_of(value);
    const bool is_loaded = loads(bytes, [&](CArchive& archive) { load(archive, value); });
    const std::string now = form_of(value);
    require(is_loaded || now == before);
    require(loads(now, [&](CArchive& archive) { serialize(archive, again); }));
    require(form_of(again) == now);
}

void check_identifier(const std::string& bytes) {
    const auto serialize = [](CArchive& archive, CADObjectID& id) { id.serialize(archive); };
    for (int version = 1; version <= 6; ++version) {
        const auto load = [version](CArchive& archive, CADObjectID& id) {
            CADObjectID::set_deserializing_version(version);
            try {
                id.serialize(archive);
            } catch (...) {
                CADObjectID::restore_deserializing_version();
                throw;
            }
            CADObjectID::restore_deserializing_version();
            require(id.as_string(gmRepresentationFull)[0] == 'H' &&
                    id.invalid() == (id.kind() == 0));
        };
        check<CADObjectID>(bytes, load, serialize);
    }
}

void check_flags(const std::string& bytes) {
    const auto serialize = [](CArchive& archive, gmBinaryFlagsEx& flags) {
        flags.serialize(archive);
    };
    const auto load_old = [](CArchive& archive, gmBinaryFlagsEx& flags) {
        flags.serialize_old(archive);
    };
    check<gmBinaryFlagsEx>(bytes, serialize, serialize);
    check<gmBinaryFlagsEx>(bytes, load_old, serialize);
    gmBinaryFlagsEx flags;
    if (!loads(bytes, [&](CArchive& archive) { flags.serialize(archive); })) return;
    const int size = flags.size(), selected = flags.count_selected_points();
    flags.negate(size + 3);
    require(flags.count_selected_points() == size + 3 - selected);
    flags.erase(flags);
    require(flags.size() == selected && flags.num_of_selected_points() == 0);
}

void check_target(const std::string& bytes) {
    const auto serialize = [](CArchive& archive, gmTargetPoint& target) {
        archive.IsStoring() ? archive << target : archive >> target;
    };
    const auto load_old = [](CArchive& archive, gmTargetPoint& target) {
        target.read_serialize_old(archive);
    };
    gmTargetPoint target;
    for (const bool old : {false, true})
        if (loads(bytes, [&](CArchive& archive) {
                old ? load_old(archive, target) : serialize(archive, target);
            }))
            require(!(target.acceptance_distance() < 0.0));
}

void check_points(const std::string& bytes) {
    velm::MeasuredPointList points;
    loads(bytes, [&](CArchive& archive) { archive >> points; });
    for (const ERCMMPointWithDiameter* point : points)
        require(point != nullptr && point->id() >= 0 && point->id() <= 0xFFFF);
    Purge(points);
}

// Draws all rows of a document in its picture.
template <class Row, class Document, class Picture, class Draw>
void read_and_draw(Document& document, Picture picture, Draw svg) {
    Summary summary;
    summary.tolerance = document.head().tolerance;
    KeptRows<Row> kept;
    Row row;
    while (document.next(row)) {
        require(std::isfinite(row.deviation) && std::isfinite(row.severity));
        summary.add(row);
        kept.add(row);
        picture.add(row);
    }
    svg(picture, summary, kept.worst());
}

// The bytes get a checksum that is true.
void check_document(const std::string& bytes) {
    const DWORD hash = hxu_fnv1a_hash(bytes);
    MemoryFile file(bytes + std::string(reinterpret_cast<const char*>(&hash), sizeof hash));
    try {
        InspectionArchiveReader document(file);
        if (document.kind() == ArchivedKind::section) {
            SectionArchiveReader rows(document);
            read_and_draw<SectionRow>(rows, SectionPicture(rows.head(), rows.outline()),
                                      [](auto& picture, const Summary& all, auto& worst) {
                                          picture.svg({}, all, 3, worst);
                                      });
        } else if (document.kind() == ArchivedKind::targets) {
            TargetArchiveReader rows(document);
            read_and_draw<TargetRow>(
                rows, TargetPicture(rows.head()),
                [](auto& picture, const Summary&, auto& worst) { picture.svg({}, {}, 3, worst); });
        } else {
            FitArchiveReader rows(document);
            read_and_draw<FitRow>(rows, FitPicture(rows.head()),
                                  [](auto& picture, const Summary& all, auto& worst) {
                                      picture.svg({}, {}, all, 3, worst);
                                  });
        }
    } catch (CArchiveException* failure) {
        failure->Delete();
    }
}

constexpr void (*checks[])(const std::string&) = {check_document, check_identifier, check_flags,
                                                  check_target, check_points};

} // namespace

// The first byte says what the rest is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    checks[data[0] % std::size(checks)](
        std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    return 0;
}
