// The class registry and castdown, with dynamic_cast as the oracle.
#include "velm/frame/object.h"

#include "support/test.h"

namespace {

template <class X>
ERObject* copy_of(X const& object) {
    return new X(object);
}

#define VELM_TEST_CONCRETE(X)                                                                      \
    VELM_DECLARE_CLASS(X)                                                                          \
    ERObject* getCopy() const override { return copy_of(*this); }                                  \
    void printOn(std::ostream& out) const override { out << #X; }

// A chain; two bases over one virtual base; bases above a class without registration, so that the
// addresses of the parts differ; and two bases that hold a part each of the same class.
class Shape : public ERObject {
    VELM_DECLARE_CLASS(Shape)
};
class Curve : public Shape {
    VELM_TEST_CONCRETE(Curve)
};
class Arc : public Curve {
    VELM_TEST_CONCRETE(Arc)
};
struct Angles {
    virtual ~Angles() = default;
    double values[3] = {};
};
class Finite : public Angles, public virtual Shape {
    VELM_DECLARE_CLASS(Finite)
};
class Circle : public virtual Shape {
    VELM_TEST_CONCRETE(Circle)
};
class CircleArc : public Circle, public Finite {
    VELM_TEST_CONCRETE(CircleArc)
};
struct Text {
    virtual ~Text() = default;
    std::string text;
};
class CircleArcWithText : public Text, public CircleArc {
    VELM_TEST_CONCRETE(CircleArcWithText)
};
class Part : public virtual ERObject {
    VELM_DECLARE_CLASS(Part)
};
class Left : public Part {
    VELM_TEST_CONCRETE(Left)
};
class Right : public Part {
    VELM_TEST_CONCRETE(Right)
};
class Both : public Left, public Right {
    VELM_TEST_CONCRETE(Both)
};

VELM_DEFINE_CLASS_NOT_CREATABLE(Shape, ERObject)
VELM_DEFINE_CLASS(Curve, Shape)
VELM_DEFINE_CLASS(Arc, Curve)
VELM_DEFINE_CLASS_NOT_CREATABLE(Finite, Shape)
VELM_DEFINE_CLASS(Circle, Shape)
VELM_DEFINE_CLASS(CircleArc, Circle, Finite)
VELM_DEFINE_CLASS(CircleArcWithText, CircleArc)
VELM_DEFINE_CLASS_NOT_CREATABLE(Part, ERObject)
VELM_DEFINE_CLASS(Left, Part)
VELM_DEFINE_CLASS(Right, Part)
VELM_DEFINE_CLASS(Both, Left, Right)

using Concrete = std::tuple<Curve, Arc, Circle, CircleArc, CircleArcWithText, Left, Right>;
template <class... X>
struct Classes {};
using Targets = Classes<ERObject, Shape, Curve, Arc, Finite, Circle, CircleArc, CircleArcWithText,
                        Part, Left, Right>;

template <class X>
void expect_as_dynamic_cast(ERObject* object) {
    SCOPED_TRACE(std::string(object->className()) + " to " + X::desc()->getName());
    X* const expected = dynamic_cast<X*>(object);
    EXPECT_EQ(X::castdown(object), expected);
    EXPECT_EQ(X::castdown(static_cast<ERObject const*>(object)), expected);
    EXPECT_EQ(object->isKindOf(X::desc()), expected != nullptr);
    EXPECT_EQ(object->IsKindOf(X::GetThisClass()),
              // The framework's record knows the first base only.
              expected != nullptr &&
                  !(X::desc() == Finite::desc() && object->isKindOf(Circle::desc())));
    EXPECT_EQ(object->isMemberOf(X::desc()), object->isA() == X::desc());
    if (!expected) return;
    EXPECT_EQ(&X::castdown(*object), expected);
    EXPECT_EQ(&X::castdown(static_cast<ERObject const&>(*object)), expected);
}

TEST(ClassTree, CastdownFindsWhatDynamicCastFinds) {
    auto const check = []<class... X>(auto object, Classes<X...>) {
        (expect_as_dynamic_cast<X>(&object), ...);
    };
    std::apply([&](auto const&... objects) { (check(objects, Targets()), ...); }, Concrete());
    EXPECT_EQ(Curve::castdown(static_cast<ERObject*>(nullptr)), nullptr);
}

TEST(ClassTree, TheSecondBaseStandsWhereTwoDiffer) {
    Both both;
    ASSERT_NE(static_cast<Part*>(static_cast<Left*>(&both)),
              static_cast<Part*>(static_cast<Right*>(&both)));
    EXPECT_EQ(Part::castdown(&both), static_cast<Right*>(&both));
    EXPECT_EQ(Left::castdown(&both), static_cast<Left*>(&both));
}

TEST(ClassTreeDeathTest, AReferenceIsNeverNull) {
    Circle circle;
    ERObject& object = circle;
    EXPECT_DEATH(Curve::castdown(object),
                 "velm: castdown of an object of class Circle to a reference of class Curve");
}

TEST(ClassTree, RecordsLeaveTheListInAnyOrder) {
    ERClassRegistration const* none[] = {nullptr};
    auto const make = [&](char const* name) {
        return std::make_unique<ERClassRegistration>(name, 1u, none, none, nullptr);
    };
    auto const before = velm::registered_classes();
    auto first = make("Twice"), middle = make("Middle"), last = make("Twice");
    EXPECT_EQ(ERClassRegistration::findClassRegistration("Twice"), last.get());
    middle.reset();
    EXPECT_EQ(ERClassRegistration::findClassRegistration("Middle"), nullptr);
    last.reset();
    EXPECT_EQ(ERClassRegistration::findClassRegistration("Twice"), first.get());
    EXPECT_EQ(ERClassRegistration::findClassRegistration("twice"), nullptr);
    first.reset();
    EXPECT_EQ(velm::registered_classes(), before);
}

// Every class of the library and of this program: what its registration says is true of the class.
TEST(ClassTree, EveryRegisteredClass) {
    std::set<std::string> names;
    int creatable = 0;
    for (ERClassRegistration const* c : velm::registered_classes()) {
        SCOPED_TRACE(c->getName());
        EXPECT_TRUE(names.insert(c->getName()).second);
        EXPECT_TRUE(c->isKindOf(ERObject::desc()));
        auto const create = ERClassRegistration::findCreator(c->getName());
        if (!create) continue;
        ++creatable;
        std::unique_ptr<ERObject> const object(create());
        std::unique_ptr<ERObject> const copy(object->getCopy());
        for (ERObject const* made : {object.get(), copy.get()}) {
            if (!made && object->className() == std::string("ERDBObject")) continue; // has no copy
            ASSERT_TRUE(made);
            EXPECT_EQ(made->isA(), c);
            EXPECT_STREQ(made->className(), c->getName());
            EXPECT_EQ(made->_castdown(*c) != nullptr, true);
            EXPECT_EQ(made->isOnTheHeap(), 1);
            EXPECT_EQ(made->references(), 0);
            CRuntimeClass const* const runtime = made->GetRuntimeClass();
            EXPECT_STREQ(runtime->m_lpszClassName, c->getName());
            EXPECT_EQ(static_cast<std::size_t>(runtime->m_nObjectSize), c->getSize());
            EXPECT_EQ(runtime->m_wSchema, 0xFFFFu);
        }
    }
    EXPECT_GE(creatable, 8);
    EXPECT_EQ(names.count("ERObject") + names.count("Shape"), 2u);
    EXPECT_EQ(ERClassRegistration::findCreator("Shape"), nullptr);
    EXPECT_EQ(ERClassRegistration::findCreator("Unknown"), nullptr);
}

} // namespace
