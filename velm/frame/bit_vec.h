// ERBitVec: a vector of bits, with ERBitRef, its writable bit. ERand, ERor, ERxor, erFirstFalse,
// erFirstTrue: operations on bits in plain bytes.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

/// Combine `count` bytes in place with as many others.
VELM_API void ERand(unsigned char* bytes, const unsigned char* others, int count);
VELM_API void ERor(unsigned char* bytes, const unsigned char* others, int count);
VELM_API void ERxor(unsigned char* bytes, const unsigned char* others, int count);

/// The index of the first bit that is 0, or 1, among the first `nbits`; -1 if there is none.
VELM_API int erFirstFalse(const unsigned char* bytes, int nbits);
VELM_API int erFirstTrue(const unsigned char* bytes, int nbits);

/// A bit of an ERBitVec, valid until the vector's length changes or it is destroyed.
class VELM_API ERBitRef {
public:
    ERBitRef(unsigned char& byte, unsigned char mask) : byte_(&byte), mask_(mask) {}
    ERBitRef(const ERBitRef&) = default;

    operator int() const { return (*byte_ & mask_) != 0; }
    ERBitRef& operator=(const ERBitRef& other) { return *this = static_cast<int>(other); }
    /// Any value but 0 sets the bit.
    ERBitRef& operator=(int value) {
        *byte_ = static_cast<unsigned char>(value != 0 ? *byte_ | mask_ : *byte_ & ~mask_);
        return *this;
    }
    ERBitRef& operator&=(int value) { return *this = *this && value != 0; }
    ERBitRef& operator|=(int value) { return *this = *this || value != 0; }
    ERBitRef& operator^=(int value) { return *this = static_cast<int>(*this) != (value != 0); }

private:
    unsigned char* byte_;
    unsigned char mask_;
};

/// Bit i is bit i & 7 of byte i >> 3. Indices are not checked; lengths below zero are taken as
/// zero.
///
/// The bits of the last byte beyond the length are stored with it but have no effect: they come
/// from the bytes or the value that the vector was made from.
class VELM_API ERBitVec {
public:
    ERBitVec() = default;
    /// `n` bits, all 0, or all of one value.
    explicit ERBitVec(int n) : ERBitVec(n, 0) {}
    ERBitVec(int n, int value);
    /// `n` bits out of (n + 7) / 8 bytes.
    ERBitVec(const unsigned char* source, int n);

    int length() const { return nbits; }
    int size() const { return nbits; }
    /// The number of bytes that the bits use, and of those that they fill.
    int nbytes() const { return (nbits >> 3) + ((nbits & 7) != 0 ? 1 : 0); }
    int nfull() const { return nbits >> 3; }
    const unsigned char* data() const { return bytes.data(); }

    ERBitRef operator[](int i) { return ERBitRef(bytes[byte_of(i)], mask_of(i)); }
    int operator[](int i) const { return testBit(i); }
    int testBit(int i) const { return (bytes[byte_of(i)] & mask_of(i)) != 0; }
    void setBit(int i) { (*this)[i] = 1; }
    void clearBit(int i) { (*this)[i] = 0; }

    /// Sets all bits to 0 or to 1.
    ERBitVec& operator=(int value);
    /// Bit by bit; the length is unchanged, and bits missing in a shorter argument count as 0.
    ERBitVec& operator&=(const ERBitVec& other);
    ERBitVec& operator|=(const ERBitVec& other);
    ERBitVec& operator^=(const ERBitVec& other);
    /// A copy with all bits inverted.
    ERBitVec operator!() const;

    friend ERBitVec operator&(ERBitVec a, const ERBitVec& b) { return a &= b; }
    friend ERBitVec operator|(ERBitVec a, const ERBitVec& b) { return a |= b; }
    friend ERBitVec operator^(ERBitVec a, const ERBitVec& b) { return a ^= b; }

    /// The same length and the same bits.
    bool operator==(const ERBitVec& other) const;
    /// All bits 0, or all 1 for any value but 0; true for no bits.
    bool operator==(int value) const;

    int firstFalse() const { return erFirstFalse(data(), nbits); }
    int firstTrue() const { return erFirstTrue(data(), nbits); }

    /// Changes the length; new bits are 0.
    void resize(int n);

    /// Over the length and the bits: the same for equal vectors, in every run and on every
    /// platform.
    unsigned int hash() const;

    /// Stored form: the length as an int, then the bytes. Returns 1; for a record that is damaged
    /// or cut short 0, with the vector unchanged and the position at the end of the file. data()
    /// keeps its address if the number of bytes is the same as before.
    void saveOn(ERFile& file) const;
    int restoreFrom(ERFile& file);
    unsigned int binaryStoreSize() const { return 4u + static_cast<unsigned int>(nbytes()); }

    /// "[", then the bits as "0 " and "1 ", 25 on a line, then "]". Hosts read this text.
    void printOn(std::ostream& out) const;
    /// Reads that text, with any blanks between its parts. Other text sets the stream's failbit and
    /// leaves the vector unchanged.
    void scanFrom(std::istream& in);

private:
    static std::size_t byte_of(int i) { return static_cast<std::size_t>(i >> 3); }
    static unsigned char mask_of(int i) { return static_cast<unsigned char>(1 << (i & 7)); }
    std::uint8_t last_part() const;
    template <class Combine>
    ERBitVec& combine(const ERBitVec& other, Combine op);

    std::vector<unsigned char> bytes;
    int nbits = 0;
};

VELM_API std::ostream& operator<<(std::ostream& out, const ERBitVec& bits); ///< printOn
VELM_API std::istream& operator>>(std::istream& in, ERBitVec& bits);        ///< scanFrom
VELM_API ERFile& operator<<(ERFile& file, const ERBitVec& bits);            ///< saveOn
VELM_API ERFile& operator>>(ERFile& file, ERBitVec& bits);                  ///< restoreFrom
