// outline_lines.h: the lines of a nominal file, split into fields: `OutlineLine`, `OutlineLines`.
#pragma once

#include "inspect/input/text_source.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// A line that is not only blanks and comments. The views are valid until the next line is read.
struct OutlineLine {
    std::string_view content;              ///< without its comment
    std::array<std::string_view, 6> field; ///< the first six; more are only counted
    std::size_t count = 0;                 ///< of the fields
    std::size_t number = 0;                ///< of the line, from 1
    bool starts_block = true;              ///< the first one, or one after a blank line

    /// All of them, beyond the first six too.
    std::vector<std::string_view> all_fields() const;
    /// Whether the line looks like a vertex that was damaged, and never like a title: numbers
    /// alone, though not two, semicolons separating them too; or two fields of which one is a
    /// number and the other would be one if O were 0 and l or I were 1.
    bool is_damaged_vertex() const;
    /// The content for a message, clipped.
    std::string shown() const;
};

/// Fields are separated by blanks and tabs, or by one comma with blanks round it; `#` starts a
/// comment.
class OutlineLines {
public:
    explicit OutlineLines(TextSource& source) : source_(source) {}
    /// The next line that is not empty; false after the last.
    bool next(OutlineLine& line);

private:
    TextSource& source_;
    bool starts_block_ = true;
};

} // namespace velm::inspect
