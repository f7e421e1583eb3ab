// velm::detail::FaceSet: faces with one tree over the leaves of their surfaces and the pieces of
// their trims. What FaceProjector and PreparedPart search in.
#pragma once

#include "velm/surfaces/detail/face_region.h"
#include "velm/surfaces/detail/trim_search.h"
#include "velm/surfaces/face_projector.h"

#include <memory>
#include <vector>

namespace velm::detail {

struct SearchedFace final : public LeafTrim {
    explicit SearchedFace(PreparedFace prepared)
        : face(std::move(prepared)), region(FaceTables::of(face)) {}

    bool holds(double u, double v) const override { return region.holds(u, v); }
    InTrim place(const double* u, const double* v) const override { return region.place(u, v); }
    void search_border(const SurfaceLeaf& leaf, LeafSearch& search) const override;
    void look_at_piece(int i, LeafSearch& search) const {
        search_piece(trim[static_cast<std::size_t>(i)], first_item + int(leaves.leaves.size()) + i,
                     face, region, search);
    }

    PreparedFace face;
    FaceRegion region;
    SurfaceLeaves leaves; ///< what the trim leaves of them, with the surface's parameters
    std::vector<LiftedPiece> trim;
    /// The pieces of the trim on or near each leaf, from border_start[leaf] on.
    std::vector<int> border, border_start;
    int first_item = 0; ///< the number of leaf 0 in the set; pieces come after the leaves
    /// By loop and edge, whether the trim turns where the edge starts.
    std::vector<std::vector<bool>> corners;
};

class FaceSet {
public:
    /// Null without faces. `threads` share the work.
    static std::shared_ptr<const FaceSet> of(std::vector<PreparedFace> faces, int threads);

    int size() const { return static_cast<int>(faces_.size()); }
    const SearchedFace& operator[](int i) const { return faces_[static_cast<std::size_t>(i)]; }
    const LeafFrame& frame() const { return frame_; }
    const BoxTree& tree() const { return tree_; }
    const ERMinimax3D& box() const { return box_; }
    double local_size() const { return local_size_; }

    /// Looks at everything that may be nearer than the best place. If the budget ends, the search
    /// is begun again from the nearest of places that take few halvings each: most of a budget goes
    /// into leaves that are far beyond it.
    void search(LeafSearch& search) const;
    /// Looks at the leaf of a parameter first.
    void search_at(int face, const ERPoint2D& parameter, LeafSearch& search) const;
    /// Looks at one leaf or piece of a trim, and at nothing beside it.
    void look_alone(int number, LeafSearch& search) const;
    /// The foot at the best place, and the number of its face; false if nothing was found.
    bool foot(const LeafSearch& search, FaceFoot& foot, int& face) const;

    /// A leaf, or ~index of a piece of the trim.
    struct Item {
        std::int32_t face, index;
    };
    Item item(int number) const { return items_[static_cast<std::size_t>(number)]; }

private:
    explicit FaceSet(std::vector<PreparedFace> faces);
    void build(int threads);
    void look(int number, LeafSearch& search) const;
    void look_at_all(LeafSearch& search) const;
    FaceFoot trim_foot(const SearchedFace& face, const LeafPlace& place, const double* q) const;

    std::vector<SearchedFace> faces_;
    std::vector<Item> items_;
    BoxTree tree_;
    LeafFrame frame_;
    ERMinimax3D box_;
    double local_size_ = 0.0;
};

} // namespace velm::detail
