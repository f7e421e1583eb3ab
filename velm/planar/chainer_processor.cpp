#include "velm/planar/chainer_processor.h"

#include "velm/planar/detail/chain_end_index.h"

#include <algorithm>
#include <cassert>
#include <ostream>
#include <typeinfo>
#include <utility>

using velm::detail::ChainEndIndex;

namespace {

bool is_plain(const ERChainedMetaSeg2D& chain) {
    return typeid(chain) == typeid(ERChainedMetaSeg2D);
}

} // namespace

ERChainerProcessor::ERChainerProcessor(double tol)
    : tolerance_(tol), changes_(std::make_shared<Changes>()) {}

ERChainerProcessor::ERChainerProcessor(ERChainerProcessor const& other)
    : slots_(other.slots_), live_(other.live_), derived_(other.derived_),
      tolerance_(other.tolerance_), comparison_(other.comparison_), changes_(other.changes_),
      known_changes_(other.known_changes_) {}

ERChainerProcessor& ERChainerProcessor::operator=(ERChainerProcessor const& other) {
    slots_ = other.slots_;
    live_ = other.live_;
    derived_ = other.derived_;
    tolerance_ = other.tolerance_;
    comparison_ = other.comparison_;
    changes_ = other.changes_;
    known_changes_ = other.known_changes_;
    index_.reset();
    return *this;
}

ERChainerProcessor::~ERChainerProcessor() = default;

SegCompState ERChainerProcessor::StandardCompare(ERChainedMetaSeg2D const& a,
                                                 ERChainedMetaSeg2D const& b, double tol) {
    return a.compareWith(&b, tol);
}

void ERChainerProcessor::setComparison(Comparison other) {
    comparison_ = other;
    index_.reset();
}

// Visits the existing chains that the carried one has to be compared with, in the list's order:
// all of them or, with an index, those with an end near one of its ends; for all others the
// standard comparison gives SEGCOMP_APART. Closed chains are skipped.
class ERChainerProcessor::Walk {
public:
    Walk(ERChainerProcessor& of, const Ends& carried, bool index_serves)
        : processor(of), is_indexed(index_serves), ends(carried) {
        near_.clear();
        if (!is_indexed) return;
        look_near(ends.first);
        look_near(ends.last);
        sort();
    }

    // The place of the next chain; the number of slots when there is none.
    std::size_t next() {
        const std::size_t end = processor.slots_.size();
        if (!is_indexed) {
            while (place < end && !is_open(processor.slots_[place].chain))
                ++place;
            return place < end ? place++ : end;
        }
        while (!near_.empty()) {
            const std::size_t found = near_.back();
            near_.pop_back();
            if (found < place) continue; // already visited
            place = found + 1;
            return found;
        }
        return end;
    }
    SegCompState compare(std::size_t with, const ERChainedMetaSeg2D& carried) const {
        const Slot& slot = processor.slots_[with];
        return is_indexed
                   ? slot.chain->compare_plain(slot.ends, carried, ends, processor.tolerance_)
                   : processor.comparison_(*slot.chain, carried, processor.tolerance_);
    }
    // The carried chain has grown to these ends. The chains near an end that it had before are
    // known.
    void look_anew(const Ends& grown) {
        const Ends old = std::exchange(ends, grown);
        if (!is_indexed) return;
        for (const ERPoint2D& end : {grown.first, grown.last})
            if (!(end == old.first || end == old.last)) look_near(end);
        sort();
    }
    const Ends& carried_ends() const { return ends; }
    bool by_index() const { return is_indexed; }

private:
    static bool is_open(const Chain& chain) { return chain && !chain->isClosed(); }
    void look_near(const ERPoint2D& end) {
        processor.index_->find(end, static_cast<ChainEndIndex::Place>(place), near_);
    }
    void sort() {
        if (near_.size() > 1) std::sort(near_.begin(), near_.end(), std::greater<>());
    }

    ERChainerProcessor& processor;
    const bool is_indexed;
    Ends ends;                                                  // of the carried chain
    std::size_t place = 0;                                      // the next place to visit
    std::vector<ChainEndIndex::Place>& near_ = processor.near_; // descending
};

int ERChainerProcessor::insert(t_SmartPtr<ERChainerSeg2D> piece) {
    if (!piece) return 0;
    return insert(Chain(new ERChainedMetaSeg2D(std::move(piece))));
}

int ERChainerProcessor::insert(t_SmartPtr<ERChainedMetaSeg2D> chain) {
    if (!chain) return 0;
    const Ends ends = chain->ends();
    if (ERChainedMetaSeg2D::meet(ends)) {
        append(std::move(chain), ends);
        return 1;
    }
    if (tolerance_ > chain->length()) return 0;

    const ERChainedMetaSeg2D* const newcomer = chain.get();
    Walk walk(*this, ends, prepare_index(*chain));
    for (std::size_t place = walk.next(); place < slots_.size(); place = walk.next()) {
        const SegCompState state = walk.compare(place, *chain);
        if (state == SEGCOMP_APART) continue;
        if (state == SEGCOMP_REFUSED || state == SEGCOMP_REFUSED_BY_HOST) return 0;
        const Ends existing = slots_[place].ends;
        Chain other = take_out(place);
        Ends carried = walk.carried_ends();
        const bool is_reversed = state == SEGCOMP_FIRST_FIRST || state == SEGCOMP_LAST_LAST;
        if (is_reversed) chain->reverse();
        const bool leads = state == SEGCOMP_FIRST_FIRST || state == SEGCOMP_FIRST_LAST;
        if (!leads) std::swap(chain, other);
        join(*chain, *other);
        if (other.get() != newcomer && other->references() > 1 && changes_.use_count() > 1)
            changes_->pieces_shared = true;  // a copy of the processor holds the other one
        if (!walk.by_index() || is_reversed) // the existing one may hold the same pieces
            carried = chain->ends();
        else
            (leads ? carried.last : carried.first) = leads ? existing.last : existing.first;
        walk.look_anew(carried);
    }
    append(std::move(chain), walk.carried_ends());
    return 1;
}

