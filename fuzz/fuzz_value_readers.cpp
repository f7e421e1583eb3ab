// The readers of stored values over any bytes: array bodies, numbers, texts and values on a file,
// values, transformations and lists of arrays in an archive, curves on a file. What could be read
// must be written back as it was.
#include "support/caught.h"
#include "support/memory_file.h"
#include "velm/velm.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

using velm_test::MemoryFile;

void require(bool holds) {
    if (!holds) std::abort();
}

void read_array_body(const std::string& bytes) {
    MemoryFile file(bytes);
    ERVecRep* const body = ERVecRep::getRep(file);
    if (body == nullptr) return;
    const ERVec<char> array(body);
    MemoryFile copy;
    body->saveGuts(copy);
    require(copy.bytes.size() == body->binaryStoreSize());
    require(bytes.compare(0, copy.bytes.size(), copy.bytes) == 0);
}

void read_texts(const std::string& bytes) {
    MemoryFile memory(bytes);
    ERFile& file = memory;
    std::string text(bytes.size() + 1, '\0');
    while (!file.Eof())
        file.Read(text.data());
}

template <class Number>
void read_numbers(const std::string& bytes) {
    MemoryFile memory(bytes);
    ERFile& file = memory;
    unsigned char count = 0;
    while (file.Read(count)) {
        std::vector<Number> numbers(count);
        file.Read(numbers.data(), numbers.size());
    }
}

template <class Value>
void read_values(const std::string& bytes) {
    MemoryFile memory(bytes);
    ERFile& file = memory;
    MemoryFile copy;
    Value value;
    while (velm::bytes_left(memory) >= value.binaryStoreSize()) {
        file >> value;
        static_cast<ERFile&>(copy) << value;
    }
    require(bytes.compare(0, copy.bytes.size(), copy.bytes) == 0);
    file >> value;
}

// Whatever the numbers, the transformation maps points and has a stored form of its size.
void use(const ERPmSimilitude3D& t) {
    ERPoint3D p(1, 2, 3);
    (~t * t).TransTo(t.TransFrom(p));
    MemoryFile copy;
    static_cast<ERFile&>(copy) << t;
    require(copy.bytes.size() == t.binaryStoreSize() && t.isValid() <= 1);
}

void read_transformations(const std::string& bytes) {
    MemoryFile memory(bytes);
    ERFile& file = memory;
    ERPmSimilitude3D t;
    file >> t;
    use(t);
}

template <class Entity>
void restore(Entity& entity, const std::string& bytes) {
    MemoryFile memory(bytes), copy;
    entity.restoreGuts(memory);
    entity.saveGuts(copy);
    require(copy.bytes.size() == entity.binaryStoreSize());
}

// Whatever was read, the curve evaluates, has a box, feet and a NURBS form, and writes a record of
// the size it says.
template <class Curve>
void read_curve(const std::string& bytes) {
    Curve curve;
    restore(curve, bytes);
    const ERLimites limits = curve.getBound();
    curve(limits(0.3));
    curve.PtCur(limits(0.7));
    curve.getBox();
    curve.reverse();
    ERVec<double> feet;
    curve.ProjectPoint({}, feet, 1.0);
    curve.ConvertToNurbs();
}

// Likewise of a closed shape: points, nearest points, a box and edges.
template <class Shape>
void read_shape(const std::string& bytes) {
    Shape shape;
    restore(shape, bytes);
    shape.PtCur(1.3);
    shape.getBox();
    shape.ProjectPt({});
    double distance;
    shape.SignedMinimalDistance({}, distance);
    shape.reverse();
    shape.composite_curve();
}

// Feet and crossings of what takes bounded work: few poles, and no size that the given operations,
// which go down to lengths of about 1, halve for long.
void project_on(const ERAnyBoundedSurface& surface, std::size_t bytes) {
    constexpr std::size_t most_bytes = 1024;
    constexpr double most_size = 50.0, most_reach = 1e100; // squares are numbers
    const ERPoint3D p(1, 2, 3);
    ERMinimax3D all = surface.getBox();
    if (bytes > most_bytes || !(all.diagonal() < most_size)) return;
    all.Update(p);
    if (!(all.diagonal() < most_reach)) return;
    const ERVector3D direction(0.3, 0.2, 1);
    ERPoint2D at;
    if (surface.ProjectionNormale(p, 5.0, at, 1) != 0) surface(at.x(), at.y());
    ERRaySurfaceResult given;
    surface.ProjectPoint(p, direction, given, 1);
    const auto prepared = velm::prepare(surface);
    if (!prepared || !(prepared->box().diagonal() < most_size)) return; // a trim may reach far
    const auto projector = velm::SurfaceProjector::on(*prepared);
    constexpr int budget = 64;
    const velm::SurfaceFoot foot = projector->nearest(p, budget);
    require(foot.lower <= foot.distance && foot.distance < HUGE_VAL);
    std::vector<velm::SurfaceCrossing> crossings;
    velm::line_crossings(*projector, p, direction, crossings);
}

