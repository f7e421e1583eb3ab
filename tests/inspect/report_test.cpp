// What an inspection leaves for later: the edges and the points of a section as objects of a model.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

#include "inspect/nominal_entities.h"
#include "inspect/outline_reader.h"
#include "inspect/profile.h"
#include "inspect/section_target.h"
#include "support/random.h"

namespace velm::inspect {
namespace {

Outline outline_from(const std::string& text) {
    TextSource source("lid.txt", text);
    return read_outline(source);
}

// A rounded lid with a bore and a pin's hole.
constexpr const char* lid = "M 0 0\nL 8 0\nA 8 4 8 2 ccw\nL 0 4\nZ\nC 2 2 1\nM 5 1\nL 6 1\nL 5 2\n"
                            "Z\n";

TEST(NominalEntities, AreNamedByModelContourAndClass) {
    const std::string names[][3] = {{"", "a/b.txt", "b.txt"}, {"k/n\\m \xC3\xA4\n", "-", ""}};
    for (const auto& [title, file, model] : names) {
        const Outline outline = outline_from(title + lid);
        const NominalEntities entities(outline, file);
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
    const Outline outline = outline_from(lid);
    const Profile profile(outline);
    const double numbers[] = {900, -70, 40, 1, 2, 3, 1, 1, 0};
    velm_test::Random random(142);
    for (int i = 0; i < 400; ++i) {
        std::optional<SectionFrame> frame;
        if (i % 2 == 1) frame.emplace(numbers);
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

} // namespace
} // namespace velm::inspect