// Appends the other chain to the taker. A chain that nobody else holds may lose its pieces.
void ERChainerProcessor::join(ERChainedMetaSeg2D& taker, ERChainedMetaSeg2D& other) const {
    const bool is_for_us_alone = other.references() <= 1;
    const bool lengths_hold = !other.is_open_to_change_ && !changes_->pieces_shared;
    if (is_for_us_alone && lengths_hold && is_plain(taker) && is_plain(other))
        taker.take(other);
    else
        taker.merge(other);
}

void ERChainerProcessor::append(Chain chain, const Ends& ends) {
    while (!slots_.empty() && !slots_.back().chain)
        slots_.pop_back();
    derived_ += is_plain(*chain) ? 0u : 1u;
    slots_.push_back({std::move(chain), ends});
    ++live_;
    if (index_) note_ends(slots_.size() - 1);
}

void ERChainerProcessor::note_ends(std::size_t place) {
    const Ends& ends = slots_[place].ends;
    if (ERChainedMetaSeg2D::meet(ends)) return;
    index_->add(ends.first, static_cast<ChainEndIndex::Place>(place));
    index_->add(ends.last, static_cast<ChainEndIndex::Place>(place));
}

ERChainerProcessor::Chain ERChainerProcessor::take_out(std::size_t place) {
    Slot& slot = slots_[place];
    if (index_) {
        index_->remove(slot.ends.first, static_cast<ChainEndIndex::Place>(place));
        index_->remove(slot.ends.last, static_cast<ChainEndIndex::Place>(place));
    }
    --live_;
    derived_ -= is_plain(*slot.chain) ? 0u : 1u;
    if (known_changes_ == changes_->count) ++known_changes_; // earlier changes are included already
    ++changes_->count;
    return std::exchange(slot.chain, Chain());
}

// Removes the empty slots, and with them the places in the index.
void ERChainerProcessor::close_gaps() const {
    if (live_ == slots_.size()) return;
    std::erase_if(slots_, [](const Slot& slot) { return !slot.chain; });
    index_.reset();
}

// Builds the index again if others have changed the chains. False if an index can't be used.
bool ERChainerProcessor::prepare_index(const ERChainedMetaSeg2D& carried) {
    if (slots_.size() > 64 && slots_.size() > 2 * live_) close_gaps();
    if (comparison_ != StandardCompare || derived_ > 0 || !is_plain(carried)) return false;
    if (changes_->pieces_shared) return false;
    if (known_changes_ != changes_->count) {
        for (Slot& slot : slots_)
            if (slot.chain) slot.ends = slot.chain->ends();
        known_changes_ = changes_->count;
        index_.reset();
    }
    if (!index_) {
        index_ = std::make_unique<ChainEndIndex>(tolerance_, 2 * live_);
        for (std::size_t place = 0; place < slots_.size(); ++place)
            if (slots_[place].chain) note_ends(place);
    }
    return true;
}

// The operation may read the list.
template <class Operation>
void ERChainerProcessor::for_chains(Operation operation) const {
    close_gaps();
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        if (const Chain chain = slots_[i].chain) operation(*chain);
    }
}

ERChainedMetaSeg2D const* ERChainerProcessor::getAt(int i) const {
    assert(i >= 0 && i < entries());
    // A host that reads the chain of its latest piece doesn't invalidate the index.
    if (i == entries() - 1) return slots_.back().chain.get();
    close_gaps();
    return slots_[static_cast<std::size_t>(i)].chain.get();
}

void ERChainerProcessor::applyOnMChain(void (*operation)(ERChainedMetaSeg2D*, void*), void* data) {
    for_chains([&](ERChainedMetaSeg2D& chain) {
        chain.is_open_to_change_ = true;
        operation(&chain, data);
    });
    ++changes_->count;
}

void ERChainerProcessor::applyOnSegment(void (*operation)(ERChainerSeg2D*, void*), void* data) {
    for_chains([&](ERChainedMetaSeg2D& chain) { chain.applyOnSegment(operation, data); });
    ++changes_->count;
}

void ERChainerProcessor::printOn(std::ostream& out) const {
    out << "Gestionnaire de Chaine 2D " << '\n' << "   nb de chaines : " << entries() << '\n';
    int number = 0;
    for_chains([&](const ERChainedMetaSeg2D& chain) {
        out << "   chaine n\xB0" << number++ << '\n';
        chain.printOn(out);
    });
}
