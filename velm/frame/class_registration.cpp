#include "velm/frame/class_registration.h"

#include "velm/platform/debug_output.h"

#include <cstring>
#include <string>

constinit ERClassRegistration const* ERClassRegistration::pFirstClass = nullptr;

ERClassRegistration::ERClassRegistration(char const* class_name, std::size_t instance_size,
                                         ERClassRegistration const** bases,
                                         ERClassRegistration const** members, Creator create)
    : name(class_name), size(instance_size), inherite(bases), member(members), creator(create),
      next(pFirstClass) {
    pFirstClass = this;
}

ERClassRegistration::~ERClassRegistration() {
    ERClassRegistration const** link = &pFirstClass;
    while (*link && *link != this)
        link = &(*link)->next;
    if (*link) *link = next;
}

ERClassRegistration const* ERClassRegistration::findClassRegistration(char const* class_name) {
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
