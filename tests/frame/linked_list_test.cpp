// The intrusive lists and the lists of values and pointers, against a std::vector that holds the
// same elements.
#include "support/test.h"
#include "velm/frame/isv_slist.h"
#include "velm/frame/val_dlist.h"

#include <stdexcept>

namespace {

using velm_test::Random;

struct SingleElement : ERIsvSlink {};
struct DoubleElement : ERIsvDlink {};

template <class L, class I, class E>
struct Kind {
    using List = L;
    using Iterator = I;
    using Element = E;
};

template <class K>
class IntrusiveList : public testing::Test {
protected:
    using Element = typename K::Element;
    using Link = std::remove_pointer_t<decltype(typename K::List().first())>;

    void expect_same() {
        ASSERT_EQ(list.entries(), static_cast<int>(model.size()));
        ASSERT_EQ(list.isEmpty(), model.empty());
        ASSERT_EQ(list.first(), model.empty() ? nullptr : model.front());
        ASSERT_EQ(list.last(), model.empty() ? nullptr : model.back());
        const auto* link = list.head_sentinel()->next;
        for (Link* expected : model) {
            ASSERT_EQ(link, expected);
            link = link->next;
        }
        ASSERT_EQ(link, list.tail_sentinel());
    }
    int place_of(const Link* link) {
        return static_cast<int>(std::find(model.begin(), model.end(), link) - model.begin());
    }
    auto at(int i) { return model.begin() + i; }

