// A host that knows only the given names: one include, one library, names at global scope.
class ERSegment2D; // a real class, so a host may declare it
class ERMinimax3D;

#include <velm/velm.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <typeinfo>

namespace {

int failures = 0;

void expect(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "wrong: %s\n", what);
    ++failures;
}

// Values, arrays and free functions.
void use_values() {
    const ERVec<ERPoint2D> plate{{0.0, 0.0}, {40.0, 0.0}, {40.0, 20.0}, {0.0, 20.0}};
    expect(Inside(ERPoint2D(1.0, 1.0), plate) == relpos_inside, "Inside");
    expect(PolygonArea(plate) == -800.0, "PolygonArea");
    expect(CalculateConvexeHull(plate).size() == 4, "CalculateConvexeHull");
    ERMinimax2D box;
    box.Update(plate);
    expect(box.xmax == 40.0 && box.ymax == 20.0, "ERMinimax2D::Update");
}

// Objects: counted, recognised across the library's border, made by name, printed.
void use_objects() {
    t_SmartPtr<ERSegment2D> edge(new ERSegment2D(ERPoint2D(0.0, 0.0), ERPoint2D(3.0, 4.0)));
    const t_SmartPtr<ERSegment2D> same = edge;
    expect(edge->references() == 2, "references");
    ERObject* const object = edge.get();
    expect(ERSegment2D::castdown(object) == edge.get(), "castdown");
    expect(dynamic_cast<ERSegment2D*>(object) == edge.get(), "dynamic_cast");
    expect(ERSegment3D::castdown(object) == nullptr, "castdown to another class");

    const auto creator = ERClassRegistration::findCreator("ERSegment3D");
    expect(creator != nullptr, "findCreator");
    const std::unique_ptr<ERObject> made(creator ? creator() : nullptr);
    expect(made && typeid(*made) == typeid(ERSegment3D), "a class made by its name");
    std::ostringstream text;
    text << *edge;
    expect(!text.str().empty(), "printOn");
}

// The file layer: its exceptions pass the library's border.
void use_files() {
    try {
        ERFile file("/no such folder/velm", CFile::modeRead | CFile::shareDenyWrite);
        expect(false, "a file that is not there");
    } catch (CFileException* failure) {
        failure->Delete();
    }
}

} // namespace

int main() {
    use_values();
    use_objects();
    use_files();
    return failures == 0 ? 0 : 1;
}
