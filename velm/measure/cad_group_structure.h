// gmCADGroupStructure: a place in the tree of groups of a CAD model.
#pragma once

#include "velm/export.h"
#include "velm/frame/hashed_string.h"
#include "velm/fwd.h"

#include <initializer_list>
#include <vector>

/// Asks for the structure of the root group.
enum gmRootGroupTag { gmRootGroup };

/// The names of the groups from the top down. From the solid depth on, if any, the levels are those
/// of a solid, which may be unlinked.
///
/// The text of the path is cached on first use: one structure belongs to one thread at a time.
class VELM_API gmCADGroupStructure {
public:
    /// Empty.
    gmCADGroupStructure() = default;
    /// The root: empty too, but above all others; its path is a single slash.
    gmCADGroupStructure(gmRootGroupTag) : root(true) {}
    /// Splits a path at every slash and every backslash; empty pieces are dropped. A null string
    /// gives an empty structure.
    gmCADGroupStructure(const utString& path);

    int depth() const { return static_cast<int>(levels.size()); }
    bool empty() const { return levels.empty(); }
    /// The last level, an invalid name if there is none.
    const gmHashedString& leaf() const { return level(depth() - 1); }
    /// A level counted from 0, an invalid name beyond the depth.
    const gmHashedString& level(int n) const;
    /// A slash before each level; a single slash for the root. Slashes in a name are not escaped.
    const utString& path() const { return hashed_path().text(); }
    DWORD path_hash() const { return hashed_path().hash(); }

    void start_group(const utString& name);
    /// The solid begins at the new level.
    void start_solid(const utString& name);
    /// Leaves the last level, if any, and a solid that began there or deeper.
    void end_group();
    /// Leaves the last level, if any, and the solid regardless of its depth.
    void end_solid();
    /// The last level is the one where the solid begins.
    void set_solid_for_current_depth() { solid_depth = depth() - 1; }
    void set_unlinked_solid_for_current_depth();

    bool is_solid() const { return solid_depth != no_solid; }
    bool is_solid_at_depth(int d) const { return is_solid() && d >= solid_depth; }
    bool is_unlinked_solid() const { return is_solid() && unlinked; }
    /// The levels 0 to d, with the solid if it begins there.
    gmCADGroupStructure group_to_depth(int d) const;

    /// Whether the levels are equal; solids don't count. An empty structure and the root are equal
    /// until the paths of both have been read, which differ; part of the contract.
    bool operator==(const gmCADGroupStructure& other) const;
    /// -1, 0 or 1: level by level, then the lesser depth first.
    int compare(const gmCADGroupStructure& other) const;
    /// Compares only that level; a missing one comes after all others.
    int compare_at_depth(const gmCADGroupStructure& other, int d) const;
    /// Whether that level exists and is equal.
    bool matches_at_depth(const gmCADGroupStructure& other, int d) const;
    /// Whether the other is deeper and begins with these levels. The root is the start of all that
    /// are not empty, an empty structure of none.
    bool is_start_of(const gmCADGroupStructure& other) const;

    void set_invalid() { *this = gmCADGroupStructure(); }
    /// Sets the object's name: the level if there is just one, otherwise the path.
    void set_name_on_object(ERDBObject& object) const;

    /// Depth and levels, the solid depth and, from CADObjectID's version 6 on, a byte: whether the
    /// solid is unlinked. The root is not marked. A structure that can't be read becomes empty.
    void serialize(CArchive& archive);

private:
    static constexpr int no_solid = -1;

    const gmHashedString& hashed_path() const;
    void pop();
    void leave_solid();

    std::vector<gmHashedString> levels;
    bool root = false;
    int solid_depth = no_solid;
    bool unlinked = false;
    mutable gmHashedString cached_path; // invalid until it is built
};
