#include "velm/store/database_property.h"

#include "velm/frame/binary_file.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <unordered_map>

namespace {

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>; // clang 14 needs it

std::string_view without_leading(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\n\v\f\r");
    text.remove_prefix(std::min(first, text.size()));
    if (text.starts_with('+') && !text.substr(1).starts_with('-')) text.remove_prefix(1);
    return text;
}

// The whole number that a text begins with, 0 without one, saturated.
int leading_int(std::string_view text) {
    text = without_leading(text);
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) return text.starts_with('-') ? INT_MIN : INT_MAX;
    return value;
}

// The number that a text begins with, 0.0 without one, in any locale.
double leading_double(std::string_view text) {
    text = without_leading(text);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc::result_out_of_range) return value;
    // Infinite, or too small for anything but 0: the sign of the exponent decides, or the digits.
    const std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
    const std::size_t exponent = number.find_first_of("eE");
    const bool huge = exponent == std::string_view::npos
                          ? number.substr(0, number.find('.')).find_first_of("123456789") !=
                                std::string_view::npos
                          : !number.substr(exponent + 1).starts_with('-');
    const double magnitude = huge ? HUGE_VAL : 0.0;
    return number.starts_with('-') ? -magnitude : magnitude;
}

template <class Integer>
Integer truncated(double value) {
    using Limits = std::numeric_limits<Integer>;
    if (std::isnan(value)) return 0;
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    if (value >= static_cast<double>(Limits::max())) return Limits::max();
    return static_cast<Integer>(value);
}

constexpr int kMany = 1000; // properties

} // namespace

ERDBObjProperty::ERDBObjProperty(long value) : slot(int{velm::stored_long(value)}) {}
ERDBObjProperty::ERDBObjProperty(unsigned long value)
    : slot(static_cast<unsigned int>(velm::stored_long(value))) {}

ERDBObjProperty::operator int() const {
    return std::visit(Overloaded{[](std::monostate) { return 0; }, [](int v) { return v; },
                                 [](double v) { return truncated<int>(v); },
                                 [](const std::string& v) { return leading_int(v); },
                                 [](unsigned int v) { return static_cast<int>(v); }},
                      slot);
}

ERDBObjProperty::operator long() const {
    if (const unsigned int* const v = std::get_if<unsigned int>(&slot)) return *v;
    return static_cast<int>(*this);
}

ERDBObjProperty::operator unsigned int() const {
    if (const double* const v = std::get_if<double>(&slot))
        return static_cast<unsigned int>(truncated<std::int64_t>(*v));
    return static_cast<unsigned int>(static_cast<int>(*this));
}

ERDBObjProperty::operator unsigned long() const { return static_cast<unsigned int>(*this); }

ERDBObjProperty::operator double() const {
    return std::visit(Overloaded{[](std::monostate) { return 0.0; },
                                 [](const std::string& v) { return leading_double(v); },
                                 [](auto v) { return static_cast<double>(v); }},
                      slot);
}

ERDBObjProperty::operator const char*() const {
    const std::string* const text = std::get_if<std::string>(&slot);
    return text != nullptr ? text->c_str() : "";
}

void ERDBObjProperty::printOn(std::ostream& out) const {
    out << "ERDBObjProperty type = " << static_cast<int>(getType()) << '\n';
    std::visit(Overloaded{[&](std::monostate) { out << " GV (UNDEF!!!) "; },
                          [&](int v) { out << " GV (long) " << v; },
                          [&](double v) { out << " GV (double) " << v; },
                          [&](const std::string& v) {
                              out << " GV (String) "
                                  << "'" << v.c_str() << "'";
                          },
                          [&](unsigned int v) { out << " GV (unsigned long) " << v; }},
               slot);
}

// ---- stored forms ----

void ERDBObjProperty::saveGuts(ERFile& file) const {
    file.Write(static_cast<char>(getType()));
    std::visit(Overloaded{[](std::monostate) {},
                          [&](const std::string& v) {
                              const std::string_view text = v.c_str();
                              file.Write(static_cast<int>(text.size()));
                              velm::write_bytes(file, text.data(), text.size() + 1);
                          },
                          [&](auto v) { file.Write(v); }},
               slot);
}

void ERDBObjProperty::restoreGuts(ERFile& file) {
    *this = ERDBObjProperty();
    unsigned char type = undefined;
    file.Read(type);
    if (type == long_value) {
        int value = 0;
        if (file.Read(value)) slot = value;
    } else if (type == unsigned_long_value) {
        unsigned int value = 0;
        if (file.Read(value)) slot = value;
    } else if (type == double_value) {
        double value = 0.0;
        if (file.Read(value)) slot = value;
    } else if (type == string_value) {
        int length = 0;
        if (!file.Read(length) || length < 0 ||
            static_cast<ULONGLONG>(length) + 1 > velm::bytes_left(file))
            return;
        std::string text(static_cast<std::size_t>(length) + 1, '\0');
        velm::read_bytes(file, text.data(), text.size());
        slot = std::string(text.c_str());
    }
}

unsigned int ERDBObjProperty::binaryStoreSize() const {
    return std::visit(Overloaded{[](std::monostate) { return 1u; }, [](double) { return 9u; },
                                 [](const std::string& v) {
                                     return static_cast<unsigned int>(
                                         std::string_view(v.c_str()).size() + 6);
                                 },
                                 [](auto) { return 5u; }},
                      slot);
}

unsigned int ERDBObjPropertyTable::hash(const long& key) {
    return static_cast<std::uint32_t>(key) % 255u;
}

void ERDBObjPropertyTable::saveGuts(ERFile& file) const {
    file.Write(entries());
    for (const Association& pair : *this) {
        file.Write(pair.key);
        pair.value.saveGuts(file);
    }
}

void ERDBObjPropertyTable::restoreGuts(ERFile& file) {
    int count = 0;
    if (!file.Read(count)) return;
    if (count > kMany) return restore_many(file, count);
    for (long key = 0; count > 0 && file.Read(key); --count)
        (*this)[key].restoreGuts(file);
}

// The same where searching the buckets for each key would take the square of the count.
void ERDBObjPropertyTable::restore_many(ERFile& file, int count) {
    std::unordered_map<long, ERDBObjProperty*> present;
    for (Association& pair : *this)
        present.emplace(pair.key, &pair.value);
    for (long key = 0; count > 0 && file.Read(key); --count) {
        ERDBObjProperty*& property = present[key];
        if (property == nullptr) property = &append(key);
        property->restoreGuts(file);
    }
}

unsigned int ERDBObjPropertyTable::binaryStoreSize() const {
    unsigned int size = 4;
    for (const Association& pair : *this)
        size += 4 + pair.value.binaryStoreSize();
    return size;
}