// The same for a surface, which also splits, projects and moves.
template <class Surface>
void read_surface(const std::string& bytes) {
    Surface surface;
    restore(surface, bytes);
    const ERLimites in_u = surface.getBoundU(), in_v = surface.getBoundV();
    surface(in_u(0.3), in_v(0.7));
    surface.PtCur(in_u(0.7), in_v(0.3)).normale();
    surface.getBox();
    surface.getMatricePoint(3, 4);
    surface.project_inbound({1, 2, 3});
    project_on(surface, bytes.size());
    t_SmartPtr<ERAnyBoundedSurface> first, second;
    surface.SplitInU(first, second);
    surface.SplitInV(first, second);
    surface.transformFrom(ERScaling3D(-2));
    surface.reverse();
}

void read_boundary(const std::string& bytes) {
    ERSurfaceBoundary boundary;
    restore(boundary, bytes);
    boundary.getBox();
    boundary.getBound2DasPolyline(-1.0);
    boundary.smash(0.5);
}

template <class Value>
void load_values(CArchive& archive) {
    Value value;
    while (archive.bytes_left() > 0) {
        archive >> value;
        if constexpr (std::is_base_of_v<ERPmSimilitude3D, Value>) use(value);
    }
}

void load_arrays(CArchive& archive) {
    velm::PointArrayList arrays;
    velm_test::archive_cause([&] { archive >> arrays; });
    for (ERVec<ERPoint3D>* array : arrays)
        delete array;
}

void load_counts(CArchive& archive) {
    while (archive.bytes_left() > 0)
        archive.ReadCount();
}

template <auto load>
void from_archive(const std::string& bytes) {
    MemoryFile file(bytes);
    CArchive archive(&file, CArchive::load, 128);
    velm_test::archive_cause([&] { load(archive); });
}

using Readers = std::vector<void (*)(const std::string&)>;

template <class... Curves>
Readers of_curves() {
    return {read_curve<Curves>...};
}
template <class... Shapes>
Readers of_shapes() {
    return {read_shape<Shapes>...};
}
template <class... Surfaces>
Readers of_surfaces() {
    return {read_surface<Surfaces>...};
}

// The corpus knows them by their numbers.
const Readers readers = [] {
    Readers all = {read_array_body,
                   read_texts,
                   read_numbers<long>,
                   read_numbers<double>,
                   read_values<ERPoint3D>,
                   read_values<ERPole3DH>,
                   read_values<ERMinimax3D>,
                   from_archive<load_arrays>,
                   from_archive<load_values<ERMainDirection>>,
                   from_archive<load_values<ERMinimax3D>>,
                   from_archive<load_values<Coordinate>>,
                   from_archive<load_counts>,
                   read_transformations,
                   from_archive<load_values<ERPmIsometrie3D>>,
                   from_archive<load_values<ERPmSimilitude3D>>};
    for (const Readers& more :
         {of_curves<ERCpoleBezier2D, ERCpoleBezier2DR, ERCpoleBezier3D, ERCpoleBezier3DR,
                    ERPatchCPoly2D, ERPatchCPoly3D, ERCpoleNURBS2D, ERCpoleNURBS3D, ERPolyline2D,
                    ERPolygone3D, ERCompCurve2D, ERCompCurve3D, ERCrvCompPoly2D, ERCrvCompPoly3D>(),
          of_shapes<ERRectangle2D, ERRegularPolygon2D, ERRoundedSlot2D, ERRectangle3D,
                    ERRegularPolygon3D, ERRoundedSlot3D>(),
          of_surfaces<ERBoundedPlane, ERBoundedCylinder, ERBoundedCone, ERBoundedSphere,
                      ERBoundedTorus, ERSpoleBezier3D, ERSpoleBezier3DR, ERSpoleNURBS3D,
                      ERSurOfRevolution, EROffsetSurface, ERTrimmedSurface>()})
        all.insert(all.end(), more.begin(), more.end());
    all.push_back(read_boundary);
    return all;
}();

} // namespace

// The first byte says which reader gets the rest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    readers[data[0] % std::size(readers)](
        std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    return 0;
}
