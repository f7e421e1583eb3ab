// Documents of the library alone: what was written is read, and written again byte for byte.
#include <gtest/gtest.h>

#include "support/random.h"
#include "support/temporary_folder.h"
#include "velm/inspection/inspection_archive.h"
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
            judge(row, head.tolerance);
            rows.push_back(row);
        }
    }

    void write(const std::string& path) const {
        SectionArchiveWriter archive(path, "test 1", head, outline);
        Summary summary;
        summary.tolerance = head.tolerance;
        for (const SectionRow& row : rows) {
            archive.add(row);
            summary.add(row);
        }
        archive.finish(summary);
    }
};

TEST(InspectionArchive, IsReadAndWrittenAgainByteForByte) {
    const velm_test::TemporaryFolder folder;
    velm_test::Random random(12);
    for (int round = 0; round < 20; ++round) {
        Inspected made(random);
        made.write(folder.path("a"));
        CFile file(folder.path("a").c_str(), UINT(CFile::modeRead) | CFile::shareDenyWrite);
        InspectionArchiveReader document(file);
        ASSERT_EQ(document.kind(), ArchivedKind::section);
        EXPECT_EQ(document.program(), "test 1");
        SectionArchiveReader reader(document);
        made.head = reader.head();
        made.outline = reader.outline();
        for (SectionRow& row : made.rows)
            ASSERT_TRUE(reader.next(row));
        SectionRow none;
        EXPECT_FALSE(reader.next(none));
        made.write(folder.path("b"));
        EXPECT_EQ(velm_test::TemporaryFolder::bytes_of(folder.path("a")),
                  velm_test::TemporaryFolder::bytes_of(folder.path("b")))
            << "round " << round;
    }
}

} // namespace
} // namespace velm
