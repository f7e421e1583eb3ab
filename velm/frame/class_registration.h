// ERClassRegistration: the record that gives a class its name and its place in the class tree.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velm {

/// All classes registered at the moment, the latest first.
VELM_API std::vector<ERClassRegistration const*> registered_classes();

} // namespace velm

/// One record per class, the static member X::m_ClassDef_X, made by VELM_DEFINE_CLASS. Records link
/// themselves into one list while the process loads and leave it at exit; there is no lock, so
/// classes are registered before threads start. The order of registration does not matter. Records
/// made by VELM_DEFINE_CLASS are there before the first static object of a host is made, and until
/// the last one is destroyed.
class VELM_API ERClassRegistration {
public:
    using Creator = ERObject* (*)();

    /// `inherite` is the array of the direct bases in the order of declaration, `member` that of
    /// the member classes; each ends with a null entry and outlives the record. `creator` makes a
    /// default-constructed heap instance without a reference; null for a class that can't be
    /// created by name.
    ERClassRegistration(char const* name, std::size_t size, ERClassRegistration const** inherite,
                        ERClassRegistration const** member, Creator creator);
    ~ERClassRegistration();
    ERClassRegistration(ERClassRegistration const&) = delete;
    ERClassRegistration& operator=(ERClassRegistration const&) = delete;

    char const* getName() const { return name; }
    std::size_t getSize() const { return static_cast<std::size_t>(size); }

    /// Names are compared byte for byte. Null for an unknown name; findCreator also gives null for
    /// a class without a creator.
    static ERClassRegistration const* findClassRegistration(char const* name);
    static Creator findCreator(char const* name);

    /// 1 if `other` is this class or one of its bases, at any distance; 0 otherwise.
    int isKindOf(ERClassRegistration const* other) const {
        return this == other ? 1 : hasBase(other);
    }

    /// 1 if `other` is this class or among its members, at any distance; 0 otherwise.
    int hasMember(ERClassRegistration const* other) const;

    /// Writes nothing. Kept for hosts that call it.
    static void DumpAllClasses();

private:
    friend std::vector<ERClassRegistration const*> velm::registered_classes();

    int hasBase(ERClassRegistration const* other) const;

    /// Writes the tree of the bases to the debug output, one base per line, indented by its depth.
    void DumpBased(int depth) const;

    char const* name;
    std::uint64_t size;
    ERClassRegistration const** inherite;
    ERClassRegistration const** member;
    Creator creator;
    mutable ERClassRegistration const* next;

    static constinit ERClassRegistration const* pFirstClass;
};

/// Called when a castdown fails. Does nothing: a failed cast only yields null.
VELM_API void erreurCastDown(ERClassRegistration const* wanted, ERClassRegistration const* actual);
