#include "velm/numerics/detail/root_isolation.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace velm::detail {

namespace {

/// A part is given up as a cluster when all its coefficients are within this many times the
/// noise: small enough to keep enclosures tight, large enough to spare bisections at their rims.
constexpr double kRim = 16.0;
/// More pieces than any sound input makes; beyond it what is unclear is reported as it is.
constexpr int kMostPieces = 20000;

} // namespace

/// Gives the first pieces of the stack their arrays.
void RootIsolation::need(int pieces) {
    const int count = p_.degree + 1;
    for (; prepared_ < pieces; ++prepared_) {
        BernsteinPiece& piece = stack_[prepared_];
        piece.p = room_;
        piece.rest = room_ + count;
        piece.size = room_ + 2 * count;
        room_ += 3 * count;
    }
}

void RootIsolation::start(double lower, double upper) {
    pieces_made_ = 0;
    top_ = 0;
    need(1);
    BernsteinPiece& first = stack_[0];
    first.lower = lower;
    first.upper = whole_ = upper;
    first.doubled = false;
    to_bernstein(p_, first);
}

bool RootIsolation::next(RootInterval& found) {
    if (handed_out_ == count_) {
        handed_out_ = count_ = 0;
        while (top_ >= 0 && count_ == 0)
            resolve_top();
        if (count_ == 0) end_cluster();
        if (count_ == 0) return false;
    }
    found = found_[handed_out_++];
    return true;
}

/// Drops or reports the piece on top, or splits it in two.
void RootIsolation::resolve_top() {
    BernsteinPiece& piece = stack_[top_];
    Verdict verdict = judge(piece);
    const bool fine = piece.doubled || piece.error <= uncertainty_ / 8;
    if (verdict.content == Content::unclear && !fine &&
        (verdict.lower_unclear || verdict.upper_unclear)) {
        piece.doubled = true;
        to_bernstein(p_, piece);
        verdict = judge(piece);
    }
    if (verdict.content != Content::unclear) {
        if (verdict.content == Content::one) report_lone(piece, verdict.guess);
        --top_;
        return;
    }
    if (settled(piece, verdict) || top_ + 2 > kDepth || ++pieces_made_ > kMostPieces) {
        report_cluster(piece);
        --top_;
        return;
    }
    if (verdict.lower_unclear != verdict.upper_unclear) {
        split(beside_end(piece, verdict.upper_unclear), true);
        return;
    }
    const double lower = piece.lower;
    const double width = piece.upper - lower;
    const double at = middle(piece);
    // A root that lies on the cut would have to be chased from both sides: cut beside it.
    if (split(at, false) || split(at - 0.0625 * width, false)) return;
    if (!piece.doubled && !fine) {
        piece.doubled = true;
        to_bernstein(p_, piece);
        return;
    }
    split(at + 0.09375 * width, false) || split(at, true);
}

/// What Descartes' rule says of the piece, each sign being taken as unclear within the noise.
RootIsolation::Verdict RootIsolation::judge(const BernsteinPiece& piece) const {
    const int n = p_.degree;
    const double noise = piece.error + uncertainty_;
    const auto sign = [&piece, noise](int i) {
        const double x = piece.p[i];
        const double limit = noise * piece.size[i];
        return x > limit ? 1 : x < -limit ? -1 : 0;
    };
    Verdict verdict{Content::nothing, sign(0) == 0, sign(n) == 0, 0.0};
    bool unclear = verdict.lower_unclear || verdict.upper_unclear;
    int changes = 0;
    int last = 0;
    for (int i = 1; i <= n && !unclear; ++i) {
        const int here = sign(i);
        if (here == 0) continue;
        const bool change = here != sign(last);
        // One coefficient of unclear sign at a change makes no difference.
        if (i - last > (change ? 2 : 1)) unclear = true;
        if (change && ++changes > 1) unclear = true;
        if (change) {
            const double before = std::fabs(piece.p[last]);
            const double share = before / (before + std::fabs(piece.p[i]));
            verdict.guess = (last + share * (i - last)) / n;
        }
        last = i;
    }
    if (unclear)
        verdict.content = Content::unclear;
    else if (changes == 1)
        verdict.content = Content::one;
    return verdict;
}

/// Whether the piece is no more than the neighbourhood of a place where p is zero within the noise.
bool RootIsolation::settled(const BernsteinPiece& piece, const Verdict& verdict) const {
    if (!verdict.lower_unclear && !verdict.upper_unclear) return false;
    if (!piece.doubled && piece.error > uncertainty_ / 8) return false;
    const double limit = kRim * (piece.error + uncertainty_);
    for (int i = 0; i <= p_.degree; ++i)
        if (std::fabs(piece.p[i]) > limit * piece.size[i]) return false;
    return true;
}

