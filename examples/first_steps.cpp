// A host's first program: make a segment, hold it, ask it, store it, and read it back.
#include <velm/velm.h>

#include <iostream>

int main() {
    // Counted pointers own what `new` makes; castdown narrows, to null for an object of another
    // class.
    const t_SmartPtr<EREntity2DWF> entity(new ERSegment2D({0, 0}, {40, 30}));
    ERSegment2D* const edge = ERSegment2D::castdown(entity.get());
    if (!edge) return 1;
    std::cout << edge->className() << ", middle " << (*edge)(0.5) << ", length "
              << edge->arcLength(1e-7) << '\n';

    // Project a probed point: the parameter of its foot, and the distance, positive on the right.
    const ERPoint2D probed(25.0, 18.0);
    double distance = 0.0, t = 0.0;
    edge->SignedMinimalDistance(probed, distance, t);
    std::cout << "foot " << (*edge)(t) << " at " << t << ", distance " << distance << '\n';

    // Boxes take in points; outlines are arrays of points, here the hull of a few.
    ERMinimax2D box = edge->getBox();
    box.Update(probed);
    const ERVec<ERPoint2D> hull =
        CalculateConvexeHull({{0, 0}, {40, 30}, {40, 0}, {25, 5}, probed});
    std::cout << "box " << box.MinPoint() << " to " << box.MaxPoint() << ", hull of " << hull.size()
              << ", centre inside: " << (Inside({20, 12}, hull) == relpos_inside) << '\n';

    // An object writes its own fields, and nothing else; the host knows which class to read into.
    ERFile file;
    if (!file.Open("first_steps.bin", CFile::modeCreate | CFile::modeReadWrite)) return 1;
    file << *edge;
    file.SeekTo(0);
    ERSegment2D restored;
    file >> restored;
    file.Close();
    CFile::Remove("first_steps.bin");
    std::cout << restored;
}
