// stored_fields, VELM_DEFINE_STORED_FORM, VELM_DEFINE_STORED_VALUE: the stored form of a class on
// an ERFile, written once as a list of its fields, from which writing, reading and the size are
// derived.
//
// A class lists its fields in stored order, once for both directions, as a static member template:
//
//     template <class Self, class Form>
//     static void stored_fields(Self& self, Form& form) {
//         form(self.first_, self.second_, self.count_);
//         form(self.points_);
//     }
//
// and declares saveGuts(ERFile&) const, restoreGuts(ERFile&) and binaryStoreSize() const, by
// VELM_DECLARE_STORED_FORM(); where they override (class_macros.h), and one macro in its source
// file defines them:
//   - VELM_DEFINE_STORED_FORM(Class, Base): what Base stores, then the fields;
//   - VELM_DEFINE_STORED_TEMPLATE(Class, Base): the same for a class template over a dimension D;
//   - VELM_DEFINE_STORED_FIELDS(Class): the fields alone;
//   - VELM_DEFINE_STORED_VALUE(Class): a value whose memory is its form. It has no list, but a
//   constant
//     `static constexpr unsigned int stored_bytes`, which must equal its size.
//
// A field is one of
//   - a number or an enumeration: the bytes in memory, a long as 32 bits, a bool as an int;
//   - velm::as_byte(field), velm::as_stored<T>(field): the same field stored as another number;
//   - a value with stored_bytes;
//   - an array handle without operations of its own: its body, a 32-bit length in bytes and the
//   bytes;
//   - anything else with saveGuts, restoreGuts and binaryStoreSize of its own.
// Values of fixed size in one call of form are read as one block, and all adjacent ones are written
// by one call of the file.
//
// A record that is cut short leaves the fields after its end unchanged; the field it ends in is
// partly filled.
#pragma once

#include "velm/frame/binary_file.h"
#include "velm/frame/vec_rep.h"
#include "velm/fwd.h"

#include <algorithm>
#include <concepts>
#include <cstring>
#include <limits>
#include <type_traits>

namespace velm {

/// A field whose number is stored as another type; out of range it saturates.
template <class Stored, class Field>
struct StoredAs {
    Field& field;
};
template <class Stored, class Field>
StoredAs<Stored, Field> as_stored(Field& field) {
    return {field};
}
template <class Field>
StoredAs<unsigned char, Field> as_byte(Field& field) {
    return {field};
}

namespace detail {

/// The form of a field of type T on file. The general case has no fixed size and uses the field's
/// own operations.
template <class T>
struct FieldForm {
    static constexpr bool fixed = false;
    static void save(ERFile& file, const T& value) { value.saveGuts(file); }
    static void restore(ERFile& file, T& value) { value.restoreGuts(file); }
    static unsigned int size(const T& value) { return value.binaryStoreSize(); }
};

template <class T>
concept Number = std::is_arithmetic_v<T>;

template <Number T>
struct FieldForm<T> {
    using Stored = std::conditional_t<
        std::is_same_v<T, long>, std::int32_t,
        std::conditional_t<std::is_same_v<T, unsigned long>, std::uint32_t,
                           std::conditional_t<std::is_same_v<T, bool>, std::int32_t, T>>>;
    static constexpr bool fixed = true;
    static constexpr std::size_t bytes = sizeof(Stored);

    static void pack(char* target, T value) {
        Stored stored;
        if constexpr (std::is_same_v<T, long> || std::is_same_v<T, unsigned long>) {
            stored = stored_long(value);
        } else {
            stored = static_cast<Stored>(value);
        }
        std::memcpy(target, &stored, bytes);
    }
    /// available: the number of bytes that were read, at least one.
    static void unpack(const char* source, std::size_t available, T& value) {
        if constexpr (std::is_same_v<T, Stored>) {
            std::memcpy(&value, source, available);
        } else if (available == bytes) {
            Stored stored;
            std::memcpy(&stored, source, bytes);
            value = static_cast<T>(stored);
        }
    }
};

template <class T>
requires std::is_enum_v<T>
struct FieldForm<T> {
    using Number = std::underlying_type_t<T>;
    static constexpr bool fixed = true;
    static constexpr std::size_t bytes = FieldForm<Number>::bytes;

    static void pack(char* target, T value) {
        FieldForm<Number>::pack(target, static_cast<Number>(value));
    }
    static void unpack(const char* source, std::size_t available, T& value) {
        Number number = static_cast<Number>(value);
        FieldForm<Number>::unpack(source, available, number);
        value = static_cast<T>(number);
    }
};

template <class T>
requires requires { T::stored_bytes; }
struct FieldForm<T> {
    static constexpr bool fixed = true;
    static constexpr std::size_t bytes = T::stored_bytes;
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) == bytes);

    static void pack(char* target, const T& value) { std::memcpy(target, &value, bytes); }
    static void unpack(const char* source, std::size_t available, T& value) {
        std::memcpy(static_cast<void*>(&value), source, available);
    }
};

template <class Stored, class Field>
struct FieldForm<StoredAs<Stored, Field>> {
    static_assert(std::is_integral_v<Stored> && !std::is_floating_point_v<Field>);
    using Plain = std::remove_const_t<Field>;
    static constexpr bool fixed = true;
    static constexpr std::size_t bytes = FieldForm<Stored>::bytes;

    static void pack(char* target, StoredAs<Stored, Field> field) {
        using Limits = std::numeric_limits<Stored>;
        const auto value = static_cast<long long>(field.field);
        FieldForm<Stored>::pack(target, static_cast<Stored>(std::clamp<long long>(
                                            value, Limits::min(), Limits::max())));
    }
    static void unpack(const char* source, std::size_t available, StoredAs<Stored, Field> field) {
        Stored stored = static_cast<Stored>(field.field);
        FieldForm<Stored>::unpack(source, available, stored);
        field.field = static_cast<Plain>(stored);
    }
};

