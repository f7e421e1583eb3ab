// Stores a named segment in an object file, opens the file again and finds it.
#include <velm/velm.h>

#include <iostream>

int main(int argc, char** argv) {
    const char* const file = argc > 1 ? argv[1] : "part.velm";
    ERDataBase parts;
    if (parts.Open(file, 0) != gmSuccess) return 1;
    t_SmartPtr<ERDBObject> edge(new ERDBObject);
    edge->object(new ERSegment2D(ERPoint2D(0, 0), ERPoint2D(30, 40)));
    edge->name("upper edge");
    if (parts.save(t_SmartPtr<ERObject>(edge.get())) != gmSuccess) return 1;
    parts.Close();

    gmErrorCode code = parts.Open(file, 1);
    for (int i = 0; code == gmSuccess && i < parts.getNbEnt(); ++i) {
        const t_SmartPtr<ERObject> found = parts.restore(i, code);
        const ERDBObject* const part = ERDBObject::castdown(found.get());
        if (part) std::cout << i << ": " << part->name() << '\n' << *part->object() << '\n';
    }
    return code == gmSuccess ? 0 : 1;
}
