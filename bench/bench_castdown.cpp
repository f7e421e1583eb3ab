// castdown and isKindOf against dynamic_cast: on a tree of five levels over ERObject, and on the
// segments of the library, whose finite interface has its entity as a virtual base.
#include "velm/frame/object.h"
#include "velm/wireframe/segment.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <ostream>

namespace {

class Level1 : public ERObject {
    VELM_DECLARE_CLASS(Level1)
    ERObject* getCopy() const override { return nullptr; }
    void printOn(std::ostream&) const override {}
};
class Level2 : public Level1 {
    VELM_DECLARE_CLASS(Level2)
};
class Level3 : public Level2 {
    VELM_DECLARE_CLASS(Level3)
};
class Level4 : public Level3 {
    VELM_DECLARE_CLASS(Level4)
};
class Level5 : public Level4 {
    VELM_DECLARE_CLASS(Level5)
};
class Sibling5 : public Level4 {
    VELM_DECLARE_CLASS(Sibling5)
};
class VirtualLevel5 : public virtual Level4 {
    VELM_DECLARE_CLASS(VirtualLevel5)
};

// Each class of the library has its own source file, so no level is inlined into the next.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC push_options
#pragma GCC optimize("no-inline")
#endif
VELM_DEFINE_CLASS(Level1, ERObject)
VELM_DEFINE_CLASS(Level2, Level1)
VELM_DEFINE_CLASS(Level3, Level2)
VELM_DEFINE_CLASS(Level4, Level3)
VELM_DEFINE_CLASS(Level5, Level4)
VELM_DEFINE_CLASS(Sibling5, Level4)
VELM_DEFINE_CLASS(VirtualLevel5, Level4)
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC pop_options
#endif

template <class Object, class Wanted>
void castdown(benchmark::State& state) {
    std::unique_ptr<ERObject> const object(new Object);
    ERObject* p = object.get();
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        Wanted const* const found = Wanted::castdown(p);
        benchmark::DoNotOptimize(found);
    }
}

template <class Object, class Wanted>
void isKindOf(benchmark::State& state) {
    std::unique_ptr<ERObject> const object(new Object);
    ERObject* p = object.get();
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        bool const found = p->isKindOf(Wanted::desc()) != 0;
        benchmark::DoNotOptimize(found);
    }
}

template <class Object, class Wanted>
void dynamicCast(benchmark::State& state) {
    std::unique_ptr<ERObject> const object(new Object);
    ERObject* p = object.get();
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        Wanted const* const found = dynamic_cast<Wanted const*>(p);
        benchmark::DoNotOptimize(found);
    }
}

#define VELM_BENCH_CAST(OBJECT, WANTED)                                                            \
    BENCHMARK(castdown<OBJECT, WANTED>);                                                           \
    BENCHMARK(isKindOf<OBJECT, WANTED>);                                                           \
    BENCHMARK(dynamicCast<OBJECT, WANTED>)

VELM_BENCH_CAST(Level5, Level5);        // the class itself
VELM_BENCH_CAST(Level5, Level3);        // a base half-way
VELM_BENCH_CAST(Level5, Level1);        // the farthest base
VELM_BENCH_CAST(Level5, Sibling5);      // no such class
VELM_BENCH_CAST(VirtualLevel5, Level1); // through a virtual base
VELM_BENCH_CAST(ERSegment2D, ERSegment2D);
VELM_BENCH_CAST(ERSegment2D, EREntity);
VELM_BENCH_CAST(ERSegment2D, ERSegment3D);

} // namespace
