// Chaining against its rules gone through one by one; drawings, outlines cut to pieces, refusals.
#include "velm/planar/chainer_processor.h"

#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/vec.h"

#include <list>

namespace {

using velm_test::Random;

class Line : public ERChainerSeg2D {
public:
    Line(const ERPoint2D& from, const ERPoint2D& to, int n = 0) : a(from), b(to), number(n) {}
    ERPoint2D getExt1() const override { return a; }
    ERPoint2D getExt2() const override { return b; }
    ERVector2D getTan1() const override { return ERVector2D(a, b).getnormalized(); }
    ERVector2D getTan2() const override { return getTan1(); }
    ERObject* getCopy() const override { return new Line(*this); }

    ERPoint2D a, b;
    int number;
};

// A piece of a chain with its ends in the chain's order.
struct Laid {
    int number;
    ERPoint2D first, last;
    bool operator==(const Laid&) const = default;
};
std::vector<Laid> laid(ERChainedMetaSeg2D& chain) {
    std::vector<Laid> pieces;
    chain.applyOnSegment(
        [](ERChainerSeg2D* piece, void* to) {
            static_cast<std::vector<Laid>*>(to)->push_back(
                {dynamic_cast<Line*>(piece)->number, piece->first(), piece->last()});
        },
        &pieces);
    return pieces;
}

ERChainedMetaSeg2D& chain_of(ERChainerProcessor& processor, int i) {
    return const_cast<ERChainedMetaSeg2D&>(*processor.getAt(i));
}

// The rules of insertion on a plain list.
struct ByRules {
    using Chain = t_SmartPtr<ERChainedMetaSeg2D>;
    std::list<Chain> chains;
    double tolerance;

