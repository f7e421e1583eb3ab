// Trimmed surfaces: their regions against known shapes, order of boundaries, stored bytes, damaged
// records, wireframes, projections, copies and reversals; curves matched on surfaces.
#include "support/stored_record.h"
#include "support/surfaces.h"
#include "velm/curves/composite_curve.h"
#include "velm/surfaces/curve_on_surface.h"

namespace {

using namespace velm_test;
using Surface = t_SmartPtr<ERAnyBoundedSurface>;
using Curve2 = t_SmartPtr<ERFiniteEntity2DWF>;

Random draw{65};

// A cylinder of radius 10 about z: a step of v is 10 model units.
ERBoundedCylinder tube() { return {ERIdentity3D(), 10.0, {0.0, 5.0}, {0.0, 2 * pi}}; }

// The tube between v 1 and 3 without a hole about (2, 2), partly beyond the limits of u.
ERTrimmedSurface face() {
    ERTrimmedSurface f(tube());
    f.addBound(circle(2, 2, 0.5), Boundary::inner);
    f.addBound(rectangle(-1, 4, 1, 3), Boundary::outer);
    return f;
}
bool is_in_face(const ERPoint2D& p) {
    return p.x() >= 0 && p.x() <= 4 && p.y() >= 1 && p.y() <= 3 && distance(p, {2, 2}) >= 0.5;
}

std::string bytes_of_points(const ERVec<ERPoint3D>& points) {
    return {reinterpret_cast<const char*>(points.view().data()), points.view().size_bytes()};
}

TEST(TrimmedSurface, RegionIsThatOfTheCurvesWithinTheLimits) {
    const ERTrimmedSurface f = face();
    for (int i = 0; i < 20000; ++i) {
        const ERPoint2D p(draw.uniform(-2, 6), draw.uniform(0, 6.2));
        // The polyline of the hole is within 1e-5 of it: 0.0001 of a model length.
        if (std::fabs(distance(p, {2, 2}) - 0.5) < 1e-5) continue;
        ASSERT_EQ(f.isInBound(p), is_in_face(p)) << p;
    }
    EXPECT_TRUE(f.isInBound({4, 2.5}) && f.isInBound({3, 1}) && f.isInBound({0, 3})); // on it
    EXPECT_FALSE(f.isInBound({-0.5, 2.5})) << "within the curve, outside the limits";
    EXPECT_TRUE(ERTrimmedSurface(tube()).isInBound({5, 6}));
    EXPECT_FALSE(ERTrimmedSurface(tube()).isInBound({5.001, 6}));

    ERMinimax2D in_hole(1.9, 2.1, 1.9, 2.1), inside(3, 3.5, 2, 2.5), across(3, 5, 2, 2.5);
    EXPECT_EQ(f.PositionFenetre(in_hole), POLYGONE_DISJOINT);
    EXPECT_EQ(f.PositionFenetre(inside), BOX_INSIDE_POLYGONE);
    EXPECT_EQ(f.PositionFenetre(across), POLYGONE_CROSSES_BOX);
    EXPECT_EQ(ERTrimmedSurface(tube()).PositionFenetre(across), 3);

    const ERTrimmedSurface disc(ERTranslation3D(ERVector3D(0, 0, 7)),
                                new ERArc2D(circle(5, -2, 3)));
    EXPECT_TRUE(disc.isInBound({5, 0.9}) && !disc.isInBound({7.5, 0}));
    EXPECT_EQ(disc(5, 0), ERPoint3D(5, 0, 7));
    EXPECT_EQ(disc.getBoundU(), ERLimites(2, 8));
}

TEST(TrimmedSurface, OrderOfBoundaries) {
    const auto boxes = [](const ERTrimmedSurface& f) {
        std::vector<double> starts;
        for (const auto& boundary : f.getBoundList())
            starts.push_back(boundary->getBox().xmin + 100 * boundary->side());
        return starts;
    };
    const auto add = [](ERTrimmedSurface& f, double u, Boundary::Side side) {
        f.addBound(rectangle(u, u + 1, 0, 1), side);
    };
    using Starts = std::vector<double>;
    ERTrimmedSurface f(tube());
    EXPECT_EQ(f.boundaryBox().ymax, 2 * pi);
    add(f, 1, Boundary::inner);
    EXPECT_FALSE(f.getOutBnd());
    EXPECT_EQ(f.getInBnd(0)->getBox().xmin, 1);
    EXPECT_EQ(f.boundaryBox().xmin, 0) << "an inner boundary leaves the box";
    add(f, 2, Boundary::outer);
    add(f, 3, Boundary::outer); // silently left out
    add(f, 4, Boundary::inner);
    EXPECT_EQ(boxes(f), (Starts{202, 101, 104}));
    EXPECT_EQ(f.boundaryBox().xmin, 2);
    EXPECT_EQ(f.getOutBnd()->getBox().xmin, 2);
    EXPECT_EQ(f.getInBnd(1)->getBox().xmin, 4);
    EXPECT_FALSE(f.getInBnd(2) || f.getInBnd(-1) || f.getInBnd(INT_MAX) || f.getInBnd(INT_MIN));
    add(f, 5, Boundary::unset); // in any case, and the box is then its own
    add(f, 6, Boundary::Side(3));
    f.addBound(static_cast<ERFiniteEntity2DWF*>(nullptr), Boundary::inner);
    EXPECT_EQ(boxes(f), (Starts{202, 101, 104, 205}));
    EXPECT_EQ(f.boundaryBox().xmin, 5);

    ERTrimmedSurface late(tube());
    add(late, 1, Boundary::inner);
    add(late, 2, Boundary::unset); // stays after the inner one, which the region takes for outer
    EXPECT_EQ(boxes(late), (Starts{101, 202}));
    EXPECT_FALSE(late.getOutBnd());
    EXPECT_FALSE(late.getInBnd(0)); // the second one, which is outer
    EXPECT_EQ(late.GetRegion()->IsFirstOuter(), 1);
}

TEST(TrimmedSurface, PolylinesOfABoundary) {
    const ERBoundedCylinder base = tube();
    Boundary hole(circle(2, 2, 0.5), Boundary::inner);
    EXPECT_TRUE(hole.smash(0.01).empty());
    hole.setBaseSurface(const_cast<ERBoundedCylinder*>(&base));
    const ERVec<ERPoint2D> derived = hole.getBound2DasPolyline(0.0);
    for (const double same : {1e-5, 0.0, -1.0}) // the derived one, itself, any
        EXPECT_EQ(hole.getBound2DasPolyline(same).view().data(), derived.view().data());
    const auto sagitta = [](const ERPoint2D& a, const ERPoint2D& b) {
        return 0.5 - distance(milieu(a, b), {2, 2});
    };
    for (int i = 1; i < derived.size(); ++i)
        EXPECT_LE(sagitta(derived[i - 1], derived[i]), 1e-5);
    EXPECT_LT(hole.getBound2DasPolyline(0.01).size(), derived.size() / 10);
    EXPECT_NE(hole.getBound2DasPolyline(-1).view().data(), derived.view().data());

    ERVec<ERPoint3D> points;
    ERVec<ERPoint2D> parameters;
    hole.smash(points, parameters, 0.001);
    ASSERT_EQ(points.size(), parameters.size());
    EXPECT_EQ(bytes_of_points(hole.smash(0.001)), bytes_of_points(points));
    for (int i = 0; i < points.size(); ++i) {
        EXPECT_EQ(points[i], base(parameters[i]));
        if (i == 0) continue;
        const ERPoint3D middle = base(milieu(parameters[i - 1], parameters[i]));
        const ERVector3D chord(points[i - 1], points[i]);
        EXPECT_LE((ERVector3D(points[i - 1], middle) ^ chord).norme(), 0.001 * chord.norme());
    }
    // An open curve is closed; long straight edges are refined on the surface only.
    Boundary open(ERPolyline2D({{0, 0}, {0, 3}, {1e-12, 3}, {4, 3}}), Boundary::outer);
    EXPECT_EQ(open.isClose(), 0);
    open.setBaseSurface(const_cast<ERBoundedCylinder*>(&base));
    ERPoint23List list;
    ExtractList23(open, list, 0.0, 0.01);
    EXPECT_EQ(list.begin()->point, list.last()->value.point);
    EXPECT_EQ(open.getBound2DasPolyline(0.0).size(), 4);
    // Halving the arc of 30 model units down to a sagitta below 0.01: 64 parts of 0.47 (0.0027),
    // where 32 have 0.011; the closing chord likewise, the straight line on the tube stays one.
    EXPECT_EQ(list.size(), 1 + 64 + 1 + 64);
    hole.setBoundary(circle(1, 1, 0.1));
    EXPECT_EQ(hole.getBound2DasPolyline(-1)[0], ERPoint2D(1.1, 1));
    EXPECT_EQ(hole.isClose(), 1);
    EXPECT_EQ(hole.setSide(Boundary::outer), Boundary::inner);
}

TEST(TrimmedSurface, RecordsAndTexts) {
    Boundary b(ERPolyline2D({{1, 2}, {3, 4}}), Boundary::outer);
    const ERBoundedPlane plane(ERIdentity3D(), {0, 9}, {0, 9});
    b.setBaseSurface(const_cast<ERBoundedPlane*>(&plane));
    EXPECT_EQ(record_of(b), bytes_of(0, 0, -1, 0, 0, 0.0, 0.0, 0, 0, 2, 0x15));
    b.smash(0.5);
    const std::string record = bytes_of(0, 0, -1, 1, 1, 0.5, 0.0001, 32, 1.0, 2.0, 3.0, 4.0, 72,
                                        1.0, 2.0, 0.0, 3.0, 4.0, 0.0, 1.0, 2.0, 0.0, 2, 0x15);
    EXPECT_EQ(record_of(b), record);
    EXPECT_EQ(text_of(b).substr(0, 73),
              "Surface Boundary : A Pointer to a ERFiniteEntity2DWF ( ERPolyline2D ) wit");
    b.scale(2); // the polyline of the plane survives
    EXPECT_EQ(record_of(b).substr(12, 8), bytes_of(1, 0));
    Boundary back;
    EXPECT_EQ(record_of(restore(back, record)).substr(8), record.substr(12)) << "without its curve";
    EXPECT_EQ(back.smash(0.5)[1], ERPoint3D(3, 4, 0)) << "stored polylines are current";
    EXPECT_EQ(text_of(Boundary()),
              "Surface Boundary : A Pointer to a ERFiniteEntity2DWF (NULL) \n");

    EXPECT_EQ(record_of(ERTrimmedSurface()),
              bytes_of(1, 0, 1e30, 1e30, -1e30, -1e30, 0).substr(0, 8) + bytes_of(ERMinimax2D()) +
                  bytes_of(0));
    EXPECT_EQ(record_of(face()), bytes_of(0, -1, 1, -1.0, 1.0, 4.0, 3.0, 2, 0, -1, 0, -1));
    const std::string text = text_of(ERTrimmedSurface());
    EXPECT_EQ(text.substr(0, 40), "TRIMMED SURFACE :  \n    No Base Surface ");
    EXPECT_NE(text.find("\n Boundary box   : "), std::string::npos);
    EXPECT_NE(text.find("\n 1st is Outer   : 0\n The Boundaries : \n"), std::string::npos);
    EXPECT_EQ(text_of(face()).substr(0, 34), "TRIMMED SURFACE :  \n Base Surface ");
}

struct StoredFace : testing::Test, StoredRecord<ERTrimmedSurface> {
    StoredFace() : StoredRecord(new ERTrimmedSurface(face())) {}
    static constexpr std::size_t base_at = 4, count_at = 44, first_at = 52, second_at = 60;
};

TEST_F(StoredFace, ComesBackWhole) {
    const auto back = with(0, "");
    ASSERT_TRUE(back);
    EXPECT_EQ(record_of(*back), record);
    for (int i = 0; i < 200; ++i) {
        const ERPoint2D p(draw.uniform(0, 5), draw.uniform(0, 6));
        EXPECT_EQ(back->isInBound(p), kept->isInBound(p));
        EXPECT_EQ((*back)(p), (*kept)(p));
    }
    EXPECT_EQ(back->getBoundList().first()->smash(0.1).size(),
              kept->getBoundList().first()->smash(0.1).size());
    // What is on record doesn't follow a map; saved again, the surface is on record as mapped.
    back->scale(2);
    ERDataBase data;
    ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
    ASSERT_EQ(data.save(t_SmartPtr<ERObject>(back->getCopy())), gmSuccess);
    gmErrorCode code;
    for (const int index : {0, 1}) {
        const auto read = data.restore(index, code);
        EXPECT_TRUE(isEqual(ERTrimmedSurface::castdown(*read)(1, 2),
                            (*kept)(index == 0 ? 1.0 : 0.5, 2) * (index + 1.0), 1e-12));
    }
}

TEST_F(StoredFace, DamagedReferencesEndInNothing) {
    // Itself as its base, a boundary as base, no record; the base as outer boundary, as hole.
    const int self = static_cast<int>(kept->getObjectID());
    for (const int other : {self, whole_at(first_at), 9999, -1}) {
        const auto back = with(base_at, bytes_of(other));
        ASSERT_TRUE(back);
        EXPECT_FALSE(back->base_surface());
        EXPECT_EQ(back->isInBound({3, 2}), 0);
        EXPECT_EQ((*back)(3, 2), ERPoint3D());
    }
    const auto no_outer = with(first_at, bytes_of(whole_at(base_at)));
    EXPECT_FALSE(no_outer->getOutBnd());
    EXPECT_EQ(no_outer->isInBound({4.5, 2}), 1) << "the hole alone";
    EXPECT_EQ(no_outer->isInBound({2, 2}), 0);
    EXPECT_EQ(no_outer->boundaryBox().xmax, 5);
    const auto no_hole = with(second_at, bytes_of(self));
    EXPECT_EQ(no_hole->isInBound({2, 2}), 1);
    for (const int count : {-1, 1 << 30, 3, 0}) {
        const auto back = with(count_at, bytes_of(count));
        EXPECT_EQ(back->getBoundList().entries(), count == 3 ? 2 : 0) << count;
    }
    // One boundary twice is two boundaries.
    EXPECT_EQ(with(second_at, bytes_of(whole_at(first_at)))->getBoundList().entries(), 2);
}

TEST_F(StoredFace, AnyBytesAreSafe) {
    for (int round = 0; round < 200; ++round) {
        std::string noise;
        for (int n = 1 + draw.below(8); n > 0; --n)
            noise.push_back(static_cast<char>(draw.below(round % 2 ? 4 : 256)));
        // In all records of the file's last part: base, curves, boundaries, the face.
        const int reach = static_cast<int>(record.size()) + 400;
        const std::size_t offset =
            record.size() -
            std::min<std::size_t>(std::size_t(draw.below(reach)) + noise.size(), at);
        const auto back = with(offset, noise);
        if (!back) continue;
        Surface a, b;
        back->isInBound({3, 2});
        ERMinimax2D box(1, 2, 1, 2);
        back->PositionFenetre(box);
        EXPECT_EQ(record_of(*back).size(), back->binaryStoreSize());
        back->SplitInU(a, b);
        const t_SmartPtr<ERObject> copy(back->getCopy());
        text_of(*copy);
        back->transformFrom(ERScaling3D(-2));
        back->reverse();
    }
}

// Counts what a wireframe gives, as lengths along constant u and v.
struct Drawing : gmProcessMesh {
    Drawing() : gmProcessMesh(1e-4) {}
    void on_add_wireframe(const ERFiniteEntity3DWF& curve, const ERLimites& limits) override {
        intervals.push_back(limits);
        gmProcessMesh::on_add_wireframe(curve, limits);
    }
    void on_add_polyline(const ERVec<ERPoint3D>& polyline) override { lines.push_back(polyline); }
    int u_density() const override { return 5; }
    int v_density() const override { return density_v; }

