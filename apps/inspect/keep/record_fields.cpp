#include "inspect/keep/record_fields.h"

#include <cmath>

#include "inspect/base/failure.h"

namespace velm::inspect {

void RecordFields::refuse(const std::string& why) const {
    throw Failure(ExitCode::input,
                  file_ + ", object " + std::to_string(record_.getObjectID()) + ": " + why);
}

void RecordFields::refuse_key(RecordKey key, const char* expected) const {
    refuse("expected " + std::string(expected) + " under the key " +
           std::to_string(static_cast<long>(key)));
}

bool RecordFields::has(RecordKey key) const {
    return property(key).getType() != ERDBObjProperty::undefined;
}

double RecordFields::number(RecordKey key) const {
    const ERDBObjProperty value = property(key);
    if (value.getType() != ERDBObjProperty::double_value || !std::isfinite(double(value)))
        refuse_key(key, "a number");
    return double(value);
}

std::optional<double> RecordFields::optional_number(RecordKey key) const {
    return has(key) ? std::optional(number(key)) : std::nullopt;
}

std::uint64_t RecordFields::count(RecordKey key) const {
    constexpr double most = 0x1p53;
    const ERDBObjProperty value = property(key);
    const bool is_long = value.getType() == ERDBObjProperty::long_value;
    if ((!is_long && value.getType() != ERDBObjProperty::double_value) ||
        !(double(value) >= 0.0 && double(value) <= most))
        refuse_key(key, "a count");
    return static_cast<std::uint64_t>(double(value));
}

std::string RecordFields::text(RecordKey key) const {
    const ERDBObjProperty value = property(key);
    if (value.getType() != ERDBObjProperty::string_value) refuse_key(key, "a text");
    return static_cast<const char*>(value);
}

std::string RecordFields::optional_text(RecordKey key) const {
    return static_cast<const char*>(property(key));
}

std::string RecordFields::kind() const { return optional_text(RecordKey::kind); }

std::optional<Tolerance> RecordFields::tolerance() const {
    if (!has(RecordKey::tolerance_lower)) return std::nullopt;
    const Tolerance tolerance{number(RecordKey::tolerance_lower),
                              number(RecordKey::tolerance_upper)};
    if (tolerance.lower > tolerance.upper)
        refuse_key(RecordKey::tolerance_upper, "a limit that is not below the lower one");
    return tolerance;
}

} // namespace velm::inspect
