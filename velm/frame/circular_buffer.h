// ER_CirBuf: a circular buffer of bytes.
#pragma once

#include "velm/export.h"

#include <vector>

/// Holds up to `size - 1` bytes, first in, first out; a size of at least 2 is required.
///
/// Intended: a full buffer loses all that it held when the next byte comes in, by RAZ. A derived
/// class may drain it in RAZ instead, which must make room.
class VELM_API ER_CirBuf {
public:
    explicit ER_CirBuf(int size);
    virtual ~ER_CirBuf();
    ER_CirBuf(const ER_CirBuf&) = default;
    ER_CirBuf& operator=(const ER_CirBuf&) = default;

    void Put(char c);
    /// `n` bytes; -1 means the length of the text up to its NUL.
    void Put(const char* s, int n);
    /// Takes the first byte out; 255 when there is none.
    unsigned char Get();
    /// The byte i places behind the first; 255 for i from the count on, and below 0.
    unsigned char operator[](int i) const;
    /// Drops the first n bytes. Intended: dropping more than there are leaves a negative count.
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
