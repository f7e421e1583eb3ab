#include "velm/measure/cad_group_structure.h"

#include "velm/frame/detail/archive_count.h"
#include "velm/measure/cad_object_id.h"
#include "velm/platform/archive.h"
#include "velm/store/db_object.h"

#include <algorithm>
#include <string>

gmCADGroupStructure::gmCADGroupStructure(const utString& path) {
    std::string_view rest = path.view();
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of("/\\"), rest.size());
        if (end > 0) levels.emplace_back(utString(rest.substr(0, end)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

const gmHashedString& gmCADGroupStructure::level(int n) const {
    // Never destroyed: a host's static objects may use it at exit.
    static const gmHashedString& none = *new gmHashedString;
    return n >= 0 && n < depth() ? levels[static_cast<std::size_t>(n)] : none;
}

const gmHashedString& gmCADGroupStructure::hashed_path() const {
    if (cached_path.invalid()) {
        std::string text;
        for (const gmHashedString& name : levels)
            (text += '/') += name.text().view();
        cached_path = gmHashedString(root ? utString("/") : utString(std::move(text)));
    }
    return cached_path;
}

void gmCADGroupStructure::start_group(const utString& name) {
    levels.emplace_back(name);
    cached_path.set_invalid();
}

void gmCADGroupStructure::start_solid(const utString& name) {
    solid_depth = depth();
    start_group(name);
}

void gmCADGroupStructure::pop() {
    if (!levels.empty()) levels.pop_back();
    cached_path.set_invalid();
}

void gmCADGroupStructure::leave_solid() {
    solid_depth = no_solid;
    unlinked = false;
}

void gmCADGroupStructure::end_group() {
    pop();
    if (solid_depth >= depth()) leave_solid();
}

void gmCADGroupStructure::end_solid() {
    pop();
    leave_solid();
}

void gmCADGroupStructure::set_unlinked_solid_for_current_depth() {
    set_solid_for_current_depth();
    unlinked = true;
}

gmCADGroupStructure gmCADGroupStructure::group_to_depth(int d) const {
    gmCADGroupStructure group;
    const int count = std::clamp(d, -1, depth() - 1) + 1;
    group.levels.assign(levels.begin(), levels.begin() + count);
    if (d >= solid_depth) {
        group.solid_depth = solid_depth;
        group.unlinked = unlinked;
    }
    return group;
}

bool gmCADGroupStructure::operator==(const gmCADGroupStructure& other) const {
    const bool both_paths = !cached_path.invalid() && !other.cached_path.invalid();
    if (both_paths && cached_path.hash() != other.cached_path.hash()) return false;
    return std::equal(levels.rbegin(), levels.rend(), other.levels.rbegin(), other.levels.rend());
}

int gmCADGroupStructure::compare(const gmCADGroupStructure& other) const {
    const int common = std::min(depth(), other.depth());
    for (int d = 0; d < common; ++d) {
        if (const int order = compare_at_depth(other, d); order != 0) return order;
    }
    return int{depth() > other.depth()} - int{depth() < other.depth()};
}

int gmCADGroupStructure::compare_at_depth(const gmCADGroupStructure& other, int d) const {
    return level(d).compare(other.level(d));
}

bool gmCADGroupStructure::matches_at_depth(const gmCADGroupStructure& other, int d) const {
    return d >= 0 && d < depth() && level(d) == other.level(d);
}

bool gmCADGroupStructure::is_start_of(const gmCADGroupStructure& other) const {
    if (root) return !other.empty();
    if (empty() || depth() >= other.depth()) return false;
    return std::equal(levels.begin(), levels.end(), other.levels.begin());
}

void gmCADGroupStructure::set_name_on_object(ERDBObject& object) const {
    object.name(depth() == 1 ? leaf().text().c_str() : path().c_str());
}

void gmCADGroupStructure::serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << static_cast<DWORD>(levels.size());
        for (gmHashedString& name : levels)
            name.serialize(archive);
        archive << static_cast<DWORD>(solid_depth) << static_cast<BYTE>(unlinked);
        return;
    }
    set_invalid();
    std::vector<gmHashedString> read(velm::detail::get_count(archive, sizeof(DWORD)));
    for (gmHashedString& name : read)
        name.serialize(archive);
    DWORD solid;
    BYTE is_unlinked = 0;
    archive >> solid;
    if (CADObjectID::deserializing_version() >= 6) archive >> is_unlinked;
    levels = std::move(read);
    solid_depth = static_cast<int>(solid);
    unlinked = is_unlinked != 0;
}
