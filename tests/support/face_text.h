// Trimmed faces of CAD files in their text form: as trimmed surfaces of the library, and their
// curves as polygons computed without it.
#pragma once

#include "support/geometry_text.h"
#include "support/surfaces.h"
#include "velm/curves/composite_curve.h"
#include "velm/curves/conics.h"
#include "velm/surfaces/curve_on_surface.h"

namespace velm_test {

/// The parameters of the library's surface by those of the text.
struct ParameterMap {
    bool swap = false;
    double scale_u = 1.0, scale_v = 1.0, shift_u = 0.0;

    ERPoint2D operator()(double u, double v) const {
        if (swap) std::swap(u, v);
        return {scale_u * u + shift_u, scale_v * v};
    }
    ERPoint2D operator()(const CurveText::Point& p) const {
        return (*this)(static_cast<double>(p[0]), static_cast<double>(p[1]));
    }
    ERPole2DH operator()(const ERPoint2D& p, double weight) const {
        return ERPole2DH((*this)(p.x(), p.y()) * weight, weight);
    }
};

struct FaceText {
    std::string id, surface, surface_kind;
    ParameterMap map;
    t_SmartPtr<ERTrimmedSurface> face;
    /// Of each loop points of its curves, many on each, in the library's parameters.
    std::vector<std::vector<ERPoint2D>> polygons;
};

/// Reads the faces and surfaces of a file.
class FaceTextReader {
public:
    explicit FaceTextReader(const std::filesystem::path& file) {
        std::ifstream in(file);
        for (std::string line; std::getline(in, line);) {
            TextFields fields(line);
            const std::string word = fields.word();
            if (word == "curve2" || word == "curve3") {
                const CurveText curve = read_curve(line, in);
                (curve.size == 2 ? curves_ : space_curves_)[curve.id] = curve;
            } else if (word == "surface") {
                read_surface(fields, in);
            } else if (word == "face") {
                start_face(fields);
            } else if (word == "loop") {
                loops_.push_back({fields.word() == "inner", {}});
            } else if (word == "coedge") {
                fields.word();
                const std::string plane = fields.word();
                fields.word();
                loops_.back().edges.emplace_back(plane, fields.word());
            }
        }
        finish_face();
    }
    std::vector<FaceText> faces;

    std::map<std::string, t_SmartPtr<ERSpoleNURBS3D>> nurbs_surfaces() const {
        std::map<std::string, t_SmartPtr<ERSpoleNURBS3D>> found;
        for (const auto& [id, s] : surfaces_)
            if (s.kind == "nurbs") found[id] = ERSpoleNURBS3D::castdown(s.surface.get());
        return found;
    }

private:
    struct Surface {
        std::string kind;
        t_SmartPtr<ERAnyBoundedSurface> surface; // null for a turned curve that isn't straight
        ParameterMap map;
    };
    struct Loop {
        bool inner;
        std::vector<std::pair<std::string, std::string>> edges; // in the parameters, in space
    };

    static ERPoint3D point(const double* x) { return {x[0], x[1], x[2]}; }
    static ERVector3D vector(const double* x) { return {x[0], x[1], x[2]}; }

    static std::vector<double> numbers(std::istream& in) {
        std::string line;
        std::getline(in, line);
        TextFields fields(line);
        fields.word();
        return fields.rest();
    }

    void read_surface(TextFields& head, std::istream& in) {
        const std::string id = head.word(), kind = head.word();
        Surface& s = surfaces_[id];
        s.kind = kind;
        if (kind == "nurbs") {
            const int p = head.whole(), q = head.whole(), n = head.whole(), m = head.whole();
            const std::vector<double> limits = head.rest(), u = numbers(in), v = numbers(in);
            ERMatrix<ERPole3DH> poles(m, n);
            for (ERPole3DH& pole : poles.writable()) {
                const std::vector<double> c = numbers(in);
                pole = ERPole3DH(point(c.data()) * c[3], c[3]);
            }
            s.surface = new ERSpoleNURBS3D(
                poles, ERKnotVector(p, u.data(), static_cast<int>(u.size())),
                ERKnotVector(q, v.data(), static_cast<int>(v.size())),
                ERLimites(limits[0], limits[1]), ERLimites(limits[2], limits[3]));
        } else if (kind == "revolution") {
            std::vector<double> x;
            for (int i = 0; i < 6; ++i)
                x.push_back(head.number());
            const CurveText& generator = space_curves_.at(head.word());
            if (generator.kind != "segment") return;
            const std::vector<double>&ends = generator.numbers, more = head.rest();
            s.surface = new ERSurOfRevolution(static_cast<ERFiniteEntity3DWF*>(new ERSegment3D(
                                                  point(ends.data()), point(&ends[3]))),
                                              ERInfLine3D(vector(&x[3]), point(x.data())), more[2],
                                              more[3]);
            s.map.swap = more[4] != 0.0;
        } else {
            read_analytic(s, head.rest());
        }
    }

