#include "velm/frame/class_registration.h"

#include "velm/platform/debug_output.h"

#include <array>
#include <cstring>
#include <string>

namespace {

// The classes by their names, of those with the same name the one that registered last. Linear
// probing (Knuth, 6.4 L), at most half full: with more classes, and once one has left, the list is
// walked.
struct NameTable {
    static constexpr std::size_t places = 1024;
    std::array<ERClassRegistration const*, places> classes;
    std::size_t count;

    bool is_complete() const { return 2 * count <= places; }
    void give_up() { count = places; }
    // Fowler, Noll and Vo's hash (1a).
    static std::size_t home(char const* name) {
        std::uint32_t hash = 2166136261u;
        for (; *name; ++name)
            hash = (hash ^ static_cast<unsigned char>(*name)) * 16777619u;
        return hash % places;
    }
    ERClassRegistration const*& place_of(char const* name) {
        std::size_t place = home(name);
        while (classes[place] && std::strcmp(classes[place]->getName(), name) != 0)
            place = (place + 1) % places;
        return classes[place];
    }
    void enter(ERClassRegistration const* added) {
        if (!is_complete()) return;
        ERClassRegistration const*& place = place_of(added->getName());
        if (!place) ++count;
        if (is_complete()) place = added;
    }
};
constinit NameTable by_name = {};

} // namespace

constinit ERClassRegistration const* ERClassRegistration::pFirstClass = nullptr;

ERClassRegistration::ERClassRegistration(char const* class_name, std::size_t instance_size,
                                         ERClassRegistration const** bases,
                                         ERClassRegistration const** members, Creator create)
    : name(class_name), size(instance_size), inherite(bases), member(members), creator(create),
      next(pFirstClass) {
    pFirstClass = this;
    by_name.enter(this);
}

ERClassRegistration::~ERClassRegistration() {
    ERClassRegistration const** link = &pFirstClass;
    while (*link && *link != this)
        link = &(*link)->next;
    if (*link) *link = next;
    by_name.give_up();
}

ERClassRegistration const* ERClassRegistration::findClassRegistration(char const* class_name) {
    if (by_name.is_complete()) return by_name.place_of(class_name);
    ERClassRegistration const* found = pFirstClass;
    while (found && std::strcmp(found->name, class_name) != 0)
        found = found->next;
    return found;
}

ERClassRegistration::Creator ERClassRegistration::findCreator(char const* class_name) {
    ERClassRegistration const* const found = findClassRegistration(class_name);
    return found ? found->creator : nullptr;
}

int ERClassRegistration::hasBase(ERClassRegistration const* other) const {
    if (!inherite) return 0;
    for (ERClassRegistration const** base = inherite; *base; ++base)
        if ((*base)->isKindOf(other)) return 1;
    return 0;
}

int ERClassRegistration::hasMember(ERClassRegistration const* other) const {
    if (this == other) return 1;
    for (ERClassRegistration const** m = member; *m; ++m)
        if ((*m)->hasMember(other)) return 1;
    return 0;
}

void ERClassRegistration::DumpBased(int depth) const {
    if (!inherite) return;
    for (ERClassRegistration const** base = inherite; *base; ++base) {
        std::string const tabs(static_cast<std::size_t>(depth) + 1, '\t');
        OutputDebugStringA((tabs + "+------->" + (*base)->name + "\n").c_str());
        (*base)->DumpBased(depth + 1);
    }
}

void ERClassRegistration::DumpAllClasses() {}

void erreurCastDown(ERClassRegistration const*, ERClassRegistration const*) {}

std::vector<ERClassRegistration const*> velm::registered_classes() {
    std::vector<ERClassRegistration const*> classes;
    for (auto const* c = ERClassRegistration::pFirstClass; c; c = c->next)
        classes.push_back(c);
    return classes;
}
