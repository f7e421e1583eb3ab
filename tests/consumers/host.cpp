// A host that knows only the given names: one include, one library.
#include <velm/velm.h>

int main() {
    const ERPoint2D a(1.0, 2.0);
    const ERPoint2D b(4.0, 6.0);
    return ERVector2D(a, b).norme() == 5.0 ? 0 : 1;
}
