// The vectors of pointers and values, and the hash dictionary.
#include "support/test.h"
#include "velm/frame/typed_ptr_vector.h"
#include "velm/frame/val_hash_dictionary.h"
#include "velm/frame/val_vector.h"

namespace {

using velm_test::Random;

TEST(SortedPtrVector, KeepsTheOrderOfInsertionAmongEquals) {
    struct Entry {
        int parameter, order;
        bool operator<(const Entry& other) const { return parameter < other.parameter; }
    };
    Random random(1512);
    std::vector<Entry> entries(300);
    ERTPtrSortedVector<Entry> v;
    for (int i = 0; i < 300; ++i) {
        entries[static_cast<std::size_t>(i)] = {random.below(40), i};
        v.insert(&entries[static_cast<std::size_t>(i)]);
    }
    EXPECT_EQ(v.length(), 320) << "it grows by 64 slots";
    std::vector<Entry> wanted(entries);
    std::stable_sort(wanted.begin(), wanted.end());
    EXPECT_TRUE(std::equal(v.begin(), v.end(), wanted.begin(), wanted.end(),
                           [](const Entry* a, const Entry& b) { return a->order == b.order; }));
}

// Random insertions and removals, often of one of its own elements, which must outlive the growth.
template <class Vector, class Make>
void follow_a_model(Make fresh) {
    Random random(1513);
    Vector v(1);
    std::vector<decltype(fresh(0))> model;
    for (int step = 0; step < 5000; ++step) {
        const int i = random.below(v.entries() + 1);
        if (random.below(300) > v.entries()) {
            const auto made = fresh(step);
            const auto& value = i < v.entries() ? std::as_const(v)[i] : made;
            model.insert(model.begin() + i, value);
            v.insertAt(i, value);
        } else if (i < v.entries()) {
            ASSERT_EQ(v.removeAt(i), model[static_cast<std::size_t>(i)]);
            model.erase(model.begin() + i);
        }
        ASSERT_TRUE(std::equal(v.begin(), v.end(), model.begin(), model.end()));
    }
    const Vector copy(v);
    v.clear();
    EXPECT_TRUE(v.isEmpty());
    EXPECT_EQ(copy.last(), model.back());
}

TEST(OrderedVectors, FollowAModel) {
    int x[10];
    follow_a_model<ERTPtrOrderedVector<int>>([&](int step) { return &x[step % 10]; });
    follow_a_model<ERTValOrderedVector<std::string>>([](int step) { return std::to_string(step); });
}

// Both ordered vectors keep count and slots together when they are moved from.
template <class Vector, class Element>
void move_and_use_again(const Element& x, const Element& y) {
    Vector a(2), b(100);
    a.append(x);
    b.append(x);
    EXPECT_EQ(a, b) << "the capacity decides nothing";
    b.append(y);
    EXPECT_FALSE(a == b);
    Vector c(std::move(a));
    EXPECT_EQ(a.entries(), 0);
    a.append(y);
    EXPECT_EQ(a.last(), y);
    b = std::move(c);
    EXPECT_EQ(b.entries(), 1);
    EXPECT_LE(c.entries(), c.length());
    for (int i = 0; i < 100; ++i)
        c.append(x);
    EXPECT_EQ(c.last(), x);
    EXPECT_EQ(b.last(), x);
}

TEST(OrderedVectors, AreGoodAfterAMove) {
    int x, y;
    move_and_use_again<ERTPtrOrderedVector<int>>(&x, &y);
    move_and_use_again<ERTValOrderedVector<std::string>>(std::string("x"), std::string("y"));
}

unsigned int coarse(const long& key) { return static_cast<unsigned int>(key % 13); }

using Pairs = std::vector<std::pair<long, std::string>>;

// The pairs in the order that the buckets prescribe: those of a bucket as they came into it.
struct DictionaryModel {
    std::string& operator[](long key) {
        const auto has_key = [key](const auto& pair) { return pair.first == key; };
        if (std::none_of(pairs.begin(), pairs.end(), has_key)) pairs.emplace_back(key, "");
        resize(buckets);
        return std::find_if(pairs.begin(), pairs.end(), has_key)->second;
    }
    bool remove(long key) {
        return std::erase_if(pairs, [key](const auto& pair) { return pair.first == key; }) > 0;
    }
    void resize(unsigned n) {
        buckets = n;
        std::stable_sort(pairs.begin(), pairs.end(), [n](const auto& a, const auto& b) {
            return coarse(a.first) % n < coarse(b.first) % n;
        });
    }
    Pairs pairs;
    unsigned buckets = 5;
};

using Dictionary = ERTValHashDictionary<long, std::string>;

Pairs pairs_of(const Dictionary& dictionary) {
    Pairs all;
    for (const auto& pair : dictionary)
        all.emplace_back(pair.key, pair.value);
    return all;
}

TEST(HashDictionary, FollowsAModelInOrderToo) {
    Random random(1514);
    Dictionary dictionary(coarse, 5);
    DictionaryModel model;
    for (int step = 0; step < 20000; ++step) {
        const long key = random.below(60);
        const std::string value = std::to_string(step);
        switch (random.below(40)) {
        case 0: {
            const int buckets = 1 + random.below(9);
            dictionary.resize(buckets);
            model.resize(static_cast<unsigned>(buckets));
            break;
        }
        case 1: {
            Dictionary copy(dictionary), other(coarse, 3);
            dictionary.clear();
            other[7] = "gone";
            dictionary = copy;
            copy.clear();
            break;
        }
        default:
            if (random.below(3) == 0) {
                ASSERT_EQ(dictionary.remove(key), model.remove(key));
            } else if (random.below(2) == 0) {
                dictionary.insertKeyAndValue(key, value), model[key] = value;
            } else {
                ASSERT_EQ(dictionary[key], model[key]) << "a new key has a default value";
            }
        }
        ASSERT_EQ(pairs_of(dictionary), model.pairs) << "step " << step;
        ASSERT_EQ(dictionary.entries(), static_cast<int>(model.pairs.size()));
        ASSERT_EQ(dictionary.isEmpty(), model.pairs.empty());
        const ERPtrVector& slots = dictionary; // the bases are public
        ASSERT_EQ(slots.length(), dictionary.buckets());
    }
}

} // namespace