    typename K::List list;
    std::vector<Link*> model;
};

using Kinds = testing::Types<
    Kind<ERIsvSlist, ERIsvSlistIterator, SingleElement>,
    Kind<ERIsvDlist, ERIsvDlistIterator, DoubleElement>,
    Kind<ERTIsvDlist<DoubleElement>, ERTIsvDlistIterator<DoubleElement>, DoubleElement>>;
TYPED_TEST_SUITE(IntrusiveList, Kinds);

TYPED_TEST(IntrusiveList, FollowsAModelOverRandomOperations) {
    Random random(1501);
    std::vector<typename TypeParam::Element> elements(40);
    auto& l = this->list;
    auto& m = this->model;
    for (int step = 0; step < 20000; ++step) {
        auto* const element = &random.one_of(elements);
        const int n = l.entries();
        const int i = random.below(n + 1);
        const bool present = this->place_of(element) < n;
        ASSERT_EQ(l.occurrencesOfReference(element), present);
        const std::function<void()> insertions[] = {
            [&] { l.append(element), m.push_back(element); },
            [&] { l.prepend(element), m.insert(m.begin(), element); },
            [&] { l.insertAt(i, element), m.insert(this->at(i), element); },
            [&] {
                if (n == 0) return;
                const int after = random.below(n);
                l.insertAfterLink(l.at(after), element);
                m.insert(this->at(after + 1), element);
            },
        };
        // What is taken out, and where it stood; nothing from beyond the end.
        const auto expect_out = [&](const void* out, int place) {
            ASSERT_EQ(out, place < n ? m[static_cast<std::size_t>(place)] : nullptr);
            if (place < n) m.erase(this->at(place));
        };
        const std::function<void()> removals[] = {
            [&] { expect_out(l.get(), 0); },
            [&] { expect_out(l.removeLast(), std::max(n - 1, 0)); },
            [&] { expect_out(l.removeAt(i), i); },
            [&] { expect_out(l.removeReference(element), this->place_of(element)); },
        };
        const bool grow = random.below(3 + n / 4) < 2 && !present;
        grow ? random.one_of(insertions)() : random.one_of(removals)();
        ASSERT_NO_FATAL_FAILURE(this->expect_same()) << "step " << step;
    }
    l.clear();
    EXPECT_EQ(l.at(0), nullptr);
    EXPECT_EQ(l.at(-1), nullptr);
}

TYPED_TEST(IntrusiveList, IteratorWalksInsertsAndRemoves) {
    std::vector<typename TypeParam::Element> elements(6);
    for (int i = 0; i < 4; ++i)
        this->list.append(&elements[static_cast<std::size_t>(i)]);
    typename TypeParam::Iterator at(this->list);
    EXPECT_FALSE(at.isActive());
    std::size_t seen = 0;
    while (++at) {
        EXPECT_EQ(at.key(), &elements[seen]);
        EXPECT_EQ(at.atFirst(), seen == 0);
        EXPECT_EQ(at.atLast(), seen == 3);
        ++seen;
    }
    EXPECT_EQ(seen, 4u);
    EXPECT_EQ(++at, 0) << "it stays past the end";
    at.insertAfterPoint(&elements[4]); // so that is the list's end
    EXPECT_EQ(this->list.last(), &elements[4]);

    at.reset();
    at.insertAfterPoint(&elements[5]); // before the first
    EXPECT_EQ(this->list.first(), &elements[5]);
    at.toLast();
    EXPECT_TRUE(at.atLast());
    at.toFirst();
    EXPECT_EQ(at.advance(), &elements[0]);
    EXPECT_EQ(at.remove(), &elements[0]);
    EXPECT_EQ(at.key(), &elements[5]);
    EXPECT_EQ(at.advance(), &elements[1]) << "the walk goes on with the next one";
    EXPECT_EQ(this->list.entries(), 5);
}

TEST(DoublyLinkedIterator, GoesBackAndByNumbers) {
    DoubleElement elements[5];
    ERIsvDlist list;
    for (DoubleElement& element : elements)
        list.append(&element);
    ERIsvDlistIterator at(list);
    EXPECT_EQ(at += 3, 1);
    EXPECT_EQ(at.key(), &elements[2]);
    EXPECT_EQ(at -= 1, 1);
    EXPECT_EQ(--at, 1);
    EXPECT_TRUE(at.atFirst());
    EXPECT_EQ(--at, 0);
    EXPECT_EQ(at += 100, 0);
    EXPECT_EQ(at.backup(), &elements[4]);
}

TYPED_TEST(IntrusiveList, CopyingAnElementLeavesItsPlaceAlone) {
    std::vector<typename TypeParam::Element> elements(3);
    for (auto& element : elements)
        this->list.append(&element), this->model.push_back(&element);
    typename TypeParam::Element copy(elements[1]);
    EXPECT_EQ(this->list.removeReference(&copy), nullptr);
    elements[1] = copy;
    elements[2] = elements[0];
    this->expect_same();
}

int place_of(const std::string& value, const std::vector<std::string>& model) {
    const auto found = std::find(model.begin(), model.end(), value);
    return found == model.end() ? -1 : static_cast<int>(found - model.begin());
}

TEST(ValueList, FollowsAModelOverRandomOperations) {
    Random random(1502);
    ERTValDlist<std::string> list;
    std::vector<std::string> model;
    for (int step = 0; step < 20000; ++step) {
        const std::string value = std::to_string(random.below(9)) + std::string(20, '.');
        const int n = list.entries();
        const int i = random.below(n + 1);
        const std::function<void()> edits[] = {
            [&] { list.append(value), model.push_back(value); },
            [&] { list.append(value), model.push_back(value); },
            [&] { list.prepend(value), model.insert(model.begin(), value); },
            [&] { list.insertAt(i, value), model.insert(model.begin() + i, value); },
            [&] {
                ASSERT_EQ(list.index(value), place_of(value, model));
                ASSERT_EQ(list.occurrencesOf(value), std::count(model.begin(), model.end(), value));
            },
            [&] {
                if (i == n) return;
                ASSERT_EQ(list.removeAt(i), model[static_cast<std::size_t>(i)]);
                model.erase(model.begin() + i);
            },
            [&] { // through a cursor, on a copy that must not touch the original
                ERTValDlist<std::string> copy(list);
                for (ERTValDlistIterator<std::string> at(copy); ++at;) {
                    if (at.key() == value)
                        at.remove();
                    else
                        at.insertAfterPoint(value), ++at;
                }
                ASSERT_EQ(copy.occurrencesOf(value), n - list.occurrencesOf(value));
            },
            [&] { // assignment, and away from what was moved
                ERTValDlist<std::string> other{"gone"};
                other = std::move(list);
                list.append("x");
                list = other;
            },
            [&] {
                ASSERT_EQ(list.get(), model.front());
                model.erase(model.begin());
            },
            [&] {
                ASSERT_EQ(list.removeLast(), model.back());
                model.pop_back();
            },
            [&] { // the value to go may stand in the list itself
                ASSERT_EQ(list.removeAll(list.first()),
                          static_cast<int>(std::erase(model, std::string(model.front()))));
            },
        };
        edits[random.below(n < 20 ? 8 : 11)]();
        ASSERT_TRUE(std::equal(list.begin(), list.end(), model.begin(), model.end()))
            << "step " << step;
        ASSERT_EQ(list.entries(), static_cast<int>(model.size()));
    }
}

// Counts its instances; the copy that makes them more than the limit throws.
struct Limited {
    static inline int alive = 0, limit = 100;
    Limited() { ++alive; }
    Limited(const Limited&) {
        if (alive >= limit) throw std::length_error("too many");
        ++alive;
    }
    Limited& operator=(const Limited&) = default;
    ~Limited() { --alive; }
};

TEST(ValueList, ACopyThatThrowsLeavesNothingBehind) {
    ERTValDlist<Limited> list, other;
    for (int i = 0; i < 5; ++i)
        list.append(Limited());
    other.append(Limited());
    Limited::limit = 9;
    EXPECT_THROW(ERTValDlist<Limited>{list}, std::length_error);
    EXPECT_THROW(other = list, std::length_error);
    EXPECT_EQ(other.entries(), 1);
    EXPECT_EQ(Limited::alive, 6);
}

} // namespace
