// repeated_ids.h: `RepeatedIds`, the warning about ids that come again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "inspect/base/id_set.h"

namespace velm::inspect {

/// Ids that come again are kept; how many and where the first one stands is told at the end.
class RepeatedIds {
public:
    void add(const std::string& id, std::size_t line);
    /// On stderr, where there are any.
    void warn(const std::string& file) const;

private:
    IdSet ids_;
    std::uint64_t count_ = 0;
    std::string first_;
};

} // namespace velm::inspect
