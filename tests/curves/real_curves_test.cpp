// The curves of CAD files and drawings: made entities, they give the points that their texts state,
// stay the same in a store and through conversions, and carry the edge points of their files.
#include "velm/curves/nurbs_curve.h"
#include "velm/curves/nurbs_editing.h"
#include "velm/curves/prepare.h"

#include "support/geometry.h"
#include "support/geometry_text.h"
#include "support/records.h"
#include "support/temporary_folder.h"
#include "velm/store/database.h"
#include "velm/transforms/bodies.h"

namespace {

using velm_test::CurveText;
using velm_test::GeometryText;
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
void expect_points(const CurveText& text, std::vector<t_SmartPtr<ERObject>>& kept) {
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
    kept.push_back(curve.entity.get());
}

// Runs the checks of every curve; the entities go into a store and come back.
void expect_curves(const std::vector<CurveText>& texts, const std::string& name) {
    SCOPED_TRACE(name);
    std::vector<t_SmartPtr<ERObject>> kept;
    for (const CurveText& text : texts) {
        if (text.kind == "composite") continue;
        SCOPED_TRACE(text.kind + " " + text.id + " of dimension " + std::to_string(text.size));
        text.size == 2 ? expect_points<2>(text, kept) : expect_points<3>(text, kept);
        if (testing::Test::HasFatalFailure()) return;
    }
    const velm_test::TemporaryFolder folder;
    ERDataBase store;
    ASSERT_EQ(store.Open(folder.path("curves").c_str(), 0), gmSuccess);
    std::vector<std::string> records;
    for (const auto& object : kept) {
        records.push_back(velm_test::record_of(*object));
        ASSERT_EQ(store.save(object), gmSuccess);
    }
    store.Close();
    ASSERT_EQ(store.Open(folder.path("curves").c_str(), 1), gmSuccess);
    for (std::size_t i = 0; i < kept.size(); ++i) {
        gmErrorCode code;
        const t_SmartPtr<ERObject> back = store.restore(static_cast<long>(i), code);
        ASSERT_TRUE(back);
        EXPECT_STREQ(back->className(), kept[i]->className());
        EXPECT_EQ(velm_test::record_of(*back), records[i]) << i;
        EXPECT_EQ(velm_test::text_of(*back), velm_test::text_of(*kept[i])) << i;
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
        const std::vector<CurveText> curves = velm_test::read_geometry(file).curves;
        expect_curves(curves, file.filename());
        for (const CurveText& text : curves)
            ++count[text.kind];
    }
    for (const fs::path& file : text_files({"dxf"}))
        expect_curves(velm_test::read_drawing(file), file.filename());
    EXPECT_EQ(count["nurbs"], 1655); // none was overlooked
    EXPECT_EQ(count["arc"], 674);
    EXPECT_EQ(count["ellipse"], 13);
}

TEST_F(RealCurves, GiveThePublishedPoints) {
    std::ifstream in(data / "nurbs/eval_reference.txt");
    int points = 0;
    CurveText text;
    text.size = 2;
    for (std::string line; std::getline(in, line);) {
        velm_test::TextFields fields(line);
        const std::string word = fields.word();
        if (word == "curve") {
            fields.word();
            text.degree = fields.whole();
            text.poles.clear();
        } else if (word == "knots") {
            text.knots = fields.rest();
            text.t0 = text.knots.front();
            text.t1 = text.knots.back();
        } else if (word == "pole") {
            for (const double x : fields.rest())
                text.poles.push_back(x);
        } else if (word == "at") {
            const double u = fields.number(), x = fields.number(), y = fields.number();
            fields.word();
            EXPECT_TRUE(isEqual((*spline<2>(text).entity)(u), ERPoint2D(x, y), fields.number()))
                << u;
            ++points;
        } else if (word == "basis") {
            break;
        }
    }
    EXPECT_EQ(points, 6);
}

// Curves of space by their names, composites as their members.
class EdgeCurves {
public:
    explicit EdgeCurves(const GeometryText& text) : faces_(text.face_edges) {
        for (const CurveText& curve : text.curves) {
            if (curve.size != 3) continue;
            all_.push_back(curve.id);
            if (curve.kind == "composite") {
                members_[curve.id] = curve.members;
                continue;
            }
            reach_ = std::max(reach_, reach_of(curve));
            if (curve.kind == "line")
                lines_.emplace(curve.id, curve);
            else
                curves_.emplace(curve.id, *velm::prepare(*real_curve<3>(curve).entity));
        }
    }

    // From the nearest edge of the face, from the nearest of all where no face is known.
    double distance_to(const std::string& face, const ERPoint3D& p) const {
        const auto edges = faces_.find(face);
        return distance_to(edges != faces_.end() ? edges->second : all_, p);
    }
    // The largest coordinate of all.
    double reach() const { return reach_; }

private:
    double distance_to(const std::vector<std::string>& ids, const ERPoint3D& p) const {
        double least = HUGE_VAL;
        for (const std::string& id : ids) {
            if (const auto curve = curves_.find(id); curve != curves_.end())
                least = std::min(least, curve->second.nearest(p).distance);
            if (const auto line = lines_.find(id); line != lines_.end()) {
                const ERVector3D along = row<3>(line->second, 1);
                const ERVector3D out(point_of<3>(line->second, 0.0), p);
                least = std::min(least, (out ^ along).norme() / along.norme());
            }
            if (const auto members = members_.find(id); members != members_.end())
                least = std::min(least, distance_to(members->second, p));
        }
        return least;
    }

    std::map<std::string, std::vector<std::string>> faces_, members_;
    std::map<std::string, velm::PreparedCurve<3>> curves_;
    std::map<std::string, CurveText> lines_;
    std::vector<std::string> all_;
    double reach_ = 0.0;
};

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

TEST_F(RealCurves, CarryTheEdgePointsOfTheirFiles) {
    int points = 0;
    for (const fs::path& file : cad_files()) {
        std::ifstream in(file.parent_path() / (file.stem().string() + "_edgepoints.csv"));
        if (!in) continue;
        const EdgeCurves edges(velm_test::read_geometry(file));
        std::string line;
        std::getline(in, line);
        for (; std::getline(in, line); ++points) {
            std::replace(line.begin(), line.end(), ',', ' ');
            velm_test::TextFields fields(line);
            const std::string face = fields.word();
            fields.word();
            const std::vector<double> v = fields.rest(); // u, v, the point, the surface's gap
            const ERPoint3D p(v[2], v[3], v[4]);
            EXPECT_LE(edges.distance_to(face, p), allowed_error(edges.reach()))
                << file.filename() << ": " << line;
        }
    }
    EXPECT_EQ(points, 15951);
}

TEST_F(RealCurves, JoinToTheCompositesOfTheirFiles) {
    int composites = 0;
    for (const fs::path& file : cad_files()) {
        const GeometryText text = velm_test::read_geometry(file);
        for (const CurveText& composite : text.curves)
            if (composite.kind == "composite" && ++composites)
                composite.size == 2 ? expect_joined<2>(text, composite)
                                    : expect_joined<3>(text, composite);
    }
    EXPECT_EQ(composites, 125);
}

} // namespace
