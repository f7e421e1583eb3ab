#include "inspect/base/repeated_ids.h"

#include "inspect/base/failure.h"
#include "inspect/base/text_escape.h"

namespace velm::inspect {

void RepeatedIds::add(const std::string& id, std::size_t line) {
    if (ids_.insert(id)) return;
    if (count_++ == 0) first_ = "line " + std::to_string(line) + ", id '" + clipped(id, 40) + "'";
}

void RepeatedIds::warn(const std::string& file) const {
    if (count_ == 0) return;
    warn_user(file + ", " + first_ + ": the id came before" +
              (count_ == 1 ? "" : "; " + std::to_string(count_) + " rows repeat an id") +
              "; all rows are kept");
}

} // namespace velm::inspect
