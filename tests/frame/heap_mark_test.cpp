// isOnTheHeap: exactly the objects that `new` made, regardless of what happens between the
// allocation and the object's own construction.
#include "velm/frame/object.h"

#include "support/test.h"
#include "support/threads.h"

#include <new>

namespace {

class Leaf : public ERObject {
    VELM_DECLARE_CLASS(Leaf)
    ERObject* getCopy() const override { return new Leaf(*this); }
    void printOn(std::ostream&) const override {}
    double value = 0.0;
};

// Owns what its constructor argument makes, and holds two objects as members.
class Node : public ERObject {
    VELM_DECLARE_CLASS(Node)
    Node() = default;
    explicit Node(ERObject* made) : child(made) {}
    Node(ERObject* made, Leaf const& copied) : child(made), second(copied) {}
    Node(Node const& other)
        : ERObject(other), first(other.first),
          child(other.child ? other.child->getCopy() : nullptr), second(other.second) {}
    ERObject* getCopy() const override { return new Node(*this); }
    void printOn(std::ostream&) const override {}

    Leaf first;
    std::unique_ptr<ERObject> child;
    Leaf second;
};

struct ThrowsFirst {
    explicit ThrowsFirst(bool thrown) {
        if (thrown) throw 1;
    }
};

// An exception from a base that comes before the ERObject part, or from a member after it.
class Thrower : public ThrowsFirst, public ERObject {
    VELM_DECLARE_CLASS(Thrower)
    Thrower() : ThrowsFirst(false), last(false) {}
    Thrower(bool before, bool after) : ThrowsFirst(before), last(after) {}
    ERObject* getCopy() const override { return new Thrower(*this); }
    void printOn(std::ostream&) const override {}

    ThrowsFirst last;
};

class FarBase : public ERObject {
    VELM_DECLARE_CLASS(FarBase)
};
class Diamond1 : public virtual FarBase {
    VELM_DECLARE_CLASS(Diamond1)
    double values[5] = {};
};
class Diamond2 : public virtual FarBase {
    VELM_DECLARE_CLASS(Diamond2)
    Leaf leaf;
};
class Diamond : public Diamond1, public Diamond2 {
    VELM_DECLARE_CLASS(Diamond)
    ERObject* getCopy() const override { return new Diamond(*this); }
    void printOn(std::ostream&) const override {}
};

// The member is constructed before the base at the block's first byte.
struct Holder {
    explicit Holder(ERObject* made = nullptr) : child(made) {}
    Leaf member;
    std::unique_ptr<ERObject> child;
};
struct Odd : Holder, Leaf {
    Odd() = default;
    explicit Odd(ERObject* made) : Holder(made) {}
    ERObject* getCopy() const override { return nullptr; }
};

template <std::size_t alignment>
struct alignas(alignment) Aligned : Leaf {};

VELM_DEFINE_CLASS(Leaf, ERObject)
VELM_DEFINE_CLASS(Node, ERObject)
VELM_DEFINE_CLASS(Thrower, ERObject)
VELM_DEFINE_CLASS_NOT_CREATABLE(FarBase, ERObject)
VELM_DEFINE_CLASS_NOT_CREATABLE(Diamond1, FarBase)
VELM_DEFINE_CLASS_NOT_CREATABLE(Diamond2, FarBase)
VELM_DEFINE_CLASS(Diamond, Diamond1, Diamond2)

Leaf made_leaf() { return {}; }

// The constructor arguments nest: every block is allocated before the innermost object is made.
Node* nested(int depth) { return new Node(depth > 0 ? nested(depth - 1) : nullptr); }

void expect_marks(Node const& node, int heap) {
    EXPECT_EQ(node.isOnTheHeap(), heap);
    EXPECT_EQ(node.first.isOnTheHeap(), 0);
    EXPECT_EQ(node.second.isOnTheHeap(), 0);
    EXPECT_TRUE(!node.child || node.child->isOnTheHeap());
}

TEST(HeapMark, MembersArgumentsAndVirtualBases) {
    std::unique_ptr<Node> const node(new Node(new Leaf, made_leaf()));
    expect_marks(*node, 1);
    expect_marks(*std::unique_ptr<Node>(new Node(*node)), 1);
    expect_marks(Node(*node), 0);
    expect_marks(Node(new Leaf), 0);
    expect_marks(*std::make_unique<Node>(new Node(new Leaf)), 1);
    expect_marks(*std::make_shared<Node>(new Leaf), 0);
    for (Node const& element : std::vector<Node>(3, *node)) // from the global allocator
        expect_marks(element, 0);
    expect_marks(std::make_unique<Node[]>(2)[1], 0);

    std::unique_ptr<Leaf> const elided(new Leaf(made_leaf()));
    EXPECT_EQ(elided->isOnTheHeap(), 1);
    std::unique_ptr<Diamond> const diamond(new Diamond);
    EXPECT_EQ(diamond->isOnTheHeap(), 1);
    EXPECT_EQ(diamond->leaf.isOnTheHeap(), 0);
    EXPECT_EQ(std::unique_ptr<ERObject>(diamond->getCopy())->isOnTheHeap(), 1);
    EXPECT_EQ(Diamond().isOnTheHeap(), 0);
    EXPECT_EQ(std::unique_ptr<Leaf>(new (__FILE__, __LINE__) Leaf)->isOnTheHeap(), 1);

    std::unique_ptr<Node> const chain(nested(100));
    int length = 0;
    for (Node const* n = chain.get(); n; n = static_cast<Node const*>(n->child.get()), ++length)
        expect_marks(*n, 1);
    EXPECT_EQ(length, 101);
}

TEST(HeapMark, TheFirstByteTakesTheMarkOver) {
    for (const bool nested_new : {false, true}) {
        std::unique_ptr<Odd> const odd(nested_new ? new Odd(new Odd) : new Odd);
        EXPECT_EQ(static_cast<Leaf&>(*odd).isOnTheHeap(), 1);
        EXPECT_EQ(odd->member.isOnTheHeap(), 0);
        EXPECT_TRUE(!odd->child || odd->child->isOnTheHeap());
        // The mark goes with the block, also where another thread frees it.
        std::vector<std::unique_ptr<Diamond>> diamonds(50);
        for (auto& d : diamonds)
            d.reset(new Diamond);
        std::thread([&] { diamonds.clear(); }).join();
        for (Leaf const& element : std::vector<Leaf>(500))
            EXPECT_EQ(element.isOnTheHeap(), 0);
    }
}

template <std::size_t alignment>
void expect_aligned() {
    using Class = Aligned<alignment>;
    alignas(Class) std::byte storage[sizeof(Class)];
    std::vector<std::unique_ptr<Class>> objects;
    for (int i = 0; i < 50; ++i) {
        objects.emplace_back(i % 2 ? new Class : new (__FILE__, __LINE__) Class);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(objects.back().get()) % alignment, 0u);
        EXPECT_EQ(objects.back()->isOnTheHeap(), 1);
    }
    Class* const local = new (static_cast<void*>(storage)) Class;
    EXPECT_EQ(local->isOnTheHeap(), 0);
    local->~Class();
}
TEST(HeapMark, ClassesThatAskForAlignment) {
    expect_aligned<32>();
    expect_aligned<64>();
    expect_aligned<4096>();
}