    int insert(Chain carried) {
        if (carried->isClosed()) return chains.push_back(carried), 1;
        if (tolerance > carried->length()) return 0;
        for (auto at = chains.begin(); at != chains.end();) {
            const int state = (*at)->isClosed() ? 0 : (*at)->compareWith(carried.get(), tolerance);
            if (state == 0) {
                ++at;
                continue;
            }
            if (state <= 2) return 0;
            const Chain existing = *at;
            at = chains.erase(at);
            if (state == 3 || state == 6) carried->reverse();
            const Chain taker = state <= 4 ? carried : existing;
            taker->merge(state <= 4 ? *existing : *carried);
            carried = taker;
        }
        return chains.push_back(carried), 1;
    }
};

// The same pieces to both, which must do the same with each; returns how many were refused. To
// look at a chain between is to change nothing.
int insert_both(const std::vector<Line>& pieces, double tolerance, ERChainerProcessor& processor) {
    ByRules rules{{}, tolerance};
    int refused = 0;
    for (const Line& piece : pieces) {
        const int taken = processor.insert(t_SmartPtr<ERChainerSeg2D>(new Line(piece)));
        EXPECT_EQ(taken, rules.insert(new ERChainedMetaSeg2D(new Line(piece))));
        refused += !taken;
        const int last = processor.entries() - 1;
        if (last >= 0) {
            EXPECT_EQ(laid(chain_of(processor, last)), laid(*rules.chains.back()));
        }
        if (piece.number % 16 == 5 && last > 0) processor.getAt(0);
    }
    EXPECT_EQ(processor.entries(), static_cast<int>(rules.chains.size()));
    int i = 0;
    for (const auto& wanted : rules.chains) {
        auto& got = chain_of(processor, i++);
        EXPECT_EQ(laid(got), laid(*wanted));
        EXPECT_EQ(got.length(), wanted->length()); // to the last bit
    }
    return refused;
}

void shuffle(std::vector<Line>& pieces, Random& random) {
    for (std::size_t i = pieces.size(); i > 1; --i)
        std::swap(pieces[i - 1], pieces[random.next() % i]);
    for (Line& piece : pieces)
        if (random.below(2)) std::swap(piece.a, piece.b);
}

TEST(Chaining, IsThatOfTheRules) {
    Random random(7401);
    int refused = 0, longest = 0;
    for (int round = 0; round < 400; ++round) {
        // On a lattice many ends meet at a site; elsewhere ends are about one tolerance from each
        // other. Far out doubles do.
        const int sites = 3 + random.below(12);
        const double scale = std::array{1.0, 1e4, 0.002, 2e12}[static_cast<unsigned>(round % 4)];
        const double tolerance = round % 20 == 0 ? 0.0 : 0.001, blur = random.below(2) ? 4e-4 : 0.0;
        const auto end = [&] {
            return ERPoint2D(random.below(sites) * scale + random.uniform(-blur, blur),
                             random.below(sites) * scale + random.uniform(-blur, blur));
        };
        std::vector<Line> pieces;
        ERPoint2D pen = end();
        for (int i = 0, n = random.below(round % 50 == 0 ? 600 : 60); i < n; ++i) {
            const ERPoint2D to = end();
            pieces.emplace_back(random.below(3) ? pen : end(), to, i);
            pen = to;
        }
        if (random.below(3)) shuffle(pieces, random);
        ERChainerProcessor processor(tolerance);
        if (round % 7 == 6) // not known as the standard comparison: every chain is gone through
            processor.setComparison([](const ERChainedMetaSeg2D& a, const ERChainedMetaSeg2D& b,
                                       double tol) { return a.compareWith(&b, tol); });
        refused += insert_both(pieces, tolerance, processor);
        for (int i = 0; i < processor.entries(); ++i)
            longest = std::max(longest, processor.getAt(i)->entries());
    }
    EXPECT_GT(refused, 100);
    EXPECT_GT(longest, 8);
}

TEST(Chaining, OutlinesCutToPiecesComeBackWhole) {
    Random random(7402);
    for (int round = 0; round < 40; ++round) {
        std::vector<Line> pieces;
        double whole = 0.0;
        for (int ring = 0; ring < 4; ++ring) {
            std::vector<ERPoint2D> v;
            for (int i = 0, n = 3 + random.below(200); i < n; ++i) {
                const double angle = 2.0 * std::numbers::pi * i / n, r = random.uniform(40.0, 50.0);
                v.emplace_back(200.0 * ring + r * std::cos(angle), r * std::sin(angle));
            }
            for (std::size_t i = 0; i < v.size(); ++i) {
                pieces.emplace_back(v[i], v[(i + 1) % v.size()], static_cast<int>(pieces.size()));
                whole += distance(pieces.back().a, pieces.back().b);
            }
        }
        shuffle(pieces, random);
        ERChainerProcessor processor;
        EXPECT_EQ(insert_both(pieces, 0.001, processor), 0);
        ASSERT_EQ(processor.entries(), 4);
        for (int i = 0; i < 4; ++i) {
            auto& chain = chain_of(processor, i);
            EXPECT_TRUE(chain.isClosed());
            whole -= chain.length();
            const std::vector<Laid> way = laid(chain);
            for (std::size_t k = 0; k < way.size(); ++k)
                EXPECT_EQ(way[k].last, way[(k + 1) % way.size()].first);
        }
        EXPECT_NEAR(whole, 0.0, 1e-8);
    }
}

// Each edge of a "polyline closed n (x y bulge)*" as a piece, every other one turned round.
void insert_edges(const std::string& polyline, ERChainerProcessor& processor) {
    std::istringstream fields(polyline.substr(polyline.find(' ')));
    int closed = 0, count = 0;
    fields >> closed >> count;
    std::vector<ERPoint2D> way;
    for (double x, y, bulge; count > 0 && fields >> x >> y >> bulge; --count)
        way.emplace_back(x, y);
    if (closed) way.push_back(way.front());
    for (std::size_t i = 1; i < way.size(); ++i)
        processor.insert(t_SmartPtr<ERChainerSeg2D>(i % 2 == 0 ? new Line(way[i - 1], way[i])
                                                               : new Line(way[i], way[i - 1])));
}

TEST(Chaining, DrawingsGiveTheirChains) {
    struct Drawing {
        const char* name;
        std::vector<int> closed_sizes; // of the closed chains, ascending
        int open;
    };
    for (const Drawing& drawing :
         {Drawing{"openscad_export", {4, 4, 54, 54, 54, 54, 57, 57, 57, 57}, 0},
          {"lines", {4, 6}, 1},
          {"issue42", {4, 4, 4, 8}, 0},   // one of the fours a closed polyline
          {"circlesellipsesarcs", {}, 2}, // its arcs; an ellipse is no chain of straight pieces
          {"issue29",
           {4, 4, 4, 4,  4,  4,  4,  4,  4,  4,  4,  4,  4,  4, 4,
            4, 4, 4, 20, 20, 20, 20, 20, 20, 20, 20, 22, 22, 68},
           0}}) {
        std::ifstream in(std::string(VELM_REAL_DATA "/dxf/") + drawing.name + ".txt");
        if (!in) GTEST_SKIP() << "no data in " VELM_REAL_DATA "/dxf";
        ERChainerProcessor processor;
        for (std::string line; std::getline(in, line);) {
            std::istringstream fields(line);
            std::string word;
            double v[5];
            fields >> word >> v[0] >> v[1] >> v[2] >> v[3];
            const auto on_arc = [&](double angle) {
                return ERPoint2D(v[0] + v[2] * std::cos(angle), v[1] + v[2] * std::sin(angle));
            };
            if (word == "line")
                processor.insert(t_SmartPtr<ERChainerSeg2D>(new Line({v[0], v[1]}, {v[2], v[3]})));
            else if (word == "arc" && fields >> v[4])
                processor.insert(t_SmartPtr<ERChainerSeg2D>(new Line(on_arc(v[3]), on_arc(v[4]))));
            else if (word == "polyline")
                insert_edges(line, processor);
        }
        std::vector<int> closed;
        int open = 0;
        for (int i = 0; i < processor.entries(); ++i) {
            const ERChainedMetaSeg2D& chain = *processor.getAt(i);
            if (distance(chain.first(), chain.last()) < 0.001)
                closed.push_back(chain.entries());
            else
                ++open;
        }
        std::sort(closed.begin(), closed.end());
        EXPECT_EQ(closed, drawing.closed_sizes) << drawing.name;
        EXPECT_EQ(open, drawing.open) << drawing.name;
    }
}

TEST(Chaining, StatedRefusalsAndUnlikeUnits) {
    const auto state = [](const Line& a, const Line& b) {
        return ERChainedMetaSeg2D(new Line(a))
            .compareWith(t_SmartPtr<ERChainedMetaSeg2D>(new ERChainedMetaSeg2D(new Line(b))).get(),
                         0.01);
    };
    const Line right({0, 0}, {10, 0});
    EXPECT_EQ(state(right, {{0, 0.001}, {0.001, 0}}), SEGCOMP_REFUSED);
    EXPECT_EQ(state(right, {{0, 0}, {0, 10}}), SEGCOMP_FIRST_FIRST);
    EXPECT_EQ(state(right, {{0, 10}, {0, 0}}), SEGCOMP_FIRST_LAST);
    EXPECT_EQ(state(right, {{10, 0}, {10, 9}}), SEGCOMP_LAST_FIRST);
    EXPECT_EQ(state(right, {{10, 9}, {10, 0}}), SEGCOMP_LAST_LAST);
    EXPECT_EQ(state(right, {{10, 0.02}, {10, 9}}), SEGCOMP_APART);
    // The squared distance of the last ends must exceed a length: not so in a small drawing.
    EXPECT_EQ(state({{0, 0}, {0.5, 0}}, {{0, 0}, {0, 0.5}}), SEGCOMP_APART);

    ERChainerProcessor processor;
    const auto insert = [&](const ERPoint2D& a, const ERPoint2D& b) {
        return processor.insert(t_SmartPtr<ERChainerSeg2D>(new Line(a, b)));
    };
    EXPECT_EQ(insert({5, 5}, {5, 5.0005}), 0);                     // shorter than the tolerance
    EXPECT_TRUE(insert({5, 5}, {5, 5}) && insert({5, 5}, {9, 5})); // closed, and never linked to
    EXPECT_EQ(processor.entries(), 2);
    EXPECT_TRUE(insert({0, 0}, {3, 0}) && insert({0, 0}, {3, 0})); // once more runs back
    ASSERT_EQ(processor.entries(), 3);
    EXPECT_TRUE(processor.getAt(2)->entries() == 2 && processor.getAt(2)->isClosed());

    // One piece twice: it turns in both places.
    const t_SmartPtr<ERChainerSeg2D> twice(new Line({0, 50}, {3, 50}));
    EXPECT_TRUE(processor.insert(twice) && processor.insert(twice));
    EXPECT_EQ(processor.entries(), 4);
    EXPECT_EQ(insert({0, 50}, {0, 60}), 1);
    EXPECT_EQ(processor.entries(), 4); // one end of the two is there still
    ERChainedMetaSeg2D chain(new Line({0, 0}, {2, 0}));
    EXPECT_EQ(chain.length(), 2.0);
    const ERChainedMetaSeg2D moved(std::move(chain));
    EXPECT_TRUE(chain.length() == 2.0 * chain.entries() && moved.length() == 2.0);

    ERChainerProcessor copy(processor); // the same chains; neither loses sight of a change
    EXPECT_EQ(copy.insert(t_SmartPtr<ERChainerSeg2D>(new Line({9, 5}, {9, 9}))), 1);
    EXPECT_EQ(insert({9, 9}, {0, 9}), 1);
    EXPECT_EQ(processor.getAt(processor.entries() - 1)->entries(), 3);

    // A look at the list on the way passes no chain over.
    std::pair<ERChainerProcessor, int> seen;
    for (const double x : {0.0, 20.0, 40.0, 10.0})
        seen.first.insert(new Line({x, 0}, {x + 10, 0}));
    const auto look = [](ERChainedMetaSeg2D*, void* at) {
        auto& [of, count] = *static_cast<decltype(seen)*>(at);
        of.getAt(0);
        ++count;
    };
    seen.first.applyOnMChain(look, &seen);
    EXPECT_EQ(seen.second, 2);

    std::ostringstream out;
    ERChainedMetaSeg2D(new Line({0, 0}, {1, 0})).printOn(out);
    EXPECT_EQ(out.str().substr(0, out.str().find(" adresse ")),
              "  chaine  : \n  nb d'elements 1\n reverse :0  first  = [0,0] last  = [1,0]"
              "  firstT = {1,0} lastT = {1,0}   elements n\xB0 0");
}

} // namespace