    // Limits are set with the first loop.
    static void read_analytic(Surface& s, const std::vector<double>& x) {
        const ERLimites any(0.0, 1.0);
        const ERPoint3D o = point(x.data());
        if (s.kind == "plane") {
            const ERVector3D u = vector(&x[3]), v = vector(&x[6]);
            s.map.scale_u = u.norme();
            s.map.scale_v = v.norme();
            s.surface = new ERBoundedPlane(ERChgRepere3D(u, v, o), any, any);
            return;
        }
        const ERVector3D axis = vector(&x[3]), across = vector(&x[6]);
        const ERPmIsometrie3D frame = ERChgRepere3D(across, axis ^ across, o);
        const double r = x[9], handed = x.back();
        if (s.kind == "sphere") {
            s.map.scale_u = handed;
            s.surface = new ERBoundedSphere(frame, r, any, any);
        } else if (s.kind == "torus") {
            s.map.scale_u = handed;
            s.surface = new ERBoundedTorus(frame, r, x[10], 0, 1, 0, 1);
        } else if (s.kind == "cylinder") {
            s.map = {true, x[10], handed, 0.0};
            s.surface = new ERBoundedCylinder(frame, r, any, any);
        } else { // a cone: its u counts from the apex, upward
            const double slope = x[10], up = slope < 0.0 ? -1.0 : 1.0;
            const double to_apex = -r / slope;
            s.map = {true, up * x[11], up * handed, -up * to_apex};
            s.surface =
                new ERBoundedCone(ERChgRepere3D(across, (axis ^ across) * up, o + axis * to_apex),
                                  std::atan(std::fabs(slope)), ERLimites(1.0, 2.0), any);
        }
    }

    void start_face(TextFields& fields) {
        finish_face();
        faces.emplace_back();
        faces.back().id = fields.word();
        fields.word();
        faces.back().surface = fields.word();
        surface_ = &surfaces_.at(faces.back().surface);
    }

    void finish_face() {
        if (faces.empty() || loops_.empty()) return;
        FaceText& text = faces.back();
        text.surface_kind = surface_->kind;
        text.map = surface_->map;
        const t_SmartPtr<ERAnyBoundedSurface> base(
            ERAnyBoundedSurface::castdown(surface_->surface->getCopy()));
        std::vector<t_SmartPtr<ERCompCurve2D>> outlines;
        for (const Loop& loop : loops_) {
            outlines.push_back(new ERCompCurve2D());
            text.polygons.emplace_back();
            for (const auto& [in_plane, in_space] : loop.edges) {
                if (in_plane == "-")
                    add_matched(base, space_curves_.at(in_space), *outlines.back(),
                                text.polygons.back());
                else
                    add_curve(curves_.at(in_plane), *outlines.back(), text.polygons.back());
            }
        }
        if (surface_->kind != "nurbs" && surface_->kind != "revolution") {
            const ERMinimax2D box = outlines[0]->getBox();
            static_cast<ERBoundedSurface&>(*base).redefinedDomain({box.xmin, box.xmax},
                                                                  {box.ymin, box.ymax});
        }
        text.face = new ERTrimmedSurface(base.get());
        for (std::size_t i = 0; i < outlines.size(); ++i)
            text.face->addBound(*outlines[i], loops_[i].inner ? ERSurfaceBoundary::inner
                                                              : ERSurfaceBoundary::outer);
        loops_.clear();
    }