std::uintptr_t address(void const* p) { return reinterpret_cast<std::uintptr_t>(p); }

// Makes a T without `new` at the address that a block had which is gone, where the allocator gives
// it again.
template <class T>
void expect_no_mark_left_at(std::uintptr_t gone) {
    std::vector<void*> blocks;
    do
        blocks.push_back(std::malloc(sizeof(T)));
    while (address(blocks.back()) != gone && blocks.size() < 100);
    T* const object = new (blocks.back()) T;
    EXPECT_EQ(object->isOnTheHeap(), 0);
    object->~T();
    for (void* b : blocks)
        std::free(b);
}

TEST(HeapMark, GoesWithTheBlock) {
    auto intact = std::make_unique<Thrower>();
    std::uintptr_t const volatile before = address(intact.get());
    intact.reset();
    EXPECT_THROW(delete new Thrower(true, false), int);
    expect_no_mark_left_at<Thrower>(before);
    EXPECT_THROW(delete new Thrower(false, true), int);
    expect_no_mark_left_at<Thrower>(before);
    auto const thrown = []() -> Leaf* { throw 1; };
    EXPECT_THROW(delete new Node(thrown()), int);
    EXPECT_THROW(delete new Node(new Node(new Leaf), (delete thrown(), Leaf())), int);

    void* const raw = Leaf::operator new(sizeof(Leaf));
    std::uintptr_t const volatile raw_address = address(raw);
    Leaf::operator delete(raw);
    expect_no_mark_left_at<Leaf>(raw_address);

    // In two steps it is the same as in one.
    void* const place = Leaf::operator new(sizeof(Leaf));
    std::unique_ptr<Leaf> const leaf(new (place) Leaf);
    EXPECT_EQ(leaf->isOnTheHeap(), 1);
    alignas(Leaf) std::byte storage[sizeof(Leaf)];
    Leaf* const local = new (storage) Leaf;
    EXPECT_EQ(local->isOnTheHeap(), 0);
    local->~Leaf();
}

TEST(HeapMark, BlocksFreedInOtherThreadsAreForgotten) {
    for (int i = 0; i < 20; ++i) {
        void* const raw = Node::operator new(sizeof(Node));
        std::thread([raw] { Node::operator delete(raw); }).join();
        expect_marks(*std::unique_ptr<Node>(new Node(new Leaf)), 1);
    }
}

TEST(HeapMark, ThreadsDoNotSeeEachOther) {
    velm_test::in_threads(4, [](int) {
        for (int i = 0; i < 200; ++i) {
            std::unique_ptr<Node> const node(nested(i % 20));
            expect_marks(*node, 1);
            expect_marks(Node(*node), 0);
        }
    });
}

} // namespace