    int density_v = 4;
    std::vector<ERLimites> intervals;
    std::vector<ERVec<ERPoint3D>> lines;
};

TEST(TrimmedSurface, WireframeIsCutToTheRegion) {
    // Over the limits of u, 0 to 5, lines of constant u at 0, 1, ... 5; of v at multiples of pi/2.
    const ERTrimmedSurface f = face();
    Drawing mesh;
    mesh.tessellate(f);
    const double half = std::sqrt(0.25 - std::pow(pi / 2 - 2, 2));
    const std::vector<ERLimites> expected = {
        {1, 3},        {1, 3},       {1, 1.5},
        {2.5, 3},      {1, 3},         // u = 0 to 3; 4 is on the region's box
        {0, 2 - half}, {2 + half, 4}}; // v = pi/2
    ASSERT_EQ(mesh.intervals.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(mesh.intervals[i].start(), expected[i].start(), 1e-4) << i;
        EXPECT_NEAR(mesh.intervals[i].end(), expected[i].end(), 1e-4) << i;
    }
    EXPECT_EQ(mesh.lines.size(), expected.size() + 2); // and both boundaries
    EXPECT_EQ(bytes_of_points(mesh.lines[0]),
              bytes_of_points(f.getBoundList().first()->smash(1e-4)));
    for (const ERVec<ERPoint3D>& line : mesh.lines)
        for (const ERPoint3D& p : line)
            EXPECT_NEAR(std::hypot(p.x(), p.y()), 10, 1e-12);

    Drawing on_box;
    f.extract_u_wireframe(4, on_box);
    f.extract_v_wireframe(4, on_box);
    EXPECT_TRUE(on_box.intervals.empty());
    f.extract_wireframe(4, gmMeshDirU, 1, on_box); // an edge counts as inside
    ASSERT_EQ(on_box.intervals.size(), 1u);
    EXPECT_EQ(on_box.intervals[0], ERLimites(1, 3));

    Drawing whole, of_base;
    whole.density_v = of_base.density_v = 0; // skipped
    whole.tessellate(ERTrimmedSurface(tube()));
    of_base.tessellate(tube());
    EXPECT_EQ(whole.intervals, of_base.intervals);
    EXPECT_EQ(whole.intervals.size(), 6u);
    ERTrimmedSurface(tube()).extract_u_wireframe(0, whole); // no region's box to skip
    EXPECT_EQ(whole.intervals.back(), ERLimites(0, 2 * pi));
}

TEST(TrimmedSurface, ProjectionsAreFiltered) {
    const ERTrimmedSurface f = face();
    for (int i = 0; i < 500; ++i) {
        const ERPoint2D at(draw.uniform(0, 5), draw.uniform(0.1, 6));
        const ERPoint3D p = f(at) + f.PtCur(at).normale() * draw.uniform(-5, 5);
        ERPoint2D foot;
        ASSERT_EQ(f.ProjectionNormale(p, 0, foot, 0), 1);
        EXPECT_TRUE(isEqual(foot, at, 1e-12));
        EXPECT_EQ(f.ProjectionNormale(p, 0, foot, 1), f.isInBound(at));
        ERPoint3D on;
        ERVector3D normal;
        EXPECT_EQ(f.ProjectionNormale(p, on, normal), f.isInBound(at));
    }
    // A surface of poles over the plane, through the hole and beside it.
    ERMatrix<ERPole3DH> poles(3, 3);
    for (int i = 0; i < 9; ++i)
        poles(i / 3, i % 3) = ERPole3DH(ERPoint3D(i % 3, i / 3, i == 4), 1.0);
    const ERKnotVector knots(2, 3, {0, 2});
    ERTrimmedSurface patch(ERSpoleNURBS3D(poles, knots, knots));
    patch.addBound(circle(1, 1, 0.9), Boundary::outer);
    patch.addBound(circle(1, 1, 0.2), Boundary::inner);
    for (int i = 0; i < 200; ++i) {
        const ERPoint2D at(draw.uniform(0.05, 1.95), draw.uniform(0.05, 1.95));
        ERRaySurfaceResult all, inside;
        patch.ProjectPoint(ERPoint3D(at.x(), at.y(), 9), all, 0);
        patch.ProjectPoint(ERPoint3D(at.x(), at.y(), 9), {0, 0, 1}, inside, 1);
        ASSERT_GE(all.size(), 1) << at;
        EXPECT_TRUE(isEqual(all.begin()->parametre(), at, 1e-6));
        EXPECT_EQ(inside.empty(), !patch.isInBound(at)) << at;
    }
    ERRaySurfaceResult result; // solutions that were there before go as well
    for (const ERPoint2D& at : {ERPoint2D(3, 2), ERPoint2D(2, 2), ERPoint2D(4.5, 2)}) {
        ERInfoPoint3DSurf solution = f.PtCur(at);
        result.AddPointSolution(solution);
    }
    f.ProjectPoint({100, 100, 100}, result, 0);
    EXPECT_EQ(result.size(), 3);
    f.ProjectPoint({100, 100, 100}, {0, 1, 0}, result, 1);
    EXPECT_EQ(result.size(), 1);
    EXPECT_EQ(result.begin()->u(), 3);
}

TEST(TrimmedSurface, CopiesAndSharedBases) {
    const Surface base = new ERBoundedPlane(ERIdentity3D(), {0, 9}, {0, 9});
    t_SmartPtr<ERTrimmedSurface> first = new ERTrimmedSurface(base.get());
    ERTrimmedSurface second(base.get());
    first->addBound(rectangle(1, 3, 1, 3), Boundary::unset);
    const t_SmartPtr<ERTrimmedSurface> copy(ERTrimmedSurface::castdown(first->getCopy()));
    const t_SmartPtr<Boundary> held = first->getBoundList().first();
    EXPECT_EQ(held->smash(1).size(), 5);
    first->translate({0, 0, 2});
    EXPECT_EQ(second(1, 1), ERPoint3D(1, 1, 2)) << "a shared base";
    EXPECT_EQ((*copy)(1, 1), ERPoint3D(1, 1, 0)) << "a copied one";
    EXPECT_EQ(held->smash(1)[0], ERPoint3D(1, 1, 2));
    EXPECT_EQ(copy->getBoundList().first()->smash(1)[0], ERPoint3D(1, 1, 0));
    *copy = second;
    EXPECT_TRUE(copy->getBoundList().isEmpty());
    *copy = *first;
    *copy = *copy;
    EXPECT_TRUE(copy->isInBound({2, 2}) && !copy->isInBound({4, 4}));
    first = nullptr;
    EXPECT_EQ(held->baseSurface(), nullptr);
    EXPECT_TRUE(held->smash(0.5).empty());

    Surface a(copy.get()), b;
    EXPECT_EQ(a->SplitInU(a, b), 1);
    EXPECT_EQ(a->getBoundU(), ERLimites(0, 4.5));
    EXPECT_STREQ(b->className(), "ERBoundedPlane");
}

TEST(TrimmedSurface, ReversalKeepsTheFaceInPlace) {
    ERMatrix<ERPole3DH> poles(4, 5);
    for (ERPole3DH& pole : poles.writable())
        pole = ERPole3DH(draw.value<ERPoint3D>(5), 1.0);
    const t_SmartPtr<ERFiniteEntity3DWF> curve =
        new ERCpoleBezier3D({{3, 0, 0}, {1, 0, 1}, {2, 0, 4}}, ERLimites(0, 1));
    const Surface turned =
        new ERSurOfRevolution(curve, ERInfLine3D(ERVector3D(0, 0, 1), {0, 0, 0}), 0, 1);
    for (const Surface& base : {Surface(new ERSpoleNURBS3D(poles, ERKnotVector(3, 5, {0, 1}),
                                                           ERKnotVector(2, 4, {0, 1}))),
                                turned, Surface(new EROffsetSurface(*turned, 0.5, {0, 0, 1})),
                                Surface(new ERBoundedPlane(ERIdentity3D(), {0, 1}, {0, 1}))}) {
        ERTrimmedSurface f(*base);
        f.addBound(circle(0.4, 0.55, 0.3), Boundary::outer);
        f.addBound(rectangle(0.3, 0.4, 0.5, 0.6), Boundary::inner);
        const ERTrimmedSurface before = f;
        f.reverse();
        const bool negated = f.vdeb() < 0;
        for (int i = 0; i < 200; ++i) {
            const ERPoint2D p(draw.uniform(0, 1), draw.uniform(0, 1));
            const ERPoint2D q = negated ? ERPoint2D(p.x(), -p.y()) : ERPoint2D(p.y(), p.x());
            ASSERT_TRUE(isEqual(f(q), before(p), 1e-12)) << base->className();
            EXPECT_EQ(f.isInBound(q), before.isInBound(p)) << base->className() << p;
        }
    }
}

// A plane whose polishing moves the parameter in u and counts.
class PolishedPlane : public ERBoundedPlane {
public:
    PolishedPlane() : ERBoundedPlane(ERIdentity3D(), {-9, 9}, {-9, 9}) {}
    int ReajustProjection(ERPoint3D&, ERPoint2D& parameter, int) const override {
        ++polished;
        parameter = ERPoint2D(parameter.x() + step, parameter.y());
        return 0;
    }
    mutable int polished = 0;
    double step = 0;
};

TEST(Match3DCurveOnSurface, KeepsFeetByTheirDistances) {
    const t_SmartPtr<PolishedPlane> target = new PolishedPlane();
    const Surface surface(target.get());
    const auto match = [&](double height, const Surface& source, Curve2& found) {
        const t_SmartPtr<ERFiniteEntity3DWF> line =
            new ERPolyline3D({{1, 2, height}, {3, 4, height}, {5, 4, height}});
        target->polished = 0;
        return match3DCurveOnSurface(surface, source, line, found);
    };
    Curve2 found;
    EXPECT_EQ(match(0.05, {}, found), 1);
    EXPECT_EQ(target->polished, 0) << "at 0.05 as it is";
    ASSERT_STREQ(found->className(), "ERPolyline2D");
    EXPECT_EQ((*found)(1.0), ERPoint2D(3, 4));
    EXPECT_EQ(match(0.5, {}, found), 1);
    EXPECT_EQ(target->polished, 3);
    const Curve2 before = found;
    EXPECT_EQ(match(0.51, {}, found), 0);
    target->step = 0.4; // hypot(0.4, 0.3) = 0.5
    EXPECT_EQ(match(0.3, {}, found), 1);
    EXPECT_EQ((*found)(1.0), ERPoint2D(3.4, 4));
    EXPECT_EQ(match(0.31, {}, found), 0);
    // A source moves the points to itself first; one without a foot leaves them.
    const Surface near =
        new ERBoundedPlane(ERTranslation3D(ERVector3D(0, 0, 0.04)), {-9, 9}, {-9, 9});
    EXPECT_EQ(match(7, near, found), 1);
    EXPECT_EQ(target->polished, 0);
    EXPECT_EQ(match3DCurveOnSurface({}, {}, {}, found), 0);
    const t_SmartPtr<ERFiniteEntity3DWF> far = new ERPolyline3D({{1, 2, 0}, {30, 4, 0}});
    EXPECT_EQ(match3DCurveOnSurface(surface, {}, far, found), 0) << "one foot alone";
}

} // namespace
