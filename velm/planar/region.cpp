#include "velm/planar/region.h"

#include "velm/planar/detail/region_contours.h"
#include "velm/planar/detail/region_index.h"
#include "velm/planar/grid.h"

#include <algorithm>
#include <cassert>
#include <ostream>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERRegion2D, ERObject)

using velm::detail::RegionContours;
using velm::detail::RegionIndex;

namespace {

// The number of queries answered without an index: building the index costs as much as they do.
constexpr int questions_without_index = 32;

} // namespace

ERRegion2D::ERRegion2D(int most, int first_outer)
    : contours_(std::make_shared<RegionContours>()), first_outer_(first_outer), capacity_(most) {
    if (capacity_ > 0) {
        contours_->polygons.reserve(static_cast<std::size_t>(capacity_));
        contours_->boxes.reserve(static_cast<std::size_t>(capacity_));
    }
}

ERRegion2D::ERRegion2D(const ERRegion2D& other)
    : ERObject(other), grid(other.grid), contours_(other.contours_),
      first_outer_(other.first_outer_), added_(other.added_), capacity_(other.capacity_) {}

ERRegion2D& ERRegion2D::operator=(const ERRegion2D& other) {
    ERObject::operator=(other);
    grid = other.grid;
    contours_ = other.contours_;
    first_outer_ = other.first_outer_;
    added_ = other.added_;
    capacity_ = other.capacity_;
    drop_index();
    return *this;
}

ERRegion2D::~ERRegion2D() { drop_index(); }

void ERRegion2D::Add(ERVec<ERPoint2D> const& contour) {
    const auto place = static_cast<std::size_t>(added_);
    if (place == contours_->polygons.size()) {
        contours_->polygons.emplace_back();
        contours_->boxes.emplace_back();
    }
    contours_->polygons[place] = contour;
    contours_->boxes[place] = ERMinimax2D(contour);
    ++contours_->version;
    ++added_;
    drop_index();
}

ERVec<ERPoint2D> const& ERRegion2D::Contour(int i) const {
    assert(i >= 0 && i < added_);
    return contours_->polygons[static_cast<std::size_t>(i)];
}

ERMinimax2D ERRegion2D::getBox() const {
    return contours_->boxes.empty() ? ERMinimax2D() : contours_->boxes[0];
}

const RegionIndex* ERRegion2D::index(int questions) const {
    const RegionIndex* made = index_.load(std::memory_order_acquire);
    if (made == nullptr) made = make_index(questions);
    // A copy may have changed the contours that it shares with this region.
    return made != nullptr && made->version() == contours_->version ? made : nullptr;
}

void ERRegion2D::build_index() const { index(questions_without_index); }

const RegionIndex* ERRegion2D::make_index(int questions) const {
    const int asked =
        questions_.load(std::memory_order_relaxed) + std::min(questions, questions_without_index);
    if (asked < questions_without_index) {
        questions_.store(asked, std::memory_order_relaxed);
        return nullptr;
    }
    const auto entries = static_cast<std::size_t>(added_);
    auto fresh =
        std::make_unique<RegionIndex>(std::span(contours_->polygons).first(entries),
                                      std::span<const ERMinimax2D>(contours_->boxes).first(entries),
                                      first_outer_ != 0, contours_->version);
    const RegionIndex* made = nullptr;
    if (index_.compare_exchange_strong(made, fresh.get(), std::memory_order_acq_rel))
        made = fresh.release();
    return made;
}

void ERRegion2D::drop_index() {
    delete index_.exchange(nullptr, std::memory_order_acq_rel);
    questions_.store(0, std::memory_order_relaxed);
}

void ERRegion2D::CleanUpTemporaries(int level) {
    ERObject::CleanUpTemporaries(level);
    drop_index();
}

relpos ERRegion2D::position(int contour, const ERPoint2D& p, const RegionIndex* index) const {
    if (index != nullptr && index->is_left_of(contour, p)) return relpos_outside;
    if (index != nullptr && index->tree(contour) != nullptr)
        return index->tree(contour)->position_of(p);
    return Inside(p, Contour(contour));
}

PosContours ERRegion2D::position(const ERPoint2D& p, int& contour, const RegionIndex* index) const {
    if (index != nullptr) {
        if (const auto known = index->known_at(p)) [[likely]] {
            contour = known->inside ? added_ - 1 : known->contour;
            return known->inside ? REGION_INSIDE : REGION_OUTSIDE;
        }
    }
    return position_by_contours(p, contour, index);
}

PosContours ERRegion2D::position_by_contours(const ERPoint2D& p, int& contour,
                                             const RegionIndex* index) const {
    if (added_ == 0) return REGION_INSIDE;
    contour = 0;
    if (first_outer_ && !contours_->boxes[0].contains(p)) return REGION_OUTSIDE;
    for (int i = 0; i < added_; ++i) {
        contour = i;
        const bool is_outer = i == 0 && first_outer_;
        const relpos where = position(i, p, index);
        if (where == relpos_on_vertex) return REGION_ON_VERTEX;
        if (where == relpos_on_edge) return REGION_ON_EDGE;
        if ((where == relpos_inside) != is_outer) return REGION_OUTSIDE;
    }
    return REGION_INSIDE;
}

PosContours ERRegion2D::CheckPoint(ERPoint2D const& p, int& contour) const {
    return position(p, contour, index(1));
}

ER_MINMAX_POSITION_POLYGONE ERRegion2D::position(int contour, const ERMinimax2D& box,
                                                 const RegionIndex* index) const {
    if (index != nullptr && index->tree(contour) != nullptr)
        return index->tree(contour)->position_to(box);
    return box.positionRelative(Contour(contour));
}

ER_MINMAX_POSITION_POLYGONE ERRegion2D::IsInDomain(ERMinimax2D const& box) const {
    if (added_ == 0) return POLYGONE_INSIDE_BOX;
    const RegionIndex* const made = index(1);
    if (made != nullptr) {
        if (const auto known = made->known_under(box))
            return !known->inside ? POLYGONE_DISJOINT
                   : first_outer_ ? BOX_INSIDE_POLYGONE
                                  : POLYGONE_CROSSES_BOX;
    }
    bool all_holes_disjoint = true;
    for (int i = 0; i < added_; ++i) {
        const ER_MINMAX_POSITION_POLYGONE where = position(i, box, made);
        if (where == POLYGONE_CROSSES_BOX) return POLYGONE_CROSSES_BOX;
        if (i == 0 && first_outer_) {
            if (where != BOX_INSIDE_POLYGONE) return where;
            continue;
        }
        if (where == BOX_INSIDE_POLYGONE) return POLYGONE_DISJOINT;
        all_holes_disjoint &= where == POLYGONE_DISJOINT;
    }
    return first_outer_ && all_holes_disjoint ? BOX_INSIDE_POLYGONE : POLYGONE_CROSSES_BOX;
}

void ERRegion2D::printOn(std::ostream& out) const {
    out << "// contour :  " << added_ << " loops , first is outer " << first_outer_ << '\n';
    for (int i = 0; i < added_; ++i) {
        const std::span<const ERPoint2D> points = Contour(i).view();
        out << "//  contour " << i << '\n' << '(' << points.size() << ")[";
        const char* separator = "";
        for (const ERPoint2D& p : points) {
            out << separator << p;
            separator = ",";
        }
        out << "]\n\n";
    }
}

ERObject* ERRegion2D::getCopy() const { return nullptr; }
