// What an inspection leaves for later: the edges and the points of a section as objects of a model,
// and the reports made again of an object file.
#include "inspect/input/outline_reader.h"
#include "inspect/keep/store_reader.h"
#include "inspect/keep/store_writer.h"
#include "inspect/workshop.h"
#include "velm/inspection/detail/record_fields.h"
#include "velm/inspection/nominal_entities.h"
#include "velm/inspection/section_target.h"
#include "velm/planar/profile.h"
#include "velm/store/store_check.h"

namespace velm::inspect {
namespace {

using namespace velm_test;

NominalOutline outline_from(const std::string& text) {
    TextSource source("lid.txt", text);
    return read_outline(source);
}

// A rounded lid with a bore and a pin's hole.
constexpr const char* lid = "M 0 0\nL 8 0\nA 8 4 8 2 ccw\nL 0 4\nZ\nC 2 2 1\nM 5 1\nL 6 1\nL 5 2\n"
                            "Z\n";

TEST(NominalEntities, AreNamedByModelContourAndClass) {
    const std::string names[][3] = {{"", "a/b.txt", "b.txt"}, {"k/n\\m \xC3\xA4\n", "-", ""}};
    for (const auto& [title, file, model] : names) {
        const NominalOutline outline = outline_from(title + lid);
        const NominalEntities entities(outline, outline.title, file);
        const std::string top = model.empty() ? "k\\n\\m \xC3\xA4" : model;
        const auto text = [&](int contour, int edge) {
            return std::string(entities.identifier(contour, edge).as_string(gmRepresentationFull));
        };
        EXPECT_EQ(text(0, 1), "H0S1 (" + file + " \"/" + top + "/outer\" (ERArc2D))");
        EXPECT_EQ(text(1, 0), "H1S0 (" + file + " \"/" + top + "/hole 1\" (ERCircle2D))");
        EXPECT_EQ(text(2, 2), "H2S2 (" + file + " \"/" + top + "/hole 2\" (ERSegment2D))");
        EXPECT_EQ(entities.identifier(2, 2).group_structure().depth(), 2);
    }
}

TEST(SectionTarget, LiesAsFarFromItsPlaneAsTheDeviationSays) {
    const NominalOutline outline = outline_from(lid);
    const Profile profile(outline);
    const double numbers[] = {900, -70, 40, 1, 2, 3, 1, 1, 0};
    Random random(142);
    for (int i = 0; i < 400; ++i) {
        std::optional<SectionFrame> frame;
        if (i % 2 == 1) frame.emplace().set(numbers);
        SectionRow row;
        row.index = static_cast<std::uint64_t>(i);
        const double height = random.uniform(-1, 1);
        row.measured = ERPoint2D(random.uniform(-2, 11), random.uniform(-2, 6));
        if (frame)
            row.space = SpacePoint{
                frame->to_machine(ERPoint3D(row.measured.x(), row.measured.y(), height)), height};
        row.comparison = profile.compare(row.measured);
        row.diameter = random.uniform(0, 3);
        row.deviation = row.comparison.distance - row.diameter / 2;
        const gmTargetPoint target = section_target(row, frame);
        EXPECT_NEAR(target.distance_to_plane(), row.deviation, 1e-12);
        EXPECT_NEAR(target.distance_on_plane(), frame ? std::fabs(height) : 0.0, 1e-12);
        EXPECT_EQ(target.measured_point().id(), i + 1);
    }
}

// Sections of each form, with ids that each report has to escape.
struct Reported : Workshop {
    Reported() {
        write("plate.dat", plate);
        write("lid.txt", lid);
        write("islands.txt", "C 5 2 6\nC 5 2 4\nC 5 2 2.5\nM 20 0\nL 22 0\nL 21 9\nZ\n");
        write("sheet.dat", "0 0\n40 0\n40 .8\n0 .8\n");
        write("walls.csv", "id,x,y,i,j,k\na,20,.5,0,-.1,1\nb,20,.7,0,-1,0\nc,20,.7,0,1,0\n");
        write("head.txt", "part = blade\nnote = a=b, \\c\n# no\n");
        write("wing.dat", "w \"<\xC3\xA4>\n1 0\n.5 .1\n0 0\n\n.5 -.05\n1 0\n");
        write("probed.csv",
              "id,x,y,z,diameter\n\"a, \"\"b\"\"\n\xC3\xBC\",5,.5,39.5,1\n<b>\xFF,4.9,"
              "2.05,40.125,\n,8,4.25,41,.5\n");
    }
};

TEST(Report, GivesTheBytesOfTheRunThatKeptIt) {
    const char* const runs[] = {
        "plate.dat probed.csv",
        "plate.dat probed.csv --tolerance -.3 .05 --diameter .1",
        "wing.dat probed.csv --form round --tolerance 9",
        "lid.txt probed.csv --tolerance .4 --frame .1 -.7 40  .1 .2 3  1 1 .3 --max-height 3",
        "lid.txt probed.csv",
        "islands.txt probed.csv --tolerance 2 --align bestfit",
        "lid.txt probed.csv --frame 0 .5 40  0 0 1  1 .1 0 --align bestfit",
        "sheet.dat walls.csv --tolerance .35 --info head.txt --decimals 5"};
    const Reported here;
    std::vector<std::vector<std::string>> kept;
    for (const std::string run : runs) {
        kept.push_back(
            here.run_with_outputs("section " + run + " --store parts.velm --archive run.arc"));
        EXPECT_EQ(here.run_with_outputs("report parts.velm"), kept.back()) << run;
        EXPECT_EQ(here.run_with_outputs("report run.arc"), kept.back()) << run;
    }
    EXPECT_EQ(here.run("store parts.velm --compact new.velm").code, 0);
    for (std::size_t i = 0; i < kept.size(); ++i)
        EXPECT_EQ(here.run_with_outputs("report new.velm --record " + std::to_string(i + 1)),
                  kept[i])
            << runs[i];
    const Ended last = here.run("report parts.velm");
    EXPECT_TRUE(has(last.error, "holds 8 inspections"));
}

TEST(Report, RefusesWhatIsNotWhole) {
    const Reported here;
    EXPECT_EQ(here.run("section lid.txt probed.csv --store whole.velm").code, 0);
    const std::string whole = here.read("whole.velm");
    const auto refused = [&](const std::string& what, const std::string& why) {
        here.refused("report " + what, 3, why);
    };
    // Each object but the index lost in turn; those of the points are not needed.
    const long objects = velm::check_store(here.path("whole.velm").c_str()).objects;
    for (long lost = 2; lost <= objects; ++lost) {
        here.write("less.velm", whole);
        std::string class_name;
        {
            ERObjectDataBase store;
            ASSERT_EQ(store.Open(here.path("less.velm").c_str(), 0), 1);
            class_name = store.RetrieveAndCreate(lost)->className();
            EXPECT_EQ(store.Delete(lost), 1);
            store.Close();
        }
        if (class_name == "gmTargetPoint")
            EXPECT_EQ(here.run("report less.velm").code, 0);
        else
            refused("less.velm", lost == 2                    ? "holds no inspection"
                                 : class_name != "ERDBObject" ? "has lost its segment"
                                                              : "is lost");
    }

    // A head alone, as other programs kept it.
    const auto keep_head = [&](const char* file, auto fill) {
        OutputSet outputs;
        StoreWriter old(outputs, here.path(file));
        old.save([&](ERDataBase& data) {
            const t_SmartPtr<ERDBObject> head = velm::detail::new_record(section_kind);
            fill(*head);
            data.save(t_SmartPtr<ERObject>(head.get()));
        });
        old.close();
        outputs.commit();
    };
    // One kept by a program that didn't know reports.
    keep_head("old.velm", [](ERDBObject& head) {
        velm::detail::put(head, RecordKey::program, "velm-inspect 0.0.9");
        velm::detail::put_total(head, RecordKey::count, 3);
    });
    refused(
        "old.velm",
        "velm-inspect 0.0.9, which left out what a report needs; inspect it again with --store");

    // A run that is given up keeps nothing; programs of before left its head after the others.
    here.write("parts.velm", whole);
    {
        const NominalOutline outline = outline_from(lid);
        OutputSet outputs;
        RecordFileWriter<SectionRecordWriter> store(outputs, here.path("parts.velm"), false,
                                                    SectionHead(), outline);
        store.add(SectionRow());
        outputs.commit();
    }
    EXPECT_EQ(here.run("report parts.velm --record 2").code, 3);
    EXPECT_EQ(velm::check_store(here.path("parts.velm").c_str()).objects, objects);
    keep_head("parts.velm", [](ERDBObject&) {});
    refused("parts.velm", "was not finished");
    EXPECT_EQ(here.run("report parts.velm --record 1").code, 0);

    refused("plate.dat", "is no object file");
    refused("parts.velm --record 3", "holds 2 inspections");
    EXPECT_EQ(here.run("report parts.velm --record 0").code, 2);
    EXPECT_EQ(here.run("report parts.velm --json parts.velm").code, 2);
    EXPECT_EQ(here.run("report nothing.velm").code, 4);
}

TEST(Report, StandsInTheFileAsTargetsAndNamedEdges) {
    const Reported here;
    EXPECT_EQ(here.run("section lid.txt probed.csv --frame 1 2 40 0 0 1 1 0 0 --store s.velm").code,
              0);
    const auto reader = open_records(here.path("s.velm").string());
    ASSERT_EQ(reader->size(), 1 + 3 + 8);
    SectionRecordReader record(*reader, reader->inspections().back());
    SectionRow row;
    for (long i = 1; record.next(row); ++i) {
        const t_SmartPtr<ERDBObject> kept = reader->record(i);
        const gmTargetPoint* const target = gmTargetPoint::castdown(kept->object().get());
        ASSERT_NE(target, nullptr);
        EXPECT_NEAR(target->distance_to_plane(), row.deviation, 1e-14);
        EXPECT_EQ(target->measured_point().probe_center(), row.space->measured);
        EXPECT_EQ(target->target_point(),
                  record.head().frame->to_machine(
                      ERPoint3D(row.comparison.foot.x(), row.comparison.foot.y(), 0)));
    }
    const t_SmartPtr<ERDBObject> arc = reader->record(1 + 3 + 1);
    const velm::detail::RecordProperties properties(*arc);
    EXPECT_EQ(properties.text_or_empty(RecordKey::group_path), "/lid.txt/outer");
    EXPECT_EQ(properties.text_or_empty(RecordKey::type), "ERArc2D");
    EXPECT_EQ(properties.text_or_empty(RecordKey::name_space), "lid.txt");
}

} // namespace
} // namespace velm::inspect
