// CADObjectID: the name of a CAD object from one run of a host to the next. gmIDNameSpace: the
// model that it comes from.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"
#include "velm/measure/cad_group_structure.h"
#include "velm/platform/framework_string.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/schema_class.h"
#include "velm/platform/utility_string.h"

#include <iosfwd>

/// The kinds of name space. The values are stored in archives and must never change.
enum gmNSType : int { gmNSTypeInvalid = 0, gmNSTypeName = 1, gmNSTypeFile = 2 };

/// The parts of an identifier in its text. The values are fixed, because hosts store them.
enum gmRepresentation : int {
    gmRepresentationLeaf = 0,      ///< the numbers and the last level
    gmRepresentationNameSpace = 1, ///< the displayed name space too
    gmRepresentationFull = 2       ///< name space, path and type
};

/// The scope of identifiers: a model with a name, or a file. Invalid without a name.
class VELM_API gmIDNameSpace {
public:
    gmIDNameSpace() = default;
    gmIDNameSpace(gmNSType type, const utString& name) { become(type, name); }

    bool invalid() const { return type_ == gmNSTypeInvalid; }
    gmNSType type() const { return type_; }
    /// Null for an invalid name space.
    const utString& name() const { return name_; }
    /// Whether texts of identifiers show the name.
    bool is_displayed() const { return type_ == gmNSTypeName; }

    /// A null or empty name makes it invalid.
    void become(gmNSType type, const utString& name);
    /// Keeps the type; an invalid name space becomes one with a name.
    void set_name(const utString& name) { become(invalid() ? gmNSTypeName : type_, name); }
    void set_invalid() { *this = gmIDNameSpace(); }

    bool operator==(const gmIDNameSpace&) const = default;
    /// -1, 0 or 1: by the type, then in the logical order of names.
    int compare(const gmIDNameSpace& other) const;

    /// The type as a DWORD and the name. A name space that can't be read is unchanged.
    void serialize(CArchive& archive);

private:
    gmNSType type_ = gmNSTypeInvalid;
    utString name_;
};

/// Two numbers and, for a named object, its place in the group tree, its class in the host's schema
/// and its name space. The texts are a contract, byte for byte.
///
/// The hash is cached on first use: one identifier belongs to one thread at a time.
class VELM_API CADObjectID {
public:
    /// Invalid: both numbers -1, no texts.
    CADObjectID() = default;
    /// Numbers only; invalid if both are -1. All numbers are cut to 32 bits first.
    CADObjectID(unsigned long H, unsigned long S);
    /// Named; invalid if a number is -1, the group empty or the class null.
    CADObjectID(unsigned long H, const gmCADGroupStructure& group, const stoClass* type,
                unsigned long S);
    /// Named; invalid if a number is -1 or a text empty. The path is split as by
    /// gmCADGroupStructure.
    CADObjectID(unsigned long H, const utString& group_path, const utString& type, unsigned long S);

    bool invalid() const { return kind_ == no_object; }
    /// 0 invalid, 1 numbers only, 2 named.
    int kind() const { return kind_; }
    /// The first number.
    DWORD H() const { return H_; }
    /// The second number.
    DWORD InternalID() const { return S_; }
    const gmCADGroupStructure& group_structure() const { return group; }
    const gmIDNameSpace& name_space() const { return space; }
    const utString& type() const { return type_; }

    void set_name_space(const gmIDNameSpace& name_space);
    void set_group_structure(const gmCADGroupStructure& structure);
    void invalidate_name_space() { set_name_space(gmIDNameSpace()); }
    void set_invalid() { *this = CADObjectID(); }
    void swap(CADObjectID& other) noexcept;

    /// Everything except the hash must be equal; two known hashes that differ decide at once.
    bool operator==(const CADObjectID& other) const;
    /// The hash of as_string(gmRepresentationNameSpace), computed once.
    DWORD container_hash() const;

    /// "H-1S-1" for an invalid identifier, "H1S2" for numbers only. For a named one:
    /// "H1S2 (leaf)"; with a displayed name space "H1S2 (name leaf)"; in full
    /// "H1S2 (name "path" (type))", with (null) for an invalid name space. Empty for another
    /// representation.
    CString as_string(gmRepresentation representation) const;

    /// Stores the newest form; loads that of deserializing_version() (default: 6), which a host
    /// sets for the document that it loads: from 6 on there is the byte in the group structure,
    /// from 5 on the structure instead of a path, from 4 on the name space, from 3 on kind, path
    /// and type, from 2 on the first number. An identifier that can't be loaded is unchanged.
    void serialize(CArchive& archive);
    static void set_deserializing_version(int version) { s_version = version; }
    static int deserializing_version() { return s_version; }
    static void restore_deserializing_version() { s_version = newest_version; }

private:
    enum Kind { no_object = 0, numbers_only = 1, named = 2 };
    static constexpr int newest_version = 6;
    static int s_version;

    void store(CArchive& archive);
    void load(CArchive& archive);
    /// Passes the text to `put` piece by piece.
    template <class Put>
    void spell(gmRepresentation representation, Put put) const;

    int kind_ = no_object;
    DWORD H_ = 0xFFFFFFFF;
    gmCADGroupStructure group;
    gmIDNameSpace space;
    utString type_;
    DWORD S_ = 0xFFFFFFFF;
    mutable DWORD hash_ = 0; // none
};

VELM_API DWORD co_hash(const CADObjectID& id); ///< container_hash

/// The numbers and, if there is a group, its path: "H1S2 (/a/b)".
VELM_API std::ostream& operator<<(std::ostream& out, const CADObjectID& id);
VELM_API CDumpContext& operator<<(CDumpContext& context, const CADObjectID& id);

/// serialize.
VELM_API CArchive& operator>>(CArchive& archive, CADObjectID& id);
/// serialize, for each of count elements.
VELM_API void SerializeElements(CArchive& archive, CADObjectID* ids, int count);
