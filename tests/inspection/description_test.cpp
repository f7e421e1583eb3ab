// The descriptions of inspections: rows walked by a sink, and what must agree among the fields.
#include "support/test.h"
#include "velm/inspection/clip_result.h"
#include "velm/inspection/fit_result.h"
#include "velm/inspection/section_result.h"
#include "velm/inspection/surface_result.h"
#include "velm/inspection/target_result.h"

namespace {

using namespace velm;

struct Text {
    std::ostream& out;
    void operator()(std::monostate) { out << "null"; }
    void operator()(const NamedValue& choice) { out << choice.name; }
    void operator()(const Coordinates& at) { list(at.view()); }
    void operator()(const Matrix& matrix) { out << matrix.size << 'x' << matrix.size; }
    void operator()(std::span<const double> numbers) { list(numbers); }
    void operator()(std::span<const ERPoint2D> path) { out << path.size() << " points"; }
    void operator()(std::span<const NamedText> texts) { out << texts.size() << " named"; }
    void operator()(std::span<const std::string> texts) { out << texts.size() << " texts"; }
    void operator()(const Described& group);
    template <class Plain>
    void operator()(const Plain& value) {
        out << value;
    }
    template <class List>
    void list(const List& numbers) {
        for (const double number : numbers)
            out << number << ',';
    }
};

std::string text_of(const Described& described) {
    std::ostringstream out;
    const auto show = [&](const Field& field, const FieldValue& value) {
        if (field.shown == Shown::nowhere) return;
        out << field.name << '=';
        std::visit(Text{out}, value);
        out << ' ';
    };
    described.each(show);
    return out.str();
}
void Text::operator()(const Described& group) { out << '{' << text_of(group) << '}'; }

// Keys, places in archives and names of the fields of a record, each once among those that can be
// there together, the groups' own included.
void require_distinct(std::span<const Field> fields, std::set<long>& keys,
                      bool has_target = false) {
    std::map<int, const Field*> places;
    if (has_target) places.emplace(place_of_target, nullptr);
    std::set<std::string_view> names;
    const Field* last = nullptr;
    for (const Field& field : fields) {
        SCOPED_TRACE(std::string(field.name));
        const bool is_kept = field.key != RecordKey::none || field.archive != 0;
        EXPECT_TRUE(!is_kept || field.part != nullptr || field.value != nullptr);
        EXPECT_TRUE(names.insert(field.name).second || field.condition != nullptr);
        if (field.archive != 0) {
            EXPECT_TRUE(field.assign != nullptr || field.part != nullptr);
            const auto [at, is_new] = places.emplace(field.archive, &field);
            EXPECT_TRUE(is_new || (field.condition != nullptr && at->second->condition != nullptr));
        }
        if (field.type == FieldType::group) {
            if (is_kept) require_distinct(field.part_fields(), keys);
        } else if (field.key != RecordKey::none) {
            const int count = field.type == FieldType::matrix ? 9 : field.components();
            for (int n = 0; n < count; ++n) {
                // Only fields whose conditions exclude each other share a key.
                const bool shares =
                    last != nullptr && last->key == field.key && field.condition != nullptr;
                EXPECT_TRUE(keys.insert(field.key_of(n)).second || shares) << field.key_of(n);
            }
        }
        last = &field;
    }
    int expected = 0;
    for (const auto& place : places)
        EXPECT_EQ(place.first, ++expected) << "a gap in the archive form";
}

TEST(Description, NoTwoFieldsOfARecordShareAKeyOrAPlace) {
    const auto check = [](std::span<const Field> record, std::span<const Field> with = {},
                          bool has_target = false) {
        std::set<long> keys;
        require_distinct(record, keys, has_target);
        require_distinct(with, keys);
    };
    check(fields_of<SectionHead>(), fields_of<Figures>());
    check(fields_of<TargetHead>(), fields_of<Figures>());
    check(fields_of<FitHead>(), fields_of<Figures>());
    check(fields_of<SectionRow>(), {}, true);
    check(fields_of<TargetRow>(), {}, true);
    check(fields_of<FitRow>());
    check(fields_of<SurfaceHead>(), fields_of<Figures>());
    check(fields_of<SurfaceRow>(), {}, true);
}

// All that is read back is what was kept: each field's value assigned to an empty subject.
TEST(Description, AssigningAValueGivesItBack) {
    SectionRow row;
    row.id = "p";
    row.index = 7;
    row.measured = {1, 2};
    row.comparison.place = OutlinePlace::on_vertex;
    row.comparison.contour = 3;
    row.comparison.outward = {0, 1};
    row.space = SpacePoint{{4, 5, 6}, 7};
    row.deviation_before = 0.25;
    SectionRow copy;
    SectionHead head;
    head.frame.emplace();
    head.alignment.emplace();
    for (const Field& field : fields_of<SectionRow>())
        if (field.applies(&head) && field.assign != nullptr) {
            EXPECT_TRUE(field.assign(&copy, field.value(&row, &head))) << field.name;
            EXPECT_FALSE(field.assign(&copy, NamedValue{99, "none"})) << field.name;
        }
    EXPECT_EQ(text_of(describe(copy, head)), text_of(describe(row, head)));
    EXPECT_EQ(copy.index, 7u);
    EXPECT_EQ(copy.comparison.outward, ERVector2D(0, 1));
}

TEST(RunningStatistics, AreStableFarFromZero) {
    RunningStatistics statistics;
    velm_test::Random random(11);
    RunningStatistics near_zero; // of the same values less what they are far off, which is exact
    for (int i = 0; i < 10000; ++i) {
        const double value = 1e9 + random.uniform(-1.0, 1.0);
        statistics.add(value);
        near_zero.add(value - 1e9);
    }
    const double deviation = near_zero.standard_deviation();
    EXPECT_NEAR(statistics.standard_deviation(), deviation, 1e-6 * deviation);
    EXPECT_NEAR(statistics.mean() - 1e9, near_zero.mean(), 1e-14 * 1e9);
    EXPECT_NEAR(deviation, std::sqrt(1.0 / 3.0), 0.02) << "of a uniform spread";
    RunningStatistics tiny;
    tiny.add(-1e-200);
    EXPECT_EQ(tiny.rms(), 1e-200) << "whose square is no double";
}

} // namespace
