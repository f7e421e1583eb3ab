// Makes a region with a hole from loose pieces, asks for places in it and clips a path by it.
#include <velm/region.h>

#include <cmath>
#include <cstdio>

namespace {

ERVec<ERPoint2D> rectangle(double x0, double y0, double x1, double y1) {
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

} // namespace

int main() {
    // The first contour is the outer one; the others are holes.
    ERRegion2D plate(2, 1);
    plate.Add(rectangle(0, 0, 60, 40));
    plate.Add(rectangle(20, 10, 40, 30));

    const char* const names[] = {"inside", "outside", "on an edge", "on a vertex"};
    for (const ERPoint2D& p : {ERPoint2D(10, 10), ERPoint2D(30, 20), ERPoint2D(60, 5),
                               ERPoint2D(20, 30), ERPoint2D(70, 20)}) {
        int contour = 0;
        const PosContours place = plate.CheckPoint(p, contour);
        std::printf("(%g, %g) is %s, by contour %d\n", p.x(), p.y(), names[place], contour);
    }

    // The part of a probe's path over the material.
    ERTValVector<ERVec<ERPoint2D>> pieces;
    plate.Intersect({{-10, 20}, {70, 20}}, pieces);
    for (int i = 0; i < int(pieces.size()); ++i) {
        const ERVec<ERPoint2D>& piece = pieces[i];
        std::printf("from x = %g to x = %g\n", piece[0].x(), piece[piece.size() - 1].x());
    }
    std::printf("area %g\n",
                std::abs(PolygonArea(plate.Contour(0))) - std::abs(PolygonArea(plate.Contour(1))));
}
