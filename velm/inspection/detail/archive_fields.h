// ArchiveForm: the described fields of a subject in a CArchive, by their places there.
//
// A truth is a byte, a count a DWORD below 2^31, a total a QWORD, a choice its number as a count, a
// text a DWORD n and n bytes; numbers, coordinates and matrices are their doubles; texts are a
// count and each text, named texts a count and each name and text; a group is its fields. A field
// that may have no value although its condition holds is preceded by a truth. An older version
// lacks the fields that came after it.
//
// Failure: a CArchiveException* for what can't be right, such as a number that isn't finite, when
// loading and when storing. A subject that was loaded in part is to be given up.
#pragma once

#include "velm/inspection/inspection_archive.h"

#include <limits>
#include <string>
#include <vector>

namespace velm::detail {

/// The version that is written.
inline constexpr int newest_archive = static_cast<int>(archive_version);

/// The fields of a description that an archive keeps, in their order there.
class ArchiveForm {
public:
    /// Those with places from `first` to `last` that the version has.
    explicit ArchiveForm(std::span<const Field> fields, int version = newest_archive, int first = 1,
                         int last = std::numeric_limits<int>::max());

    /// Nothing is copied.
    void store(CArchive& archive, const Described& described) const;
    void load(CArchive& archive, void* subject, const void* head) const;

private:
    std::vector<const Field*> fields_;
    int version_;
};

/// What `make` makes of each version: the form of version v is at v - 1.
template <class Make>
auto forms_of_versions(Make make) {
    std::vector<decltype(make(newest_archive))> forms;
    for (int version = 1; version <= newest_archive; ++version)
        forms.push_back(make(version));
    return forms;
}

template <class Subject>
void store_subject(CArchive& archive, const Subject& subject) {
    ArchiveForm(fields_of<Subject>()).store(archive, describe(subject));
}
template <class Subject>
void load_subject(CArchive& archive, Subject& subject, int version) {
    ArchiveForm(fields_of<Subject>(), version).load(archive, &subject, &subject);
}

/// Raises badIndex for what is wrong.
void require(CArchive& archive, bool is_right);

bool load_truth(CArchive& archive);
int load_count(CArchive& archive);
double load_number(CArchive& archive);
/// A count and the numbers, no more than the archive holds.
std::vector<double> load_counted_numbers(CArchive& archive);
std::string load_text(CArchive& archive);

void store_truth(CArchive& archive, bool truth);
void store_count(CArchive& archive, std::size_t count);
void store_number(CArchive& archive, double number);
void store_numbers(CArchive& archive, std::span<const double> numbers);
void store_text(CArchive& archive, std::string_view text);

} // namespace velm::detail