    void add_curve(const CurveText& text, ERCompCurve2D& outline,
                   std::vector<ERPoint2D>& polygon) const {
        constexpr int points = 256;
        if (text.kind == "composite") {
            for (const std::string& member : text.members)
                add_curve(curves_.at(member), outline, polygon);
            return;
        }
        const ParameterMap& map = surface_->map;
        const bool straight = text.kind == "segment" || text.kind == "line";
        for (int i = 0; i < points; i += straight ? points : 1)
            polygon.push_back(map(text.point(text.t0 + (text.t1 - text.t0) * i / points)));
        if (straight) {
            outline.append(ERSegment2D(map(text.point(text.t0)), map(text.point(text.t1))), -1.0);
        } else if (text.kind == "nurbs") {
            ERVec<ERPole2DH> poles;
            for (std::size_t i = 0; i < text.poles.size(); i += 3)
                poles.push_back(map({text.poles[i], text.poles[i + 1]}, text.poles[i + 2]));
            const ERKnotVector knots(text.degree, text.knots.data(),
                                     static_cast<int>(text.knots.size()));
            outline.append(ERCpoleNURBS2D(poles, knots, ERLimites(text.t0, text.t1)), -1.0);
        } else { // an arc or ellipse, as the image of an arc of radius 1
            ERCpoleNURBS2D unit = velm::to_nurbs(ERArc2D({0, 0}, 1.0, text.t0, text.t1));
            ERVec<ERPole2DH> poles = unit.getPoles();
            const double* const n = text.numbers.data();
            for (ERPole2DH& pole : poles.writable()) {
                const double x = pole.x_ / pole.weight, y = pole.y_ / pole.weight;
                pole = map({n[0] + n[2] * x + n[4] * y, n[1] + n[3] * x + n[5] * y}, pole.weight);
            }
            outline.append(ERCpoleNURBS2D(poles, unit.getKnots()), -1.0);
        }
    }

    // An edge that the file has in space only, a line there.
    static void add_matched(const t_SmartPtr<ERAnyBoundedSurface>& base, const CurveText& text,
                            ERCompCurve2D& outline, std::vector<ERPoint2D>& polygon) {
        const auto at = [&text](double t) {
            const CurveText::Point p = text.point(t);
            return ERPoint3D(static_cast<double>(p[0]), static_cast<double>(p[1]),
                             static_cast<double>(p[2]));
        };
        const t_SmartPtr<ERFiniteEntity3DWF> line =
            static_cast<ERFiniteEntity3DWF*>(new ERSegment3D(at(text.t0), at(text.t1)));
        t_SmartPtr<ERFiniteEntity2DWF> found;
        if (!match3DCurveOnSurface(base, {}, line, found)) return;
        outline.append(*found, -1.0);
        polygon.push_back(found->firstPt());
    }

    std::map<std::string, CurveText> curves_, space_curves_; // of the plane, of space
    std::map<std::string, Surface> surfaces_;
    const Surface* surface_ = nullptr;
    std::vector<Loop> loops_;
};

/// The text forms of CAD files; tests of them are skipped where there are none.
class TextForms : public testing::Test {
protected:
    void SetUp() override {
        const std::filesystem::path data = VELM_REAL_DATA;
        if (!exists(data / "qif")) GTEST_SKIP() << "no data in " VELM_REAL_DATA;
        for (const char* folder : {"nurbs/gotools", "nurbs/splipy", "iges", "brep", "qif"})
            for (const auto& entry : std::filesystem::directory_iterator(data / folder))
                if (entry.path().extension() == ".txt") files.push_back(entry.path());
        std::sort(files.begin(), files.end());
    }
    std::vector<std::filesystem::path> files;
};

/// A point of an edge as a file states it, to four digits off by the gap; its parameters may be
/// beyond the limits.
struct EdgePoint {
    std::string line, id; ///< of a face or a surface
    double u, v;
    ERPoint3D point;
    double gap;
};

/// Those that are stated beside the text form; none if there is no such file.
inline std::vector<EdgePoint> edge_points(const std::filesystem::path& file) {
    std::vector<EdgePoint> points;
    std::ifstream in(file.parent_path() / (file.stem().string() + "_edgepoints.csv"));
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::replace(line.begin(), line.end(), ',', ' ');
        TextFields fields(line);
        const std::string id = fields.word();
        fields.word();
        const std::vector<double> c = fields.rest();
        points.push_back({line, id, c[0], c[1], {c[2], c[3], c[4]}, c[5]});
    }
    return points;
}

} // namespace velm_test
