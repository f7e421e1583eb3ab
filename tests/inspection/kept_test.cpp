// Inspections in archives and object files: what was written is read, and written again byte for
// byte; a record that was changed is refused.
#include "support/temporary_folder.h"
#include "support/test.h"
#include "velm/inspection/inspection_archive.h"
#include "velm/inspection/inspection_records.h"
#include "velm/planar/outline_nesting.h"

namespace velm {
namespace {

struct Inspected {
    Outline outline;
    SectionHead head;
    std::vector<SectionRow> rows;

    explicit Inspected(velm_test::Random& random) {
        outline.contours.push_back(Polygon{{0, 0}, {30, 0}, {30, 20}, {0, 20}});
        outline.contours.push_back(Contour::circle({15, 10}, 4));
        EXPECT_FALSE(settle_areas(outline));
        head.nominal = "plate.txt";
        head.measured = "probed.csv";
        head.contours = 2;
        head.edges = outline.edge_count();
        if (random.below(2) == 0) head.tolerance = Tolerance{-1.5, 2};
        if (random.below(2) == 0) head.max_height = 0.125;
        if (random.below(2) == 0) {
            const double numbers[] = {1, 2, 3, 0, 1, 5, 1, 0, 0};
            EXPECT_EQ(head.frame.emplace().set(numbers), FrameFault::none);
        }
        if (random.below(2) == 0) {
            head.title = "plate \xC3\xA4";
            head.form = OutlineForm::arcs;
            AppliedAlignment& alignment = head.alignment.emplace();
            alignment.in_plane = true;
            alignment.rotation[0] = {0, -1, 0};
            alignment.held = {"turning", "moving along x"};
            alignment.before.minimum = -3;
        }
        const Profile profile(outline);
        for (int i = 0; i < 20; ++i) {
            SectionRow row;
            row.id = "p" + std::to_string(i);
            row.index = static_cast<std::uint64_t>(i);
            row.measured = {random.uniform(-2, 32), random.uniform(-2, 22)};
            row.diameter = random.below(2);
            if (head.frame) row.space = SpacePoint{{1.0 * i, 2, 3}, random.uniform(-1, 1)};
            if (head.alignment) {
                row.aligned = ERPoint2D(row.measured.y(), row.measured.x());
                row.deviation_before = random.uniform(-1, 1);
            }
            row.comparison = profile.compare(row.placed());
            row.deviation = row.comparison.distance - row.diameter / 2;
            judge(row, head);
            rows.push_back(row);
        }
    }

    template <class Writer>
    void write(Writer&& writer) const {
        Summary summary;
        summary.tolerance = head.tolerance;
        for (const SectionRow& row : rows) {
            writer.add(row);
            summary.add(row);
        }
        writer.finish(summary);
    }
    void write_archive(const std::string& path) const {
        write(SectionArchiveWriter(path, "test 1", head, outline));
    }
    void write_records(const std::string& path) const {
        ERDataBase data;
        ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        write(SectionRecordWriter(data, "test 1", head, outline));
        ASSERT_EQ(data.Close(), gmSuccess);
    }

    template <class Reader>
    void read(Reader&& reader) {
        head = reader.head();
        outline = reader.outline();
        for (SectionRow& row : rows)
            ASSERT_TRUE(reader.next(row));
        SectionRow none;
        EXPECT_FALSE(reader.next(none));
    }
    void read_archive(const std::string& path) {
        CFile file(path.c_str(), UINT(CFile::modeRead) | CFile::shareDenyWrite);
        InspectionArchiveReader document(file);
        ASSERT_EQ(document.kind(), ArchivedKind::section);
        EXPECT_EQ(document.program(), "test 1");
        read(SectionArchiveReader(document));
    }
    void read_records(const std::string& path) {
        InspectionRecords file(path);
        const std::vector<StoredInspection> all = file.inspections();
        ASSERT_EQ(all.size(), 1u);
        EXPECT_EQ(all[0].kind(), section_kind);
        EXPECT_EQ(all[0].count(RecordKey::count), rows.size());
        read(SectionRecordReader(file, all[0]));
    }
};

TEST(KeptInspection, IsReadAndWrittenAgainByteForByte) {
    const velm_test::TemporaryFolder folder;
    velm_test::Random random(12);
    const std::string names[] = {folder.path("a.arc"), folder.path("a.velm"), folder.path("b.arc"),
                                 folder.path("b.velm")};
    const auto bytes = [&](int n) { return velm_test::TemporaryFolder::bytes_of(names[n]); };
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const Inspected made(random);
        made.write_archive(names[0]);
        made.write_records(names[1]);
        Inspected archived = made, recorded = made;
        archived.rows.assign(made.rows.size(), {});
        recorded.rows.assign(made.rows.size(), {});
        archived.read_archive(names[0]);
        recorded.read_records(names[1]);
        archived.write_records(names[3]); // each form from what the other one gave back
        recorded.write_archive(names[2]);
        EXPECT_EQ(bytes(2), bytes(0));
        EXPECT_EQ(bytes(3), bytes(1));
        for (const std::string& name : names)
            std::filesystem::remove(name);
    }
}

// Each number of a point's record, in turn no number or a text; counts out of their range.
TEST(KeptInspection, IsRefusedWithAChangedRecord) {
    const velm_test::TemporaryFolder folder;
    velm_test::Random random(13);
    const std::string path = folder.path("a.velm");
    Inspected made(random);
    while (!made.head.frame || !made.head.alignment)
        made = Inspected(random);
    made.write_records(path);
    const auto with_record = [&](auto work) { // of the first point, after the head
        ERDataBase data;
        ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        gmErrorCode code = gmSuccess;
        const t_SmartPtr<ERObject> kept = data.restore(1, code);
        work(*ERDBObject::castdown(kept.get()));
        ASSERT_TRUE(kept->Save(nullptr));
        ASSERT_EQ(data.Close(), gmSuccess);
    };
    const auto save = [&](long key, auto value) {
        with_record([&](ERDBObject& record) { record.property(key, value); });
    };
    std::vector<std::pair<long, double>> numbers;
    with_record([&](ERDBObject& record) {
        for (const auto& property : record.properties())
            if (property.value.getType() == ERDBObjProperty::double_value)
                numbers.emplace_back(property.key, double(property.value));
    });
    EXPECT_EQ(numbers.size(), 17u);
    for (const auto& [key, number] : numbers) {
        save(key, std::numeric_limits<double>::quiet_NaN());
        EXPECT_THROW(made.read_records(path), RecordFault) << key;
        save(key, "a text");
        EXPECT_THROW(made.read_records(path), RecordFault) << key;
        save(key, number);
    }
    EXPECT_NO_THROW(made.read_records(path));
    const std::tuple<RecordKey, int, int> counts[] = {{RecordKey::place, 5, 0},
                                                      {RecordKey::edge, 99, 0},
                                                      {RecordKey::number, 1, 0},
                                                      {RecordKey::contour, -1, 0}};
    for (const auto& [key, value, sound] : counts) {
        save(static_cast<long>(key), value);
        EXPECT_THROW(made.read_records(path), RecordFault) << static_cast<long>(key);
        save(static_cast<long>(key), sound);
    }
}

} // namespace
} // namespace velm
