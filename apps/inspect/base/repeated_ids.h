// repeated_ids.h: `RepeatedIds`, the warning about repeated ids.
#pragma once

#include "inspect/base/id_set.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace velm::inspect {

/// Rows with repeated ids are kept; the end reports their number and the place of the first.
class RepeatedIds {
public:
    void add(const std::string& id, std::size_t line);
    /// Warns on stderr, if there are any.
    void warn(const std::string& file) const;

private:
    IdSet ids_;
    std::uint64_t count_ = 0;
    std::string first_;
};

} // namespace velm::inspect
