// The curves of CAD files and drawings: made entities, they give the points that their texts state,
// stay the same in a record and through conversions, and join to the composites of their files.
#include "velm/curves/nurbs_curve.h"
#include "velm/curves/nurbs_editing.h"
#include "velm/curves/prepare.h"

#include "support/geometry.h"
#include "support/geometry_text.h"
#include "support/records.h"
#include "support/temporary_folder.h"
#include "velm/transforms/bodies.h"

namespace {

using namespace velm_test;
namespace fs = std::filesystem;

constexpr double pi = std::numbers::pi;
const fs::path data = VELM_REAL_DATA;

// A curve as an entity, with the entity's parameter for the text's t: shift + scale t.
template <int N>
struct RealCurve {
    using D = velm::DimensionOf<N>;
    using Point = typename D::Point;

    t_SmartPtr<typename D::FiniteEntity> entity;
    double shift = 0.0, scale = 1.0;

    double at(double t) const { return shift + scale * t; }
};

template <int N>
typename velm::DimensionOf<N>::Point point_of(const CurveText& text, double t) {
    const CurveText::Point p = text.point(t);
    return velm::DimensionOf<N>::Point::each(
        [&](int c) { return static_cast<double>(p[std::size_t(c)]); });
}

template <int N>
typename velm::DimensionOf<N>::Vector row(const CurveText& text, int i) {
    return velm::DimensionOf<N>::Vector::each(
        [&](int c) { return text.numbers[std::size_t(i * N + c)]; });
}

template <int N>
RealCurve<N> spline(const CurveText& text) {
    using Curve = typename velm::DimensionOf<N>::NurbsCurve;
    ERVec<typename Curve::Pole> poles;
    for (std::size_t i = 0; i < text.poles.size(); i += N + 1) {
        const double w = text.poles[i + N];
        poles.append(Curve::Pole::each(
            [&](int c) { return c < N ? text.poles[i + std::size_t(c)] * w : w; }));
    }
    const ERKnotVector knots(text.degree, text.knots.data(), static_cast<int>(text.knots.size()));
    const ERLimites limits(text.t0, text.t1);
    return {new Curve(poles, knots, limits)};
}

// Arcs run counter-clockwise in the plane; elliptical ones begin with the big axis.
template <int N>
RealCurve<N> conic(const CurveText& text) {
    const auto origin = row<N>(text, 0);
    auto x = row<N>(text, 1), y = row<N>(text, 2);
    RealCurve<N> curve;
    if (x.norme() < y.norme() && text.kind == "ellipse") {
        std::swap(x, y);
        y = y * -1.0;
        curve.shift = -0.5 * pi;
    }
    if constexpr (N == 2) {
        if (x[0] * y[1] - x[1] * y[0] < 0.0) y = y * -1.0, curve.shift *= curve.scale = -1.0;
        if (text.kind == "arc") curve.shift += std::atan2(x[1], x[0]);
    }
    double start = curve.at(text.t0), end = curve.at(text.t1);
    if (start > end) std::swap(start, end);
    const double big = x.norme(), small = y.norme();
    if (text.kind == "ellipse") {
        if (end > 2 * pi && end < 2 * pi + 1e-14) end = 2 * pi; // a whole turn in 15 digits
        if (end > 2 * pi) start -= 2 * pi, end -= 2 * pi, curve.shift -= 2 * pi;
        const ERArcEllipse2D whole(big, small, 0.0, ERPoint2D(), 0.0, 2 * pi);
        start = whole.param_to_central(start), end = whole.param_to_central(end);
    }
    if constexpr (N == 2) {
        const ERPoint2D center(origin[0], origin[1]);
        const double turned = std::atan2(x[1], x[0]);
        if (text.kind == "arc")
            curve.entity = new ERArc2D(center, big, start, end);
        else
            curve.entity = new ERArcEllipse2D(big, small, turned, center, start, end);
    } else {
        const ERPoint3D center(origin[0], origin[1], origin[2]);
        const ERPmIsometrie3D frame(new _ERWorkplane(x, y, center));
        if (text.kind == "arc")
            curve.entity = new ERArc3D(frame, big, start, end);
        else
            curve.entity = new ERArcEllipse3D(EREllipse3D(frame, big, small), start, end);
    }
    return curve;
}

template <int N>
RealCurve<N> real_curve(const CurveText& text) {
    using D = velm::DimensionOf<N>;
    if (text.kind == "nurbs" || text.kind == "polyline") return spline<N>(text);
    if (text.kind == "arc" || text.kind == "ellipse") return conic<N>(text);
    const double length = text.t1 - text.t0;
    return {new typename D::Segment(point_of<N>(text, text.t0), point_of<N>(text, text.t1)),
            -text.t0 / length, 1.0 / length};
}

// The largest coordinate of its poles or points.
double reach_of(const CurveText& text) {
    double reach = 0.0;
    for (int i = 0; i <= 8; ++i)
        for (const long double x : text.point(text.t0 + (text.t1 - text.t0) * i / 8))
            reach = std::max(reach, static_cast<double>(std::fabs(x)));
    const std::size_t width = std::size_t(text.size) + 1;
    for (std::size_t i = 0; i < text.poles.size(); ++i)
        if (i % width != width - 1) reach = std::max(reach, std::fabs(text.poles[i]));
    for (const double x : text.numbers)
        reach = std::max(reach, std::fabs(x));
    return reach;
}

// What rounding may take points of that size off: the texts' digits, frames that are unit and
// square to 15 digits, and the arithmetic.
double allowed_error(double reach) { return 32.0 * std::numeric_limits<double>::epsilon() * reach; }

template <int N>
void expect_points(const CurveText& text) {
    const RealCurve<N> curve = real_curve<N>(text);
    auto& entity = *curve.entity;
    const double bound = allowed_error(reach_of(text));
    const auto prepared = velm::prepare(entity);
    ASSERT_TRUE(prepared);
    auto converted = entity.ConvertToNurbs();
    const auto prepared_conversion = velm::prepare(converted);
    ASSERT_TRUE(prepared_conversion);
    const ERLimites limits(converted.udeb(), converted.ufin());
    auto box = entity.getBox();
    box.Inflate(bound);
    constexpr int samples = 24;
    for (int i = 0; i <= samples; ++i) {
        const double part = double(i) / samples;
        const double t = i < samples ? text.t0 + (text.t1 - text.t0) * part : text.t1;
        const auto expected = point_of<N>(text, t);
        EXPECT_LE(distance(entity(curve.at(t)), expected), bound) << "at " << t;
        EXPECT_LE(distance((*prepared)(curve.at(t)), expected), bound) << "prepared, at " << t;
        const auto nearest = prepared->nearest(expected);
        EXPECT_TRUE(nearest.certified && nearest.distance <= bound) << nearest.distance;
        EXPECT_LE(prepared_conversion->nearest(expected).distance, bound) << "converted, at " << t;
        const auto p = converted(limits(part));
        EXPECT_LE(prepared->nearest(p).distance, bound) << "of the conversion, at " << part;
        EXPECT_TRUE(box.contains(expected)) << t;
    }
    expect_stored(entity, record_of(entity), text_of(entity));
}

// Runs the checks of every curve.
void expect_curves(const std::vector<CurveText>& texts, const std::string& name) {
    SCOPED_TRACE(name);
    for (const CurveText& text : texts) {
        if (text.kind == "composite") continue;
        SCOPED_TRACE(text.kind + " " + text.id + " of dimension " + std::to_string(text.size));
        text.size == 2 ? expect_points<2>(text) : expect_points<3>(text);
        if (testing::Test::HasFatalFailure()) return;
    }
}

std::vector<fs::path> text_files(std::initializer_list<const char*> folders) {
    std::vector<fs::path> files;
    for (const char* folder : folders)
        for (const auto& entry : fs::directory_iterator(data / folder))
            if (entry.path().extension() == ".txt" &&
                entry.path().filename() != "eval_reference.txt")
                files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}
std::vector<fs::path> cad_files() {
    return text_files({"nurbs/gotools", "nurbs/splipy", "iges", "brep", "qif"});
}

class RealCurves : public testing::Test {
protected:
    void SetUp() override {
        if (!fs::exists(data / "qif")) GTEST_SKIP() << "no data in " VELM_REAL_DATA;
    }
};

TEST_F(RealCurves, GiveThePointsOfTheirTextsPreparedConvertedAndStored) {
    std::map<std::string, int> count;
    for (const fs::path& file : cad_files()) {
        const std::vector<CurveText> curves = read_geometry(file).curves;
        expect_curves(curves, file.filename());
        for (const CurveText& text : curves)
            ++count[text.kind];
    }
    for (const fs::path& file : text_files({"dxf"}))
        expect_curves(read_drawing(file), file.filename());
    EXPECT_EQ(count["nurbs"], 1655); // none was overlooked
    EXPECT_EQ(count["arc"], 674);
    EXPECT_EQ(count["ellipse"], 13);
}

// The members of a composite in one curve, each member within the reported deviations.
template <int N>
void expect_joined(const GeometryText& text, const CurveText& composite) {
    using Curve = typename velm::DimensionOf<N>::NurbsCurve;
    SCOPED_TRACE(composite.id);
    std::optional<Curve> whole;
    double deviation = 0.0, reach = 0.0;
    std::vector<const CurveText*> members;
    for (const std::string& id : composite.members) {
        const auto is_member = [&](const CurveText& curve) { return curve.id == id; };
        const auto member = std::find_if(text.curves.begin(), text.curves.end(), is_member);
        ASSERT_NE(member, text.curves.end()) << id;
        members.push_back(&*member);
        reach = std::max(reach, reach_of(*member));
    }
    for (const CurveText* const member : members) {
        Curve next = real_curve<N>(*member).entity->ConvertToNurbs();
        if (!whole) {
            whole = next;
            continue;
        }
        const auto joined = velm::join(*whole, next, 1e-4 * reach);
        ASSERT_TRUE(joined) << member->id;
        deviation += joined->deviation;
        whole = joined->curve;
    }
    const auto prepared = velm::prepare(*whole);
    ASSERT_TRUE(prepared);
    for (const CurveText* const member : members)
        for (int i = 0; i <= 24; ++i) {
            const double t = member->t0 + (member->t1 - member->t0) * i / 24.0;
            EXPECT_LE(prepared->nearest(point_of<N>(*member, t)).distance,
                      deviation + allowed_error(reach))
                << member->id << " at " << t;
        }
}

TEST_F(RealCurves, JoinToTheCompositesOfTheirFiles) {
    int composites = 0;
    for (const fs::path& file : cad_files()) {
        const GeometryText text = read_geometry(file);
        for (const CurveText& composite : text.curves)
            if (composite.kind == "composite" && ++composites)
                composite.size == 2 ? expect_joined<2>(text, composite)
                                    : expect_joined<3>(text, composite);
    }
    EXPECT_EQ(composites, 125);
}

} // namespace
