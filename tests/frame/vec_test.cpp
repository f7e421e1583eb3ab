#include "velm/frame/vec.h"

#include "support/test.h"
#include "velm/frame/box.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"

#include <climits>

// Every member compiles for the elements that the library uses.
template class ERSimpleVec<ERMinimax3D>;
template class ERSimpleVec2<ERMinimax3D>;
template class QuickAlgebra::ERVec<double>;
template class QuickAlgebra::ERVec<ERPoint2D>;
template class QuickAlgebra::ERVec<ERPole3DH>;

namespace {

static_assert(std::has_virtual_destructor_v<ERSimpleVec<double>>);
static_assert(sizeof(ERSimpleVec<double>) == 2 * sizeof(void*));
static_assert(sizeof(ERVec<double>) == sizeof(ERSimpleVec<double>));
static_assert(sizeof(ERSimpleVec2<double>) == sizeof(ERSimpleVec<double>) + 2 * sizeof(int));
static_assert(std::is_nothrow_move_constructible_v<ERVec<double>>);

// A value of an odd size, so that capacities hold no whole number of elements.
struct Triple {
    double a, b, c;
    bool operator==(const Triple&) const = default;
};

// A few handles that share bodies at random, each beside a vector that shares nothing.
template <class T>
class Handles {
public:
    static constexpr int count = 6;

    void expect_equal(int step) const {
        for (int i = 0; i < count; ++i) {
            const auto view = handles[i].view();
            ASSERT_TRUE(std::equal(view.begin(), view.end(), models[i].begin(), models[i].end()))
                << "handle " << i << " step " << step;
        }
    }

    ERVec<T> handles[count];
    std::vector<T> models[count];
};

template <class T, class MakeValue>
void random_operations(MakeValue value) {
    velm_test::Random random(3);
    Handles<T> all;
    for (int step = 0; step < 20000; ++step) {
        const int i = random.below(all.count);
        const int j = random.below(all.count);
        ERVec<T>& handle = all.handles[i];
        std::vector<T>& model = all.models[i];
        const int size = handle.size();
        const int at = random.below(size + 1);
        const int n = random.below(step % 50 == 0 ? 300 : 8);
        const std::size_t place = static_cast<std::size_t>(at);
        const auto first = model.begin() + at, end = first + std::min(n, size - at);
        const std::function<void()> edits[] = {
            [&] { handle = all.handles[j], model = std::vector<T>(all.models[j]); },
            [&] { handle = all.handles[j], model = std::vector<T>(all.models[j]); },
            [&] {
                if (i == j) return;
                handle = std::move(all.handles[j]), model = std::move(all.models[j]);
                all.handles[j] = ERVec<T>(), all.models[j].clear();
            },
            [&] {
                if (at < size) handle[at] = model[place] = value(step);
            },
            [&] {
                handle.append(value(step), n);
                model.insert(model.end(), static_cast<std::size_t>(n), value(step));
            },
            [&] { // an element of the array itself
                if (at < size) handle.append(handle.view()[place]), model.push_back(T(*first));
            },
            [&] {
                for (int k = 0; k < n; ++k) {
                    const bool fresh = k % 2 == 0 || model.empty();
                    handle.push_back(fresh ? value(step + k) : handle.view()[0]);
                    model.push_back(fresh ? value(step + k) : T(model[0]));
                }
            },
            [&] {
                const std::vector<T> source = all.models[j];
                handle.replace(at, n, all.handles[j].view());
                model.insert(model.erase(first, end), source.begin(), source.end());
            },
            [&] { handle.remove(at, n), model.erase(first, end); },
            [&] {
                for (const int length : {at, at + n})
                    handle.resize(length), model.resize(static_cast<std::size_t>(length));
            },
            [&] {
                std::reverse(handle.begin(), handle.end());
                std::reverse(model.begin(), model.end());
            },
            [&] { size > 500 ? (handle.clear(), model.clear()) : handle.reserve(n); },
        };
        random.one_of(edits)();
        all.expect_equal(step);
        if (testing::Test::HasFatalFailure()) return;
    }
}

TEST(Vec, CopyOnWriteAgainstVectors) {
    const long before = ERVecRep::nullref_->references();
    random_operations<double>([](int step) { return step + 0.5; });
    random_operations<Triple>([](int step) { return Triple{step * 1.0, step * 2.0, 3.0}; });
    EXPECT_EQ(ERVecRep::nullref_->references(), before); // the shared empty body stays balanced
}

TEST(Vec, AppendStaysBelowTheMaximumAndPushBackGrowsByHalf) {
    ERVec<double> v(116);
    EXPECT_THROW(v.append(4.0, INT_MAX), std::bad_array_new_length);
    EXPECT_EQ(v.size(), 116);

    int bodies = 0;
    ERVec<double> grown;
    for (int i = 0; i < 100000; ++i) {
        const ERVecRep* const before = grown.rep();
        grown.push_back(i);
        bodies += grown.rep() != before;
    }
    EXPECT_LT(bodies, 40);
    EXPECT_EQ(grown.view()[99999], 99999.0);
}

TEST(Vec2, ColumnsAgainstRows) {
    velm_test::Random random(5);
    ERSimpleVec2<double> array(3, 0);
    std::vector<std::vector<double>> model(3);
    for (int step = 0; step < 300; ++step) {
        const int columns = array.columns();
        const ERSimpleVec2<double> shared = array;
        if (random.below(2) == 0 && columns < 20) {
            const int at = random.below(columns + 1);
            const int n = random.below(4);
            array.insertColumns(at, n);
            for (int r = 0; r < 3; ++r) {
                auto& row = model[static_cast<std::size_t>(r)];
                row.insert(row.begin() + at, static_cast<std::size_t>(n), 0.0);
                for (int c = at; c < at + n; ++c)
                    array(r, c) = row[static_cast<std::size_t>(c)] = step * 10 + r;
            }
        } else {
            const int at = random.below(columns + 1);
            const int n = random.below(columns - at + 1);
            array.removeColumns(at, n);
            for (auto& row : model)
                row.erase(row.begin() + at, row.begin() + at + n);
        }
        EXPECT_EQ(shared.columns(), columns);
        for (int r = 0; r < 3; ++r) {
            const auto row = array.row(r);
            ASSERT_TRUE(std::equal(row.begin(), row.end(),
                                   model[static_cast<std::size_t>(r)].begin(),
                                   model[static_cast<std::size_t>(r)].end()))
                << "row " << r << " step " << step;
        }
    }
    ERSimpleVec2<double> moved = std::move(array);
    EXPECT_EQ(array.rows() * array.columns(), array.size());
    EXPECT_EQ(moved.rows() * moved.columns(), moved.size());
    EXPECT_THROW(ERSimpleVec2<double>(1 << 16, 1 << 16), std::bad_array_new_length);
    EXPECT_THROW(moved.insertColumns(0, INT_MAX), std::bad_array_new_length);

    ERSimpleVec2<double> no_rows(0, 3);
    no_rows.insertColumns(2, 2);
    no_rows.removeColumns(1, 3);
    EXPECT_EQ(no_rows.columns(), 2);
    EXPECT_EQ(no_rows.size(), 0);
}

} // namespace
