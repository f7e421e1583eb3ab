// outline_lines.h: the lines of a nominal file, parted into fields: `OutlineLine`, `OutlineLines`.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "inspect/input/text_source.h"

namespace velm::inspect {

/// A line with something beside blanks and comments. The views hold until the next line is read.
struct OutlineLine {
    std::string_view content;              ///< without its comment
    std::array<std::string_view, 6> field; ///< the first six; more are only counted
    std::size_t count = 0;                 ///< of the fields
    std::size_t number = 0;                ///< of the line, from 1
    bool starts_block = true;              ///< the first one, or behind a blank line

    /// However many there are.
    std::vector<std::string_view> all_fields() const;
    /// The content for a complaint, clipped.
    std::string shown() const;
};

/// Blanks and tabs part fields, and so does one comma with blanks round it; `#` starts a comment.
class OutlineLines {
public:
    explicit OutlineLines(TextSource& source) : source_(source) {}
    /// The next line that holds something; false behind the last.
    bool next(OutlineLine& line);

private:
    TextSource& source_;
    bool starts_block_ = true;
};

} // namespace velm::inspect
