// RecordFault: why an inspection can't be read from an object file.
#pragma once

#include "velm/export.h"

#include <stdexcept>
#include <string>

namespace velm {

/// Thrown for a record that is lost, or that contradicts the others or itself. The text is a clause
/// that names the object or the inspection, not the file: "object 12: expected a number under the
/// key 124 (distance)".
class VELM_API RecordFault : public std::runtime_error {
public:
    enum class Reason {
        damaged,
        unfinished, ///< the program that kept it was stopped
        outdated,   ///< an earlier program left out what a report needs
    };

    explicit RecordFault(const std::string& what, Reason reason = Reason::damaged)
        : std::runtime_error(what), reason_(reason) {}
    Reason reason() const { return reason_; }

private:
    Reason reason_;
};

} // namespace velm
