#include "velm/measure/cad_object_id.h"

#include "velm/platform/archive.h"
#include "velm/platform/dump_context.h"
#include "velm/platform/name_comparison.h"
#include "velm/platform/text_archive.h"

#include <charconv>
#include <ostream>
#include <string>
#include <utility>

namespace {

constexpr DWORD no_number = 0xFFFFFFFF;

// Reads a DWORD that must be from 0 to `greatest`.
int get_choice(CArchive& archive, DWORD greatest) {
    DWORD value;
    archive >> value;
    if (value > greatest) archive.raise(CArchiveException::badIndex);
    return static_cast<int>(value);
}

// Writes the numbers and the path in the form of the stream output.
template <class Stream>
void write_numbers_and_path(Stream& out, const CADObjectID& id) {
    out << "H" << id.H() << "S" << id.InternalID();
    if (!id.group_structure().empty()) out << " (" << id.group_structure().path().c_str() << ")";
}

} // namespace

int CADObjectID::s_version = CADObjectID::newest_version;

void gmIDNameSpace::become(gmNSType type, const utString& name) {
    const bool valid = type != gmNSTypeInvalid && !name.empty();
    type_ = valid ? type : gmNSTypeInvalid;
    name_ = valid ? name : utString(); // the argument may be this object's name
}

int gmIDNameSpace::compare(const gmIDNameSpace& other) const {
    if (type_ != other.type_) return type_ < other.type_ ? -1 : 1;
    return hxuLogicalStringCompare()(name_.view(), other.name_.view());
}

void gmIDNameSpace::serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << static_cast<DWORD>(type_) << name_;
        return;
    }
    const auto type = static_cast<gmNSType>(get_choice(archive, gmNSTypeFile));
    utString name;
    archive >> name;
    become(type, name);
}

CADObjectID::CADObjectID(unsigned long H, unsigned long S)
    : kind_(numbers_only), H_(static_cast<DWORD>(H)), S_(static_cast<DWORD>(S)) {
    if (H_ == no_number && S_ == no_number) set_invalid();
}

CADObjectID::CADObjectID(unsigned long H, const gmCADGroupStructure& structure,
                         const stoClass* type, unsigned long S)
    : kind_(named), H_(static_cast<DWORD>(H)), group(structure), S_(static_cast<DWORD>(S)) {
    if (type != nullptr) type_ = type->name();
    if (H_ == no_number || S_ == no_number || group.empty() || type == nullptr) set_invalid();
}

CADObjectID::CADObjectID(unsigned long H, const utString& group_path, const utString& type,
                         unsigned long S)
    : kind_(named), H_(static_cast<DWORD>(H)), group(group_path), type_(type),
      S_(static_cast<DWORD>(S)) {
    if (H_ == no_number || S_ == no_number || group_path.empty() || type.empty()) set_invalid();
}

void CADObjectID::set_name_space(const gmIDNameSpace& name_space) {
    space = name_space;
    hash_ = 0;
}

void CADObjectID::set_group_structure(const gmCADGroupStructure& structure) {
    group = structure;
    hash_ = 0;
}

void CADObjectID::swap(CADObjectID& other) noexcept { std::swap(*this, other); }

bool CADObjectID::operator==(const CADObjectID& other) const {
    if (hash_ != 0 && other.hash_ != 0 && hash_ != other.hash_) return false;
    return kind_ == other.kind_ && H_ == other.H_ && S_ == other.S_ && type_ == other.type_ &&
           space == other.space && group == other.group;
}

template <class Put>
void CADObjectID::spell(gmRepresentation representation, Put put) const {
    if (kind_ == no_object) return put("H-1S-1");
    if (kind_ == named &&
        (representation < gmRepresentationLeaf || representation > gmRepresentationFull))
        return;
    char text[24] = "H";
    char* end = std::to_chars(text + 1, text + sizeof text, H_).ptr;
    *end++ = 'S';
    end = std::to_chars(end, text + sizeof text, S_).ptr;
    put(std::string_view(text, static_cast<std::size_t>(end - text)));
    if (kind_ == numbers_only) return;
    put(" (");
    if (representation == gmRepresentationFull) {
        put(space.invalid() ? std::string_view("(null)") : space.name().view());
        put(" \"");
        put(group.path().view());
        put("\" (");
        put(type_.view());
        return put("))");
    }
    if (representation == gmRepresentationNameSpace && space.is_displayed()) {
        put(space.name().view());
        put(" ");
    }
    put(group.leaf().text().view());
    put(")");
}

CString CADObjectID::as_string(gmRepresentation representation) const {
    std::string text;
    spell(representation, [&text](std::string_view piece) { text += piece; });
    return CString(std::move(text));
}

DWORD CADObjectID::container_hash() const {
    if (hash_ == 0) {
        DWORD hash = hxu_fnv1a_hash({});
        spell(gmRepresentationNameSpace,
              [&hash](std::string_view piece) { hash = hxu_fnv1a_hash(piece, hash); });
        hash_ = hash;
    }
    return hash_;
}

void CADObjectID::serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        store(archive);
    } else {
        load(archive);
    }
}

void CADObjectID::store(CArchive& archive) {
    archive << static_cast<DWORD>(kind_) << H_;
    group.serialize(archive);
    archive << type_ << S_;
    space.serialize(archive);
}

void CADObjectID::load(CArchive& archive) {
    CADObjectID read;
    read.kind_ = s_version >= 3 ? get_choice(archive, named) : numbers_only;
    read.H_ = 0;
    if (s_version >= 2) archive >> read.H_;
    if (s_version >= 5) {
        read.group.serialize(archive);
    } else if (s_version >= 3) {
        utString path;
        archive >> path;
        read.group = gmCADGroupStructure(path);
    }
    if (s_version >= 3) archive >> read.type_;
    archive >> read.S_;
    if (s_version >= 4) read.space.serialize(archive);
    if (s_version < 3 && read.H_ == no_number && read.S_ == no_number) read.kind_ = no_object;
    swap(read);
}

DWORD co_hash(const CADObjectID& id) { return id.container_hash(); }

std::ostream& operator<<(std::ostream& out, const CADObjectID& id) {
    write_numbers_and_path(out, id);
    return out;
}

CDumpContext& operator<<(CDumpContext& context, const CADObjectID& id) {
    write_numbers_and_path(context, id);
    return context;
}

CArchive& operator>>(CArchive& archive, CADObjectID& id) {
    id.serialize(archive);
    return archive;
}

void SerializeElements(CArchive& archive, CADObjectID* ids, int count) {
    for (int n = 0; n < count; ++n)
        ids[n].serialize(archive);
}
