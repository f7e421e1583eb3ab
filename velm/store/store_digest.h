// velm::ObjectDigest, velm::digest_store, velm::compare_digests: a digest of each object of a file,
// kept beside it, by which a change of any of its bytes is found.
#pragma once

#include "velm/export.h"

#include <string>
#include <string_view>
#include <vector>

namespace velm {

/// SHA-256 (FIPS 180-4) of the class name, a NUL, and the record's block after the signature, with
/// zeros where the file ends before it. Of the index it is that of its pairs, so that a digest
/// stays what it is when a file is rebuilt or compacted.
struct ObjectDigest {
    long identifier;
    std::string class_name;
    std::string sha256; // 64 hexadecimal digits

    bool operator==(const ObjectDigest&) const = default;
};

/// The digests of a file's objects, by identifier. Raises CFileException* where the file can't be
/// read, an invalidFile for one whose trees can't be read whole.
VELM_API std::vector<ObjectDigest> digest_store(const char* name);

/// A line for each: identifier, digest and class name, separated by blanks; control characters of a
/// name as question marks.
VELM_API std::string digest_text(const std::vector<ObjectDigest>& digests);
/// The digests of such a text; false for any other, and for identifiers that don't ascend.
VELM_API bool parse_digests(std::string_view text, std::vector<ObjectDigest>& digests);

/// What two lists of digests say of an object.
struct DigestDifference {
    enum Kind { differs, is_missing, is_new };
    Kind kind;
    long identifier;
    std::string class_name;
};
VELM_API std::vector<DigestDifference> compare_digests(const std::vector<ObjectDigest>& kept,
                                                       const std::vector<ObjectDigest>& present);

namespace detail {
VELM_API std::string sha256(std::string_view bytes);
}

} // namespace velm