/// A place to cut: the middle, or where the ends' sizes differ much, the middle of those.
double RootIsolation::middle(const BernsteinPiece& piece) {
    constexpr double wide = 64.0;
    const double lower = piece.lower;
    const double upper = piece.upper;
    const double half = 0.5 * (lower + upper);
    if (lower == 0.0 && upper * wide > whole_) return half;
    const double smallest = lower > 0.0 ? lower : smallest_root_size();
    if (upper < wide * smallest) return half;
    const int exponent = (std::ilogb(smallest) + std::ilogb(upper)) / 2;
    const double at = std::ldexp(1.0, exponent);
    return at > lower && at < half ? at : half;
}

/// A place that cuts off a root on an end: where one of the first terms of p's expansion there
/// alone exceeds the noise several times.
double RootIsolation::beside_end(const BernsteinPiece& piece, bool at_upper) const {
    constexpr int terms = 6;
    constexpr double clear = 4.0;
    const int n = p_.degree;
    double difference[terms + 1];
    const int most = std::min(n, terms);
    for (int i = 0; i <= most; ++i)
        difference[i] = piece.p[at_upper ? n - i : i];
    const double noise = (piece.error + uncertainty_) * piece.size[at_upper ? n : 0];
    const double least = 4 * DBL_EPSILON * piece.upper / (piece.upper - piece.lower);
    double share = 0.5;
    double binomial = 1.0;
    for (int k = 1; k <= most; ++k) {
        for (int i = 0; i <= most - k; ++i)
            difference[i] = difference[i + 1] - difference[i];
        binomial = binomial * (n + 1 - k) / k;
        const double term = std::fabs(binomial * difference[0]);
        if (term > 0.0)
            share = std::min(share, std::max(least, std::pow(clear * noise / term, 1.0 / k)));
    }
    const double width = share * (piece.upper - piece.lower);
    return at_upper ? piece.upper - width : piece.lower + width;
}

/// Cuts the piece on top. False, and nothing done, if p is unclear there and this isn't the last
/// try; what can't be cut any more is reported.
bool RootIsolation::split(double at, bool last_try) {
    BernsteinPiece& piece = stack_[top_];
    const int n = p_.degree;
    if (!(at > piece.lower && at < piece.upper)) {
        if (!last_try) return false;
        report_cluster(piece);
        --top_;
        return true;
    }
    need(top_ + 3);
    BernsteinPiece& left = stack_[top_ + 1];
    BernsteinPiece& spare = stack_[top_ + 2];
    const BernsteinPiece kept{piece.lower, piece.upper, piece.error,  spare.p,
                              spare.rest,  spare.size,  piece.doubled};
    if (!last_try) {
        std::copy_n(piece.p, n + 1, spare.p);
        std::copy_n(piece.size, n + 1, spare.size);
        if (piece.doubled) std::copy_n(piece.rest, n + 1, spare.rest);
    }
    cut(piece, left, at, n);
    const double noise = (piece.error + uncertainty_) * piece.size[0];
    if (!last_try && std::fabs(piece.p[0]) <= noise) {
        spare = {0.0, 0.0, 0.0, piece.p, piece.rest, piece.size, false};
        piece = kept;
        return false;
    }
    ++top_;
    return true;
}

void RootIsolation::report_lone(const BernsteinPiece& piece, double guess) {
    end_cluster();
    found_[count_++] = {piece.lower, piece.upper, piece.lower + guess * (piece.upper - piece.lower),
                        true, piece.p[p_.degree] > 0.0};
}

void RootIsolation::report_cluster(const BernsteinPiece& piece) {
    if (growing_ && cluster_.upper == piece.lower) {
        cluster_.upper = piece.upper;
        return;
    }
    end_cluster();
    cluster_ = {piece.lower, piece.upper, piece.lower, false, false};
    growing_ = true;
}

void RootIsolation::end_cluster() {
    if (growing_) found_[count_++] = cluster_;
    growing_ = false;
}

/// A size below which p has no root but 0: its lowest term exceeds all others there.
double RootIsolation::smallest_root_size() {
    if (smallest_ >= 0.0) return smallest_;
    int exponent = 0;
    for (int i = 1; i <= p_.degree; ++i)
        if (p_.hi[i] != 0.0) {
            const int ratio = std::ilogb(p_.hi[0]) - std::ilogb(p_.hi[i]) - 1;
            exponent = std::min(exponent, (ratio - i + 1) / i);
        }
    return smallest_ = std::ldexp(1.0, exponent - 2);
}

} // namespace velm::detail
