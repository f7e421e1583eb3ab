#include "velm/numerics/detail/root_isolation.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

namespace velm::detail {

namespace {

// A part is given up as a cluster when all its coefficients are within this many times the
// noise: small enough to keep enclosures tight, large enough to spare bisections at their rims.
constexpr double rim_noises = 16.0;
// More pieces than any sensible input makes; beyond it, unclear pieces are reported as clusters.
constexpr int most_pieces = 20000;

} // namespace

// Assigns arrays to the first pieces of the stack.
void RootIsolation::need(int pieces) {
    for (; prepared_ < pieces; ++prepared_) {
        stack_[prepared_].poles = room_;
        room_ += 3 * (p_.degree + 1);
    }
}

void RootIsolation::start(double lower, double upper) {
    pieces_made_ = 0;
    top_ = 0;
    need(1);
    BernsteinPiece& first = stack_[0];
    first.lower = lower;
    first.upper = whole_ = upper;
    to_bernstein(p_, first);
}

const RootInterval* RootIsolation::next() {
    if (handed_out_ == count_) {
        handed_out_ = count_ = 0;
        while (top_ >= 0 && count_ == 0)
            resolve_top();
        if (count_ == 0) end_cluster();
        if (count_ == 0) return nullptr;
    }
    return &found_[handed_out_++];
}

// Drops or reports the piece on top, or splits it in two.
void RootIsolation::resolve_top() {
    BernsteinPiece& piece = stack_[top_];
    Verdict verdict = judge(piece);
    if (verdict.content == Content::unclear && !surely_unclear(piece, verdict)) {
        to_bernstein_in_pairs(p_, piece, scratch_);
        verdict = judge(piece);
    }
    if (verdict.content != Content::unclear) {
        if (verdict.content == Content::one) report_lone(piece, verdict.guess);
        --top_;
        return;
    }
    if (settled(piece, verdict) || top_ + 2 > most_depth || ++pieces_made_ > most_pieces) {
        report_cluster(piece);
        --top_;
        return;
    }
    if (verdict.lower_unclear != verdict.upper_unclear) {
        split(beside_end(piece, verdict.upper_unclear), true);
        return;
    }
    const double at = middle(piece);
    // An eighth of a half: either part keeps at least 7/16 of the piece.
    const double aside = 0.125 * std::min(at - piece.lower, piece.upper - at);
    // A root on the cut would be pursued from both sides: cut beside it.
    if (split(at, false) || split(at - aside, false)) return;
    if (!piece.fresh) {
        to_bernstein_in_pairs(p_, piece, scratch_);
        return;
    }
    split(at + 1.5 * aside, false) || split(at, true);
}

// The sign of coefficient i, 0 if it is within the noise.
int RootIsolation::sign(const BernsteinPiece& piece, int i) const {
    const double x = piece.p(i);
    const double noise = piece.noise(i, uncertainty_);
    return x > noise ? 1 : x < -noise ? -1 : 0;
}

// The verdict of Descartes' rule on the piece; a sign within the noise is unclear.
RootIsolation::Verdict RootIsolation::judge(const BernsteinPiece& piece) const {
    const int n = p_.degree;
    int last_sign = sign(piece, 0);
    Verdict verdict{Content::nothing, last_sign == 0, sign(piece, n) == 0, 0.0};
    bool unclear = verdict.lower_unclear || verdict.upper_unclear;
    int changes = 0;
    int last = 0;
    for (int i = 1; i <= n && !unclear; ++i) {
        const int here = sign(piece, i);
        if (here == 0) continue;
        const bool change = here != last_sign;
        // One coefficient of unclear sign at a change does not alter the count.
        if (i - last > (change ? 2 : 1)) unclear = true;
        if (change && ++changes > 1) unclear = true;
        if (change) {
            const double before = std::fabs(piece.p(last));
            const double share = before / (before + std::fabs(piece.p(i)));
            verdict.guess = (last + share * (i - last)) / n;
        }
        last = i;
        last_sign = here;
    }
    if (unclear)
        verdict.content = Content::unclear;
    else if (changes == 1)
        verdict.content = Content::one;
    return verdict;
}

// Whether an end's sign remains unclear however exactly p is evaluated, or neither end's sign is
// unclear.
bool RootIsolation::surely_unclear(const BernsteinPiece& piece, const Verdict& verdict) const {
    constexpr double small_part = 0.125;
    if (piece.fresh) return true;
    const auto sure = [this, &piece](int i) {
        const double noise = piece.noise(i, uncertainty_);
        return noise - (uncertainty_ + piece.base) * piece.size(i) <= small_part * noise;
    };
    return (!verdict.lower_unclear || sure(0)) && (!verdict.upper_unclear || sure(p_.degree));
}

// Whether the piece is no more than the neighbourhood of a place where p is zero within the noise.
bool RootIsolation::settled(const BernsteinPiece& piece, const Verdict& verdict) const {
    if (!verdict.lower_unclear && !verdict.upper_unclear) return false;
    for (int i = 0; i <= p_.degree; ++i)
        if (std::fabs(piece.p(i)) > rim_noises * (uncertainty_ + piece.base) * piece.size(i))
            return false;
    return true;
}

// A place to cut: the middle or, if the sizes of the ends differ much, the power of two with their
// middle exponent.
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

// A place that cuts off a root on an end: where a single one of the first terms of p's expansion
// exceeds the noise several times.
double RootIsolation::beside_end(const BernsteinPiece& piece, bool at_upper) const {
    constexpr int terms = 6;
    constexpr double clear = 4.0;
    const int n = p_.degree;
    double difference[terms + 1];
    const int most = std::min(n, terms);
    for (int i = 0; i <= most; ++i)
        difference[i] = piece.p(at_upper ? n - i : i);
    const double noise = piece.noise(at_upper ? n : 0, uncertainty_);
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

// Cuts the piece on top. False, with nothing done, if p is unclear there and this isn't the last
// try; a piece too small to cut is reported.
bool RootIsolation::split(double at, bool last_try) {
    BernsteinPiece& piece = stack_[top_];
    if (!(at > piece.lower && at < piece.upper)) {
        if (!last_try) return false;
        report_cluster(piece);
        --top_;
        return true;
    }
    need(top_ + 3);
    double*& spare = stack_[top_ + 2].poles;
    const double lower = piece.lower;
    const double error = piece.error;
    const bool fresh = piece.fresh;
    if (!last_try) std::copy_n(piece.poles, piece.components * (p_.degree + 1), spare);
    cut(piece, stack_[top_ + 1], at, p_.degree);
    if (!last_try && sign(piece, 0) == 0) {
        std::swap(piece.poles, spare);
        piece.lower = lower;
        piece.error = error;
        piece.fresh = fresh;
        return false;
    }
    ++top_;
    return true;
}

void RootIsolation::report_lone(const BernsteinPiece& piece, double guess) {
    end_cluster();
    found_[count_++] = {piece.lower, piece.upper, piece.lower + guess * (piece.upper - piece.lower),
                        true, piece.p(p_.degree) > 0.0};
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

// A size below which p has no root but 0: its lowest term exceeds all others there.
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
