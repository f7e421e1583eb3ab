#include "velm/frame/circular_buffer.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

constexpr unsigned char no_byte = 255;

} // namespace

ER_CirBuf::ER_CirBuf(int bytes)
    : buffer(static_cast<std::size_t>(std::max(bytes, 0))), size(bytes) {
    assert(bytes >= 2);
}

ER_CirBuf::~ER_CirBuf() = default;

// The index that many steps after the first byte.
int ER_CirBuf::place(long long steps) const {
    const long long index = (readIndex + steps) % size;
    return static_cast<int>(index < 0 ? index + size : index);
}

void ER_CirBuf::Put(char c) {
    int next = (writeIndex + 1) % size;
    while (next == readIndex) {
        RAZ();
        next = (writeIndex + 1) % size;
    }
    buffer[static_cast<std::size_t>(writeIndex)] = static_cast<unsigned char>(c);
    ++count;
    writeIndex = next;
}

void ER_CirBuf::Put(const char* s, int n) {
    const std::size_t bytes = n == -1 ? std::strlen(s) : static_cast<std::size_t>(std::max(n, 0));
    for (std::size_t i = 0; i < bytes; ++i)
        Put(s[i]);
}

unsigned char ER_CirBuf::Get() {
    if (count == 0) return no_byte;
    const unsigned char first = buffer[static_cast<std::size_t>(readIndex)];
    readIndex = place(1);
    --count;
    return first;
}

unsigned char ER_CirBuf::operator[](int i) const {
    return 0 <= i && i < count ? buffer[static_cast<std::size_t>(place(i))] : no_byte;
}

void ER_CirBuf::Consomme(int n) {
    readIndex = n < count ? place(n) : writeIndex;
    count -= n;
}

void ER_CirBuf::RAZ() {
    writeIndex = 0;
    readIndex = 0;
    count = 0;
}
