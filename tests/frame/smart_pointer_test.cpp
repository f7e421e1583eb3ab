// t_SmartPtr: the life of what it points to.
#include "support/test.h"
#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"

#include <unordered_set>

namespace {

class Counted : public ERObject {
    VELM_DECLARE_CLASS(Counted)
    Counted() { ++alive; }
    Counted(Counted const& other) : ERObject(other) { ++alive; }
    Counted& operator=(Counted const&) = default;
    ~Counted() override { --alive; }
    ERObject* getCopy() const override { return new Counted(*this); }
    void printOn(std::ostream&) const override {}

    t_SmartPtr<Counted> next;
    static inline std::atomic<int> alive = 0;
};
class Padding {
public:
    virtual ~Padding() = default;
    double values[2] = {};
};
class FarCounted : public Padding, public virtual Counted {
    VELM_DECLARE_CLASS(FarCounted)
    ERObject* getCopy() const override { return new FarCounted(*this); }
};

VELM_DEFINE_CLASS(Counted, ERObject)
VELM_DEFINE_CLASS(FarCounted, Counted)

using Pointer = t_SmartPtr<Counted>;
static_assert(sizeof(Pointer) == 2 * sizeof(void*));
static_assert(std::has_virtual_destructor_v<Pointer>);
static_assert(!std::is_convertible_v<Pointer, bool>);

#ifndef NDEBUG
TEST(SmartPointerDeathTest, RefusesAnObjectOnTheStack) {
    Counted local;
    EXPECT_DEATH(Pointer(&local).get(), "on the stack");
}
#endif

TEST(SmartPointer, WhatTheOldObjectOwnsMayBeAssigned) {
    Pointer head(new Counted);
    head->next = new Counted;
    head->next->next = new Counted;
    head = head->next;
    EXPECT_EQ(Counted::alive, 2);
    head = std::move(head->next);
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ(head->references(), 1);
    head = {};
    EXPECT_EQ(Counted::alive, 0);
}

TEST(SmartPointer, AnObjectReachedThroughAVirtualBase) {
    t_SmartPtr<FarCounted> far(new FarCounted);
    Pointer near(far.get());
    t_SmartPtr<ERObject> root(near.get());
    EXPECT_EQ(root->references(), 3);
    far = nullptr;
    near = nullptr;
    t_SmartPtr<FarCounted> const again(FarCounted::castdown(root.get()));
    EXPECT_EQ(again->references(), 2);
    root = new Counted;
    EXPECT_FALSE(t_SmartPtr<FarCounted>(FarCounted::castdown(root.get())));
    EXPECT_EQ(Counted::alive, 2);
}

TEST(SmartPointer, ACopyStartsItsOwnLife) {
    Pointer a(new Counted), keeper = a;
    a->setDirty();
    Pointer copy(Counted::castdown(a->getCopy()));
    EXPECT_EQ(copy->references(), 1);
    EXPECT_EQ(copy->isDirty(), 0);
    *a = *copy;
    EXPECT_EQ(a->references(), 2);
    EXPECT_EQ(a->isDirty(), 0);
    copy->setDirty();
    static_cast<ERObject&>(*copy) = *a;
    EXPECT_EQ(copy->references(), 1);
    EXPECT_EQ(copy->isDirty(), 0);
}

// Random assignments among slots; the model is that an object lives while a slot holds it.
TEST(SmartPointer, RandomAssignments) {
    velm_test::Random random(11);
    std::vector<Pointer> slots(16);
    for (int step = 0; step < 5000; ++step) {
        Pointer &to = random.one_of(slots), &from = random.one_of(slots);
        const std::function<void()> assignments[] = {
            [&] { to = new Counted; },
            [&] { to = from; },
            [&] { to = std::move(from); },
            [&] { Pointer(from).get() ? to = from.get() : to = nullptr; },
        };
        random.one_of(assignments)();
        std::unordered_set<Counted*> held;
        for (Pointer const& p : slots)
            if (p) held.insert(p.get());
        ASSERT_EQ(Counted::alive, static_cast<int>(held.size()));
        ASSERT_TRUE((to == nullptr) == !to && (to != NULL) == bool(to) && to == to.get());
        for (Counted* object : held)
            ASSERT_EQ(object->references(), std::count(slots.begin(), slots.end(), object));
    }
    slots.clear();
    EXPECT_EQ(Counted::alive, 0);
}

TEST(SmartPointer, ThreadsShareObjects) {
    {
        std::vector<Pointer> shared(8);
        for (Pointer& p : shared)
            p = new FarCounted;
        std::vector<std::thread> threads;
        for (std::size_t t = 0; t < 4; ++t)
            threads.emplace_back([mine = shared, t]() mutable {
                for (std::size_t i = 0; i < 5000; ++i)
                    mine[(i + t) % 8] = mine[(5 * i + t) % 8];
            });
        shared.clear(); // the threads hold the last references
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(Counted::alive, 0);
}

} // namespace
