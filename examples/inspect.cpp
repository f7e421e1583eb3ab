// Judges points against a plate with a bore, keeps the inspection in an object file and in an
// archive, and reads both again.
#include <velm/inspect.h>

#include <cstdio>

namespace {

const char *const store = "plate.velm", *const archive = "plate.arc";

std::vector<velm::SectionRow> judged(const velm::Outline& outline, const velm::SectionHead& head) {
    const velm::Profile profile(outline);
    std::vector<velm::SectionRow> rows;
    for (const ERPoint2D& centre : {ERPoint2D(10, -1.02), ERPoint2D(31, 10), ERPoint2D(16, 10)}) {
        velm::SectionRow row;
        row.id = "p" + std::to_string(rows.size() + 1);
        row.index = rows.size();
        row.measured = centre;
        row.diameter = 2;
        row.comparison = profile.compare(centre);
        row.deviation = row.comparison.distance - row.diameter / 2;
        velm::judge(row, head);
        rows.push_back(row);
    }
    return rows;
}

template <class Writer>
void keep(Writer&& writer, const velm::SectionHead& head,
          const std::vector<velm::SectionRow>& rows) {
    velm::Summary summary;
    summary.tolerance = head.tolerance;
    for (const velm::SectionRow& row : rows) {
        writer.add(row);
        summary.add(row);
    }
    writer.finish(summary);
}

template <class Reader>
void print(const char* file, Reader&& reader) {
    std::printf("%s: %s against %s\n", file, reader.head().measured.c_str(),
                reader.head().nominal.c_str());
    for (velm::SectionRow row; reader.next(row);)
        std::printf("  %s contour %d deviation %+.2f %s\n", row.id.c_str(), row.comparison.contour,
                    row.deviation, row.in_tolerance.value_or(false) ? "in" : "OUT");
}

bool inspect() {
    velm::Outline outline;
    outline.contours.push_back(velm::Polygon{{0, 0}, {30, 0}, {30, 20}, {0, 20}});
    outline.contours.push_back(velm::Contour::circle({15, 10}, 5));
    if (velm::settle_areas(outline)) return false; // two contours cross
    velm::SectionHead head;
    head.nominal = "plate.txt";
    head.measured = "probed.csv";
    head.tolerance = velm::Tolerance{-0.05, 0.05};
    const std::vector<velm::SectionRow> rows = judged(outline, head);

    ERDataBase data;
    if (data.Open(store, 0) != gmSuccess) return false;
    keep(velm::SectionRecordWriter(data, "example 1", head, outline), head, rows);
    if (data.Close() != gmSuccess) return false;
    keep(velm::SectionArchiveWriter(archive, "example 1", head, outline), head, rows);

    velm::InspectionRecords records(store);
    for (const velm::StoredInspection& inspection : records.inspections())
        print(store, velm::SectionRecordReader(records, inspection));
    CFile file(archive, CFile::modeRead | CFile::shareDenyWrite);
    velm::InspectionArchiveReader document(file);
    print(archive, velm::SectionArchiveReader(document));
    return true;
}

} // namespace

int main() {
    bool is_done = false;
    // Files and archives report by exceptions that their catcher deletes.
    try {
        is_done = inspect();
    } catch (CFileException* failure) {
        failure->Delete();
    } catch (CArchiveException* failure) {
        failure->Delete();
    } catch (const velm::RecordFault& fault) {
        std::fprintf(stderr, "%s\n", fault.what());
    }
    std::remove(store);
    std::remove(archive);
    return is_done ? 0 : 1;
}