template <class T>
concept HasGuts = requires(const T& value, ERFile& file) {
    value.saveGuts(file);
};

/// An array handle without a form of its own stores its body. If the body can't be read the array
/// is unchanged.
template <class T>
requires(std::derived_from<T, ERSimpleVec<typename T::value_type>> &&
         !HasGuts<T>) struct FieldForm<T> {
    static_assert(std::is_trivially_copyable_v<typename T::value_type>);
    static constexpr bool fixed = false;

    static void save(ERFile& file, const T& array) { array.rep()->saveGuts(file); }
    static void restore(ERFile& file, T& array) {
        if (ERVecRep* const body = ERVecRep::getRep(file)) array = T(body);
    }
    static unsigned int size(const T& array) { return array.rep()->binaryStoreSize(); }
};

} // namespace detail

template <class T>
using FormOf = detail::FieldForm<std::remove_cvref_t<T>>;

/// Gathers fields of fixed size and writes them by one call.
class StoreWriter {
public:
    explicit StoreWriter(ERFile& file) : file_(file) {}

    template <class... Fields>
    void operator()(const Fields&... fields) {
        (write(fields), ...);
    }
    /// Writes the gathered bytes.
    void flush() {
        if (used_ == 0) return;
        const std::size_t count = used_;
        used_ = 0;
        write_bytes(file_, buffer_, count);
    }

private:
    template <class Field>
    void write(const Field& field) {
        if constexpr (FormOf<Field>::fixed) {
            constexpr std::size_t bytes = FormOf<Field>::bytes;
            static_assert(bytes <= sizeof buffer_);
            if (used_ + bytes > sizeof buffer_) flush();
            FormOf<Field>::pack(buffer_ + used_, field);
            used_ += bytes;
        } else {
            flush();
            FormOf<Field>::save(file_, field);
        }
    }

    ERFile& file_;
    std::size_t used_ = 0;
    char buffer_[512];
};

class StoreReader {
public:
    explicit StoreReader(ERFile& file) : file_(file) {}

    template <class... Fields>
    void operator()(Fields&&... fields) {
        if constexpr ((FormOf<Fields>::fixed && ...)) {
            char buffer[(FormOf<Fields>::bytes + ...)];
            const std::size_t came = read_bytes(file_, buffer, sizeof buffer);
            std::size_t offset = 0;
            (unpack(buffer, came, offset, fields), ...);
        } else {
            (read(fields), ...);
        }
    }

private:
    template <class Field>
    void read(Field& field) {
        if constexpr (FormOf<Field>::fixed) {
            (*this)(field);
        } else {
            FormOf<Field>::restore(file_, field);
        }
    }
    template <class Field>
    static void unpack(const char* buffer, std::size_t came, std::size_t& offset, Field& field) {
        if (came > offset) {
            FormOf<Field>::unpack(buffer + offset, std::min(came - offset, FormOf<Field>::bytes),
                                  field);
        }
        offset += FormOf<Field>::bytes;
    }

    ERFile& file_;
};

class StoreSize {
public:
    template <class... Fields>
    void operator()(const Fields&... fields) {
        (add(fields), ...);
    }
    unsigned int bytes() const { return bytes_; }

private:
    template <class Field>
    void add(const Field& field) {
        if constexpr (FormOf<Field>::fixed) {
            bytes_ += static_cast<unsigned int>(FormOf<Field>::bytes);
        } else {
            bytes_ += FormOf<Field>::size(field);
        }
    }

    unsigned int bytes_ = 0;
};

} // namespace velm

#define VELM_DEFINE_STORED_FORM_AFTER(Template, Class, save_base, restore_base, base_size)         \
    Template void Class::saveGuts(ERFile& file) const {                                            \
        save_base;                                                                                 \
        ::velm::StoreWriter form(file);                                                            \
        Class::stored_fields(*this, form);                                                         \
        form.flush();                                                                              \
    }                                                                                              \
    Template void Class::restoreGuts(ERFile& file) {                                               \
        restore_base;                                                                              \
        ::velm::StoreReader form(file);                                                            \
        Class::stored_fields(*this, form);                                                         \
    }                                                                                              \
    Template unsigned int Class::binaryStoreSize() const {                                         \
        ::velm::StoreSize form;                                                                    \
        Class::stored_fields(*this, form);                                                         \
        return (base_size) + form.bytes();                                                         \
    }

#define VELM_DEFINE_STORED_FORM(Class, Base)                                                       \
    VELM_DEFINE_STORED_FORM_AFTER(, Class, Base::saveGuts(file), Base::restoreGuts(file),          \
                                  Base::binaryStoreSize())

#define VELM_DEFINE_STORED_TEMPLATE(Class, Base)                                                   \
    VELM_DEFINE_STORED_FORM_AFTER(template <class D>, Class<D>, Base::saveGuts(file),              \
                                  Base::restoreGuts(file), Base::binaryStoreSize())

#define VELM_DEFINE_STORED_FIELDS(Class)                                                           \
    VELM_DEFINE_STORED_FORM_AFTER(, Class, (void)0, (void)0, 0u)

#define VELM_DEFINE_STORED_VALUE(Class)                                                            \
    static_assert(Class::stored_bytes == ::velm::FormOf<Class>::bytes);                            \
    void Class::saveGuts(ERFile& file) const {                                                     \
        ::velm::write_bytes(file, this, Class::stored_bytes);                                      \
    }                                                                                              \
    void Class::restoreGuts(ERFile& file) { ::velm::read_bytes(file, this, Class::stored_bytes); } \
    unsigned int Class::binaryStoreSize() const { return Class::stored_bytes; }
