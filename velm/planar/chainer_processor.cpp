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
    : tolerance(tol), changes(std::make_shared<std::uint64_t>(0)) {}

ERChainerProcessor::ERChainerProcessor(ERChainerProcessor const& other)
    : slots(other.slots), live(other.live), derived(other.derived), last_number(other.last_number),
      tolerance(other.tolerance), comparison(other.comparison), changes(other.changes) {}

ERChainerProcessor& ERChainerProcessor::operator=(ERChainerProcessor const& other) {
    slots = other.slots;
    live = other.live;
    derived = other.derived;
    last_number = other.last_number;
    tolerance = other.tolerance;
    comparison = other.comparison;
    changes = other.changes;
    index.reset();
    return *this;
}

ERChainerProcessor::~ERChainerProcessor() = default;

SegCompState ERChainerProcessor::StandardCompare(ERChainedMetaSeg2D const& a,
                                                 ERChainedMetaSeg2D const& b, double tol) {
    return a.compareWith(&b, tol);
}

void ERChainerProcessor::setComparison(Comparison other) {
    comparison = other;
    index.reset();
}

/// Goes to the existing chains that the carried one has to be compared with, in the list's order:
/// all of them or, with an index, those with an end near one of its ends; for all others the
/// standard comparison gives SEGCOMP_APART. Closed chains are passed over.
class ERChainerProcessor::Walk {
public:
    Walk(std::vector<Slot>& list, ChainEndIndex* ends) : slots(list), index(ends) {}

    /// The place of the next chain; the number of slots when there is none.
    std::size_t next(const ERChainedMetaSeg2D& carried) {
        for (std::size_t place = next_place(carried); place < slots.size();
             place = next_place(carried)) {
            passed = slots[place].number;
            if (slots[place].chain && !slots[place].chain->isClosed()) return place;
        }
        return slots.size();
    }
    /// The carried chain has grown.
    void look_anew() { is_fresh = false; }

private:
    std::size_t next_place(const ERChainedMetaSeg2D& carried) {
        if (index == nullptr) return place_of(passed + 1);
        if (!is_fresh) {
            near.clear();
            index->find(carried.first(), passed, near);
            index->find(carried.last(), passed, near);
            std::sort(near.begin(), near.end(), std::greater<>());
            is_fresh = true;
        }
        while (!near.empty() && near.back() <= passed)
            near.pop_back();
        return near.empty() ? slots.size() : place_of(near.back());
    }
    /// The place of the first slot with this number or a higher one.
    std::size_t place_of(Number number) const {
        const auto slot =
            std::lower_bound(slots.begin(), slots.end(), number,
                             [](const Slot& s, Number wanted) { return s.number < wanted; });
        return static_cast<std::size_t>(slot - slots.begin());
    }

    std::vector<Slot>& slots;
    ChainEndIndex* index;
    Number passed = 0; // the last chain's number
    bool is_fresh = false;
    std::vector<Number> near; // descending
};

int ERChainerProcessor::insert(t_SmartPtr<ERChainerSeg2D> piece) {
    if (!piece) return 0;
    return insert(Chain(new ERChainedMetaSeg2D(std::move(piece))));
}

int ERChainerProcessor::insert(t_SmartPtr<ERChainedMetaSeg2D> chain) {
    if (!chain) return 0;
    if (chain->isClosed()) {
        append(std::move(chain));
        return 1;
    }
    if (tolerance > chain->length()) return 0;

    Walk walk(slots, prepare_index(*chain) ? index.get() : nullptr);
    for (std::size_t place = walk.next(*chain); place < slots.size(); place = walk.next(*chain)) {
        const SegCompState state = comparison(*slots[place].chain, *chain, tolerance);
        if (state == SEGCOMP_APART) continue;
        if (state == SEGCOMP_REFUSED || state == SEGCOMP_REFUSED_BY_HOST) return 0;
        const Chain existing = take_out(place);
        if (state == SEGCOMP_FIRST_FIRST || state == SEGCOMP_LAST_LAST) chain->reverse();
        const bool leads = state == SEGCOMP_FIRST_FIRST || state == SEGCOMP_FIRST_LAST;
        Chain taker = leads ? chain : existing;
        const Chain taken = leads ? existing : chain;
        // The one in this hand, and the carried one's second handle.
        const long own_handles = leads ? 1 : 2;
        if (taken->references() <= own_handles && is_plain(*taker) && is_plain(*taken))
            taker->take(*taken);
        else
            taker->merge(*taken);
        chain = std::move(taker);
        walk.look_anew();
    }
    append(std::move(chain));
    return 1;
}

void ERChainerProcessor::append(Chain chain) {
    slots.push_back({++last_number, std::move(chain)});
    ++live;
    derived += is_plain(*slots.back().chain) ? 0u : 1u;
    note_ends(slots.back());
}

void ERChainerProcessor::note_ends(const Slot& slot) {
    if (!index || slot.chain->isClosed()) return;
    index->add(slot.chain->first(), slot.number);
    index->add(slot.chain->last(), slot.number);
}

ERChainerProcessor::Chain ERChainerProcessor::take_out(std::size_t place) {
    Slot& slot = slots[place];
    if (index) {
        index->remove(slot.chain->first(), slot.number);
        index->remove(slot.chain->last(), slot.number);
    }
    --live;
    derived -= is_plain(*slot.chain) ? 0u : 1u;
    if (indexed_changes == *changes) ++indexed_changes; // an index that is behind stays so
    ++*changes;
    return std::exchange(slot.chain, Chain());
}

/// Takes the empty slots out.
void ERChainerProcessor::close_gaps() const {
    if (live == slots.size()) return;
    std::erase_if(slots, [](const Slot& slot) { return !slot.chain; });
}

/// Makes the index anew where others have changed the chains. False where it can't serve.
bool ERChainerProcessor::prepare_index(const ERChainedMetaSeg2D& carried) {
    if (slots.size() > 64 && slots.size() > 2 * live) close_gaps();
    if (comparison != StandardCompare || derived > 0 || !is_plain(carried)) return false;
    if (!index || indexed_changes != *changes) {
        index = std::make_unique<ChainEndIndex>(tolerance);
        indexed_changes = *changes;
        for_chains([this](const Slot& slot) { note_ends(slot); });
    }
    return index->covers(carried.first()) && index->covers(carried.last());
}

template <class Operation>
void ERChainerProcessor::for_chains(Operation operation) const {
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (slots[i].chain) operation(slots[i]);
    }
}

ERChainedMetaSeg2D const* ERChainerProcessor::getAt(int i) const {
    assert(i >= 0 && i < entries());
    close_gaps();
    return slots[static_cast<std::size_t>(i)].chain.get();
}

void ERChainerProcessor::applyOnMChain(void (*operation)(ERChainedMetaSeg2D*, void*), void* data) {
    for_chains([&](const Slot& slot) { operation(slot.chain.get(), data); });
    ++*changes;
}

void ERChainerProcessor::applyOnSegment(void (*operation)(ERChainerSeg2D*, void*), void* data) {
    for_chains([&](const Slot& slot) { slot.chain->applyOnSegment(operation, data); });
    ++*changes;
}

void ERChainerProcessor::printOn(std::ostream& out) const {
    out << "Gestionnaire de Chaine 2D " << '\n' << "   nb de chaines : " << entries() << '\n';
    int number = 0;
    for_chains([&](const Slot& slot) {
        out << "   chaine n\xB0" << number++ << '\n';
        slot.chain->printOn(out);
    });
}
