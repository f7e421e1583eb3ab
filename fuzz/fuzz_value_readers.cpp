// The readers of stored values over any bytes: array bodies, numbers, texts and values on a file,
// values, transformations and lists of arrays in an archive, curves on a file. What could be read
// must be written back as it was.
#include "velm/curves/bezier_curve.h"
#include "velm/curves/composite_curve.h"
#include "velm/curves/knot_vector.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/curves/polynomial_patch.h"
#include "velm/frame/box.h"
#include "velm/frame/coordinate.h"
#include "velm/frame/main_direction.h"
#include "velm/frame/pole.h"
#include "velm/frame/value_archive.h"
#include "velm/frame/vec.h"
#include "velm/platform/archive.h"
#include "velm/surfaces/bezier_surface.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/transforms/transformation_archive.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/transforms/transformation_handle.h"
#include "velm/wireframe/polyline.h"
#include "velm/wireframe/shapes_in_space.h"

#include "support/caught.h"
#include "support/memory_file.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>
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

// Whatever was read, the curve evaluates, has a box, feet and a NURBS form, and writes a record of
// the size it says.
template <class Curve>
void read_curve(const std::string& bytes) {
    MemoryFile memory(bytes);
    Curve curve;
    curve.restoreGuts(memory);
    MemoryFile copy;
    curve.saveGuts(copy);
    require(copy.bytes.size() == curve.binaryStoreSize());
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
    MemoryFile memory(bytes);
    Shape shape;
    shape.restoreGuts(memory);
    MemoryFile copy;
    shape.saveGuts(copy);
    require(copy.bytes.size() == shape.binaryStoreSize());
    shape.PtCur(1.3);
    shape.getBox();
    shape.ProjectPt({});
    double distance;
    shape.SignedMinimalDistance({}, distance);
    shape.reverse();
    shape.composite_curve();
}

// The same for a surface, which also splits, projects and moves.
template <class Surface>
void read_surface(const std::string& bytes) {
    MemoryFile memory(bytes);
    Surface surface;
    surface.restoreGuts(memory);
    MemoryFile copy;
    surface.saveGuts(copy);
    require(copy.bytes.size() == surface.binaryStoreSize());
    const ERLimites in_u = surface.getBoundU(), in_v = surface.getBoundV();
    surface(in_u(0.3), in_v(0.7));
    surface.PtCur(in_u(0.7), in_v(0.3)).normale();
    surface.getBox();
    surface.getMatricePoint(3, 4);
    surface.project_inbound({1, 2, 3});
    t_SmartPtr<ERAnyBoundedSurface> first, second;
    surface.SplitInU(first, second);
    surface.SplitInV(first, second);
    surface.transformFrom(ERScaling3D(-2));
    surface.reverse();
}

void read_boundary(const std::string& bytes) {
    MemoryFile memory(bytes);
    ERSurfaceBoundary boundary;
    boundary.restoreGuts(memory);
    MemoryFile copy;
    boundary.saveGuts(copy);
    require(copy.bytes.size() == boundary.binaryStoreSize());
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

constexpr void (*readers[])(const std::string&) = {read_array_body,
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
                                                   from_archive<load_values<ERPmSimilitude3D>>,
                                                   read_curve<ERCpoleBezier2D>,
                                                   read_curve<ERCpoleBezier2DR>,
                                                   read_curve<ERCpoleBezier3D>,
                                                   read_curve<ERCpoleBezier3DR>,
                                                   read_curve<ERPatchCPoly2D>,
                                                   read_curve<ERPatchCPoly3D>,
                                                   read_curve<ERCpoleNURBS2D>,
                                                   read_curve<ERCpoleNURBS3D>,
                                                   read_curve<ERPolyline2D>,
                                                   read_curve<ERPolygone3D>,
                                                   read_curve<ERCompCurve2D>,
                                                   read_curve<ERCompCurve3D>,
                                                   read_curve<ERCrvCompPoly2D>,
                                                   read_curve<ERCrvCompPoly3D>,
                                                   read_shape<ERRectangle2D>,
                                                   read_shape<ERRegularPolygon2D>,
                                                   read_shape<ERRoundedSlot2D>,
                                                   read_shape<ERRectangle3D>,
                                                   read_shape<ERRegularPolygon3D>,
                                                   read_shape<ERRoundedSlot3D>,
                                                   read_surface<ERBoundedPlane>,
                                                   read_surface<ERBoundedCylinder>,
                                                   read_surface<ERBoundedCone>,
                                                   read_surface<ERBoundedSphere>,
                                                   read_surface<ERBoundedTorus>,
                                                   read_surface<ERSpoleBezier3D>,
                                                   read_surface<ERSpoleBezier3DR>,
                                                   read_surface<ERSpoleNURBS3D>,
                                                   read_surface<ERSurOfRevolution>,
                                                   read_surface<EROffsetSurface>,
                                                   read_surface<ERTrimmedSurface>,
                                                   read_boundary};

} // namespace

// The first byte says which reader gets the rest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    readers[data[0] % std::size(readers)](
        std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    return 0;
}
