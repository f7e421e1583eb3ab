#include "velm/planar/segment_chain.h"

#include "velm/frame/point_functions.h"
#include "velm/planar/detail/compare_ends.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <ostream>
#include <typeinfo>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERChainedMetaSeg2D, ERChainerSeg2D)

void ERChainedMetaSeg2D::insert(t_SmartPtr<ERChainerSeg2D> piece) {
    if (!piece) return;
    const double length = piece->length();
    after_.push_back({std::move(piece), length});
    rough_sum_ += length >= 0.0 ? length : std::numeric_limits<double>::quiet_NaN();
}

void ERChainedMetaSeg2D::merge(ERChainedMetaSeg2D& other) {
    const std::size_t theirs = other.size(); // the other may be this chain
    for (std::size_t i = 0; i < theirs; ++i)
        insert(other.piece(i).segment);
}

void ERChainedMetaSeg2D::take(ERChainedMetaSeg2D& other) {
    rough_sum_ += other.rough_sum_;
    const auto move_behind = [](std::vector<Piece>& taker, auto from, auto to) {
        std::move(from, to, std::back_inserter(taker));
    };
    if (other.size() <= size()) {
        move_behind(after_, other.before_.rbegin(), other.before_.rend());
        move_behind(after_, other.after_.begin(), other.after_.end());
    } else {
        ERChainedMetaSeg2D::length(); // sums the pieces here, which come first
        move_behind(other.before_, after_.rbegin(), after_.rend());
        move_behind(other.before_, before_.begin(), before_.end());
        before_.swap(other.before_);
        after_.swap(other.after_);
    }
    other.before_.clear();
    other.after_.clear();
}

ERChainerSeg2D* ERChainedMetaSeg2D::firstSeg() const {
    if (size() == 0) return nullptr;
    return (reversed ? back() : front()).segment.get();
}

ERChainerSeg2D* ERChainedMetaSeg2D::lastSeg() const {
    if (size() == 0) return nullptr;
    return (reversed ? front() : back()).segment.get();
}

int ERChainedMetaSeg2D::isClosed() const { return meet(ends()); }

void ERChainedMetaSeg2D::applyOnSegment(void (*operation)(ERChainerSeg2D*, void*), void* data) {
    is_open_to_change_ = true;
    for (std::size_t i = 0; i < size(); ++i)
        operation(piece(i).segment.get(), data);
}

void ERChainedMetaSeg2D::reverse() {
    ERChainedMetaSeg2D::length(); // sums in the order of insertion
    before_.swap(after_);
    for (std::size_t i = 0; i < size(); ++i)
        piece(i).segment->reverse();
}

double ERChainedMetaSeg2D::length() const {
    for (; summed_ < size(); ++summed_)
        sum_ += piece(summed_).length;
    return sum_;
}

// Whether value > length(), without the exact sum if the rough sum decides.
bool ERChainedMetaSeg2D::is_shorter_than(double value) const {
    if (summed_ < size()) {
        const double error =
            4.0 * static_cast<double>(size()) * std::numeric_limits<double>::epsilon() * rough_sum_;
        if (std::fabs(value - rough_sum_) > error) return value > rough_sum_;
    }
    return value > length();
}

SegCompState ERChainedMetaSeg2D::compareWith(ERChainerSeg2D const* other, double tol) const {
    const auto* const chain = dynamic_cast<ERChainedMetaSeg2D const*>(other);
    if (chain == nullptr) return ERChainerSeg2D::compareWith(other, tol);
    const auto is_plain = [](ERChainedMetaSeg2D const& c) { // a host's class may override length
        return typeid(c) == typeid(ERChainedMetaSeg2D);
    };
    if (is_plain(*this) && is_plain(*chain))
        return compare_plain(ends(), *chain, chain->ends(), tol);
    return compare_pieces(ERChainerSeg2D::compareWith(chain, tol), *chain, tol);
}

SegCompState ERChainedMetaSeg2D::compare_plain(const Ends& own, ERChainedMetaSeg2D const& other,
                                               const Ends& others, double tol) const {
    const SegCompState whole = velm::detail::compare_ends(
        own, others, tol, [&](double d) { return is_shorter_than(d) && other.is_shorter_than(d); });
    return compare_pieces(whole, other, tol);
}

// How the pieces at the ends meet, for chains that meet as a whole.
SegCompState ERChainedMetaSeg2D::compare_pieces(SegCompState whole, ERChainedMetaSeg2D const& other,
                                                double tol) const {
    if (whole <= SEGCOMP_REFUSED_BY_HOST || size() == 0 || other.size() == 0) return whole;
    const auto are = [tol](ERChainerSeg2D const* a, ERChainerSeg2D const* b, SegCompState way) {
        return a->compareWith(b, tol) == way;
    };
    if (are(firstSeg(), other.firstSeg(), SEGCOMP_FIRST_FIRST)) return SEGCOMP_FIRST_FIRST;
    if (are(firstSeg(), other.lastSeg(), SEGCOMP_FIRST_LAST)) return SEGCOMP_FIRST_LAST;
    if (are(lastSeg(), other.firstSeg(), SEGCOMP_LAST_FIRST)) return SEGCOMP_LAST_FIRST;
    if (are(lastSeg(), other.lastSeg(), SEGCOMP_LAST_LAST)) return SEGCOMP_LAST_LAST;
    return SEGCOMP_APART;
}

ERPoint2D ERChainedMetaSeg2D::getExt1() const {
    return size() == 0 ? ERPoint2D() : front().segment->first();
}

ERPoint2D ERChainedMetaSeg2D::getExt2() const {
    return size() == 0 ? ERPoint2D() : back().segment->last();
}

ERVector2D ERChainedMetaSeg2D::getTan1() const {
    return size() == 0 ? ERVector2D() : front().segment->firstT();
}

ERVector2D ERChainedMetaSeg2D::getTan2() const {
    return size() == 0 ? ERVector2D() : back().segment->lastT();
}

void ERChainedMetaSeg2D::printOn(std::ostream& out) const {
    out << "  chaine  : " << '\n' << "  nb d'elements " << entries() << '\n';
    ERChainerSeg2D::printOn(out);
    for (std::size_t i = 0; i < size(); ++i) {
        out << "   elements n\xB0 " << i << " adresse " << piece(i).segment.get() << '\n';
        piece(i).segment->printOn(out);
    }
}

ERObject* ERChainedMetaSeg2D::getCopy() const { return new ERChainedMetaSeg2D(*this); }
