// ERDBObjProperty, ERDBObjPropertyTable: typed values under integer keys.
#pragma once

#include "velm/export.h"
#include "velm/frame/val_hash_dictionary.h"
#include "velm/fwd.h"

#include <iosfwd>
#include <string>
#include <variant>

/// One typed value: nothing, a signed or unsigned 32-bit number, a double or a text.
///
/// On file a byte with the type, then the value: 4 bytes, 8 bytes, or the length of the text and
/// its bytes with the closing NUL. The numbers of the types are stored: they must never change.
class VELM_API ERDBObjProperty {
public:
    enum TYPE : int {
        undefined = 0,
        long_value = 1,
        double_value = 2,
        string_value = 3,
        unsigned_long_value = 4
    };

    ERDBObjProperty() = default;
    ERDBObjProperty(int value) : slot(value) {}
    /// A value beyond 32 bits is saturated.
    ERDBObjProperty(long value);
    ERDBObjProperty(unsigned int value) : slot(value) {}
    ERDBObjProperty(unsigned long value);
    ERDBObjProperty(double value) : slot(value) {}
    /// Takes a copy of the text; null is the empty one.
    ERDBObjProperty(const char* text) : slot(std::string(text != nullptr ? text : "")) {}
    ERDBObjProperty(const ERDBObjProperty&) = default;
    ERDBObjProperty& operator=(const ERDBObjProperty&) = default;
    virtual ~ERDBObjProperty() = default;

    /// Writes the type and the value, for debugging.
    virtual void printOn(std::ostream& out) const;

    TYPE getType() const { return static_cast<TYPE>(slot.index()); }

    /// The value as another type: 0 for nothing, the number at the start of a text. A double is cut
    /// towards zero and saturates; between signed and unsigned the 32 bits stay.
    operator int() const;
    operator long() const;
    /// A double is cut towards zero as a 64-bit number, of which the low 32 bits count.
    operator unsigned int() const;
    operator unsigned long() const;
    operator double() const;
    /// The text, owned by the property; empty for the other types.
    operator const char*() const;

    void saveGuts(ERFile& file) const;
    /// A type that is none of the five reads as nothing, and so does a text whose length the file
    /// can't hold.
    void restoreGuts(ERFile& file);
    unsigned int binaryStoreSize() const;

private:
    // In the order of TYPE.
    std::variant<std::monostate, int, double, std::string, unsigned int> slot;
};

/// Properties under keys. A key's hash is its remainder by 255, a negative key's that of its 32
/// bits; the buckets are walked in order, keys in a bucket in the order in which they came.
class VELM_API ERDBObjPropertyTable : public ERTValHashDictionary<long, ERDBObjProperty> {
public:
    static constexpr int bucket_count = 10; // the order on file follows from it

    ERDBObjPropertyTable() : ERTValHashDictionary(hash, bucket_count) {}

    /// The count, then each key and its property.
    void saveGuts(ERFile& file) const;
    /// Adds what the file has to what is here, replacing properties of the same key. A count that
    /// the file can't hold stops at its end.
    void restoreGuts(ERFile& file);
    unsigned int binaryStoreSize() const;

    static unsigned int hash(const long& key);

private:
    void restore_many(ERFile& file, int count);
};
