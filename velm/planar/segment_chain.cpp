#include "velm/planar/segment_chain.h"

#include "velm/frame/point_functions.h"
#include "velm/planar/detail/compare_ends.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <typeinfo>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERChainedMetaSeg2D, ERChainerSeg2D)

void ERChainedMetaSeg2D::insert(t_SmartPtr<ERChainerSeg2D> piece) {
    if (!piece) return;
    const double length = piece->length();
    pieces.push_back({std::move(piece), length});
    rough_sum += length >= 0.0 ? length : std::numeric_limits<double>::quiet_NaN();
}

void ERChainedMetaSeg2D::merge(ERChainedMetaSeg2D& other) {
    const std::size_t theirs = other.pieces.size(); // the other may be this chain
    for (std::size_t i = 0; i < theirs; ++i) {
        const Piece piece = other.pieces[i];
        pieces.push_back(piece);
    }
    rough_sum += other.rough_sum;
}

void ERChainedMetaSeg2D::take(ERChainedMetaSeg2D& other) {
    if (other.pieces.size() <= pieces.size()) {
        merge(other);
        return;
    }
    rough_sum += other.rough_sum;
    ERChainedMetaSeg2D::length(); // of the pieces here, which come first
    std::for_each(pieces.rbegin(), pieces.rend(),
                  [&other](Piece& piece) { other.pieces.push_front(std::move(piece)); });
    pieces.swap(other.pieces);
    other.pieces.clear();
}

ERChainerSeg2D* ERChainedMetaSeg2D::firstSeg() const {
    if (pieces.empty()) return nullptr;
    return (reversed ? pieces.back() : pieces.front()).segment.get();
}

ERChainerSeg2D* ERChainedMetaSeg2D::lastSeg() const {
    if (pieces.empty()) return nullptr;
    return (reversed ? pieces.front() : pieces.back()).segment.get();
}

int ERChainedMetaSeg2D::isClosed() const { return isEqual(first(), last(), equalityTolerance); }

void ERChainedMetaSeg2D::applyOnSegment(void (*operation)(ERChainerSeg2D*, void*), void* data) {
    for (std::size_t i = 0; i < pieces.size(); ++i)
        operation(pieces[i].segment.get(), data);
}

void ERChainedMetaSeg2D::reverse() {
    ERChainedMetaSeg2D::length(); // in the order in which they came
    std::reverse(pieces.begin(), pieces.end());
    for (const Piece& piece : pieces)
        piece.segment->reverse();
}

double ERChainedMetaSeg2D::length() const {
    for (; summed < pieces.size(); ++summed)
        sum += pieces[summed].length;
    return sum;
}

/// Whether value > length(), without adding all up where the rough sum tells.
bool ERChainedMetaSeg2D::is_shorter_than(double value) const {
    if (summed < pieces.size()) {
        const double error = 4.0 * static_cast<double>(pieces.size()) *
                             std::numeric_limits<double>::epsilon() * rough_sum;
        if (std::fabs(value - rough_sum) > error) return value > rough_sum;
    }
    return value > length();
}

SegCompState ERChainedMetaSeg2D::compareWith(ERChainerSeg2D const* other, double tol) const {
    const auto* const chain = dynamic_cast<ERChainedMetaSeg2D const*>(other);
    if (chain == nullptr) return ERChainerSeg2D::compareWith(other, tol);
    const auto is_plain = [](ERChainedMetaSeg2D const& c) { // a host's class may override length
        return typeid(c) == typeid(ERChainedMetaSeg2D);
    };
    const SegCompState whole =
        is_plain(*this) && is_plain(*chain)
            ? velm::detail::compare_ends(
                  *this, *chain, tol,
                  [&](double d) { return is_shorter_than(d) && chain->is_shorter_than(d); })
            : ERChainerSeg2D::compareWith(chain, tol);
    if (whole <= SEGCOMP_REFUSED_BY_HOST || pieces.empty() || chain->pieces.empty()) return whole;

    const auto meet = [tol](ERChainerSeg2D const* a, ERChainerSeg2D const* b, SegCompState way) {
        return a->compareWith(b, tol) == way;
    };
    if (meet(firstSeg(), chain->firstSeg(), SEGCOMP_FIRST_FIRST)) return SEGCOMP_FIRST_FIRST;
    if (meet(firstSeg(), chain->lastSeg(), SEGCOMP_FIRST_LAST)) return SEGCOMP_FIRST_LAST;
    if (meet(lastSeg(), chain->firstSeg(), SEGCOMP_LAST_FIRST)) return SEGCOMP_LAST_FIRST;
    if (meet(lastSeg(), chain->lastSeg(), SEGCOMP_LAST_LAST)) return SEGCOMP_LAST_LAST;
    return SEGCOMP_APART;
}

ERPoint2D ERChainedMetaSeg2D::getExt1() const {
    return pieces.empty() ? ERPoint2D() : pieces.front().segment->first();
}

ERPoint2D ERChainedMetaSeg2D::getExt2() const {
    return pieces.empty() ? ERPoint2D() : pieces.back().segment->last();
}

ERVector2D ERChainedMetaSeg2D::getTan1() const {
    return pieces.empty() ? ERVector2D() : pieces.front().segment->firstT();
}

ERVector2D ERChainedMetaSeg2D::getTan2() const {
    return pieces.empty() ? ERVector2D() : pieces.back().segment->lastT();
}

void ERChainedMetaSeg2D::printOn(std::ostream& out) const {
    out << "  chaine  : " << '\n' << "  nb d'elements " << entries() << '\n';
    ERChainerSeg2D::printOn(out);
    int index = 0;
    for (const Piece& piece : pieces) {
        out << "   elements n\xB0 " << index++ << " adresse " << piece.segment.get() << '\n';
        piece.segment->printOn(out);
    }
}

ERObject* ERChainedMetaSeg2D::getCopy() const { return new ERChainedMetaSeg2D(*this); }
