// ER_CirBuf: a circular buffer of bytes.
#pragma once

#include "velm/export.h"

#include <vector>

/// Holds up to `size - 1` bytes, first in, first out; a size of at least 2 is required.
///
/// A full buffer loses all its bytes when the next one comes in, by RAZ: part of the contract. A
/// derived class may drain it in RAZ instead, which must make room.
class VELM_API ER_CirBuf {
public:
    explicit ER_CirBuf(int size);
    virtual ~ER_CirBuf();
    ER_CirBuf(const ER_CirBuf&) = default;
    ER_CirBuf& operator=(const ER_CirBuf&) = default;

    void Put(char c);
    /// `n` bytes; -1 means the length of the text up to its NUL.
    void Put(const char* s, int n);
    /// Removes and returns the first byte; 255 if there is none.
    unsigned char Get();
    /// The byte i places after the first; 255 for i below 0 or at least the count.
    unsigned char operator[](int i) const;
    /// Drops the first n bytes. Dropping more than there are leaves a negative count: part of the
    /// contract.
    void Consomme(int n);
    /// Empties the buffer.
    virtual void RAZ();

    /// The size that the buffer was made with.
    int GetTaille() const { return size; }
    /// Bytes held.
    int entries() const { return count; }

protected:
    std::vector<unsigned char> buffer;
    int writeIndex = 0;
    int readIndex = 0;
    int count = 0;
    int size;

private:
    int place(long long steps) const;
};
