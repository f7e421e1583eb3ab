// A host's static objects: what the library registers is there before the first of them is made and
// until the last is destroyed, in any order of linking.
#include <velm/velm.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void check(const char* when) {
    const ERSegment2D segment;
    const bool well = !velm::registered_classes().empty() && segment.className() != nullptr &&
                      std::strcmp(segment.className(), "ERSegment2D") == 0 &&
                      ERClassRegistration::findCreator("ERPlane") != nullptr &&
                      CRuntimeClass::FromName("CMMPointWithDiameter") != nullptr &&
                      getFactiorielleFactory().Fact(40) > 8e47 && Cnp(30, 15) == 155117520.0;
    if (well) return;
    std::fprintf(stderr, "wrong %s\n", when);
    std::_Exit(1);
}

struct Early {
    Early() { check("before main"); }
    ~Early() { check("after main"); }
} early;

} // namespace

int main() {}
