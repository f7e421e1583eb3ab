// The identity of each thread, and handles that cross threads or outlive the one that made them.
#include "support/threads.h"
#include "transforms/kinds.h"
#include "velm/frame/point_functions.h"

namespace {

using velm_test::RandomTransformations;

TEST(ThreadsIdentity, IsOneForEachThread) {
    ERTr3DRevRep* const own = ERTr3DRevRep::GetIdentity();
    EXPECT_EQ(ERTr3DRevRep::GetIdentity(), own);
    const ERPmIsometrie3D handle;
    EXPECT_EQ(handle.body(), own);
    std::thread([own] {
        ERTr3DRevRep* const other = ERTr3DRevRep::GetIdentity();
        EXPECT_NE(other, own);
        EXPECT_EQ(ERTr3DRevRep::GetIdentity(), other);
        EXPECT_EQ(other->references(), 1);
    }).join();
}

TEST(ThreadsIdentity, MadeInAWorkerUsedAndDestroyedInMain) {
    RandomTransformations make(61);
    std::vector<ERPmSimilitude3D> made;
    std::thread([&] {
        for (const char kind : std::string(velm_test::kinds))
            made.push_back(make.handle(kind));
    }).join();
    EXPECT_EQ(made[0].body()->references(), 1) << "the thread has let its identity go";
    for (const ERPmSimilitude3D& t : made) {
        EXPECT_STREQ((~t * t).body()->className(), "_ERIdentity3D");
        const ERMatrix<double> m = t.getMatrix();
        EXPECT_EQ((made[0] * t).body(), t.body());
        EXPECT_EQ(m.rows(), 3);
    }
}

TEST(ThreadsHandles, ShareBodiesWithoutRaces) {
    RandomTransformations make(62);
    std::vector<ERPmSimilitude3D> shared;
    for (const char kind : std::string(velm_test::kinds))
        shared.push_back(make.handle(kind));
    std::atomic<int> wrong{0};
    velm_test::in_threads(4, [&](int thread) {
        const auto n = static_cast<unsigned>(thread);
        for (unsigned i = 0; i < 500; ++i) {
            const ERPmSimilitude3D a = shared[(n + i) % 7], b = shared[(n + 3 * i) % 7];
            const ERPmSimilitude3D both = a * b, undone = ~both * a * b;
            ERMatrix<double> m = both.getMatrix();
            m(0, 0) = 99.0; // a copy: the body keeps its own
            ERPoint3D p(1, 2, 3), q = p;
            a.TransFrom(b.TransFrom(p));
            both.TransFrom(q);
            wrong += distance2(p, q) > 1e-18;
            wrong += undone.body()->isA() != _ERIdentity3D::desc();
        }
    });
    EXPECT_EQ(wrong.load(), 0);
    for (std::size_t i = 1; i < shared.size(); ++i)
        EXPECT_EQ(shared[i].body()->references(), 1);
}

std::atomic<int> late_results{0};

// Made before the thread's identity, so destroyed after it.
struct Late {
    ~Late() {
        late_results += (held * ERPmIsometrie3D()).body() == held.body();
        late_results += ERPmIsometrie3D().body() == ERTr3DRevRep::GetIdentity();
    }
    ERPmIsometrie3D held{_ERTranslation3D(ERPoint3D(1, 2, 3))};
};
thread_local Late late;

TEST(ThreadsIdentity, IsThereUntilTheVeryEndOfTheThread) {
    late_results = 0;
    std::thread([] { late.held = late.held * ERPmIsometrie3D(); }).join();
    EXPECT_EQ(late_results.load(), 2);
}

} // namespace
