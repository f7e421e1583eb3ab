// velm::detail::StoredValue: the stored form of a value class made of doubles, which is its memory.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

namespace velm::detail {

/// Base of a value class whose fields are doubles and nothing else. On file it is these doubles in
/// the order of the fields, as one block.
template <class Value>
class VELM_API StoredValue {
public:
    static constexpr unsigned int stored_bytes = sizeof(Value);

    void saveGuts(ERFile& file) const;
    /// A file that ends early leaves the doubles after its end unchanged.
    void restoreGuts(ERFile& file);
    constexpr unsigned int binaryStoreSize() const { return stored_bytes; }
};

} // namespace velm::detail
