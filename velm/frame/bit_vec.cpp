#include "velm/frame/bit_vec.h"

#include "velm/frame/binary_file.h"

#include <algorithm>
#include <bit>
#include <istream>
#include <ostream>

namespace {

constexpr int bits_per_line = 25;

// The bits of a byte below bit n; all bits for n >= 8.
unsigned int low_bits(int n) { return n < 8 ? (1u << n) - 1u : 0xFFu; }

// The first bit that is 1 after each byte is combined by exclusive or with `turn`, 0x00 or 0xFF.
int first_bit(const unsigned char* bytes, int nbits, unsigned int turn) {
    for (int left = nbits; left > 0; left -= 8, ++bytes) {
        const unsigned int found = (*bytes ^ turn) & low_bits(left);
        if (found != 0) return nbits - left + std::countr_zero(found);
    }
    return -1;
}

template <class Combine>
void combine_bytes(unsigned char* bytes, const unsigned char* others, int count, Combine op) {
    for (int i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(op(bytes[i], others[i]));
}

constexpr auto bit_and = [](int a, int b) { return a & b; };
constexpr auto bit_or = [](int a, int b) { return a | b; };
constexpr auto bit_xor = [](int a, int b) { return a ^ b; };

} // namespace

void ERand(unsigned char* bytes, const unsigned char* others, int count) {
    combine_bytes(bytes, others, count, bit_and);
}
void ERor(unsigned char* bytes, const unsigned char* others, int count) {
    combine_bytes(bytes, others, count, bit_or);
}
void ERxor(unsigned char* bytes, const unsigned char* others, int count) {
    combine_bytes(bytes, others, count, bit_xor);
}

int erFirstFalse(const unsigned char* bytes, int nbits) { return first_bit(bytes, nbits, 0xFF); }
int erFirstTrue(const unsigned char* bytes, int nbits) { return first_bit(bytes, nbits, 0x00); }

ERBitVec::ERBitVec(int n, int value) : nbits(std::max(n, 0)) {
    bytes.assign(static_cast<std::size_t>(nbytes()), value != 0 ? 0xFF : 0x00);
}

ERBitVec::ERBitVec(const unsigned char* source, int n) : nbits(std::max(n, 0)) {
    bytes.assign(source, source + nbytes());
}

ERBitVec& ERBitVec::operator=(int value) {
    std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(value != 0 ? 0xFF : 0x00));
    return *this;
}

// The valid bits of the last byte if it is not full, else 0.
std::uint8_t ERBitVec::last_part() const {
    return (nbits & 7) == 0 ? std::uint8_t{0}
                            : static_cast<std::uint8_t>(bytes.back() & low_bits(nbits & 7));
}

template <class Combine>
ERBitVec& ERBitVec::combine(const ERBitVec& other, Combine op) {
    for (int i = 0; i < nbytes(); ++i) {
        const int theirs = i < other.nfull()    ? other.bytes[static_cast<std::size_t>(i)]
                           : i < other.nbytes() ? other.last_part()
                                                : 0;
        unsigned char& ours = bytes[static_cast<std::size_t>(i)];
        ours = static_cast<unsigned char>(op(ours, theirs));
    }
    return *this;
}

ERBitVec& ERBitVec::operator&=(const ERBitVec& other) { return combine(other, bit_and); }
ERBitVec& ERBitVec::operator|=(const ERBitVec& other) { return combine(other, bit_or); }
ERBitVec& ERBitVec::operator^=(const ERBitVec& other) { return combine(other, bit_xor); }

ERBitVec ERBitVec::operator!() const {
    ERBitVec turned(*this);
    for (unsigned char& byte : turned.bytes)
        byte = static_cast<unsigned char>(~byte);
    return turned;
}

bool ERBitVec::operator==(const ERBitVec& other) const {
    return nbits == other.nbits &&
           std::equal(bytes.begin(), bytes.begin() + nfull(), other.bytes.begin()) &&
           last_part() == other.last_part();
}

bool ERBitVec::operator==(int value) const { return (value != 0 ? firstFalse() : firstTrue()) < 0; }

void ERBitVec::resize(int n) {
    n = std::max(n, 0);
    if (n > nbits && (nbits & 7) != 0) bytes.back() = last_part();
    nbits = n;
    bytes.resize(static_cast<std::size_t>(nbytes()), 0);
}

unsigned int ERBitVec::hash() const {
    std::uint32_t h = static_cast<std::uint32_t>(nbits);
    for (int i = 0; i < nfull(); ++i)
        h = std::rotl(h, 5) ^ bytes[static_cast<std::size_t>(i)];
    if ((nbits & 7) != 0) h = std::rotl(h, 5) ^ last_part();
    return h;
}

void ERBitVec::saveOn(ERFile& file) const {
    file.Write(nbits);
    file.Write(bytes.data(), bytes.size());
}

int ERBitVec::restoreFrom(ERFile& file) {
    int count = 0;
    if (!file.Read(count)) return 0;
    const std::size_t wanted = (static_cast<std::size_t>(count) + 7) >> 3;
    if (count < 0 || wanted > velm::bytes_left(file)) {
        file.SeekToEnd();
        return 0;
    }
    std::vector<unsigned char> read(wanted);
    if (!file.Read(read.data(), wanted)) return 0;
    nbits = count;
    bytes.assign(read.begin(), read.end());
    return 1;
}

void ERBitVec::printOn(std::ostream& out) const {
    out << "[\n  ";
    for (int i = 0; i < nbits; ++i) {
        if (i > 0 && i % bits_per_line == 0) out << "\n  ";
        out << (testBit(i) ? "1 " : "0 ");
    }
    out << "\n]";
}

void ERBitVec::scanFrom(std::istream& in) {
    ERBitVec scanned;
    char next = '\0';
    if (!(in >> next)) return;
    bool bracketed = next == '[';
    while (bracketed && in >> next && next != ']') {
        bracketed = next == '0' || next == '1';
        scanned.resize(scanned.nbits + 1);
        if (next == '1') scanned.setBit(scanned.nbits - 1);
    }
    if (!bracketed) in.setstate(std::ios::failbit);
    if (in) *this = std::move(scanned);
}

std::ostream& operator<<(std::ostream& out, const ERBitVec& bits) {
    bits.printOn(out);
    return out;
}
std::istream& operator>>(std::istream& in, ERBitVec& bits) {
    bits.scanFrom(in);
    return in;
}
ERFile& operator<<(ERFile& file, const ERBitVec& bits) {
    bits.saveOn(file);
    return file;
}
ERFile& operator>>(ERFile& file, ERBitVec& bits) {
    bits.restoreFrom(file);
    return file;
}
