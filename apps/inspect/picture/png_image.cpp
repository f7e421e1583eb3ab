#include "inspect/picture/png_image.h"

#include <algorithm>
#include <string_view>

namespace velm::inspect {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t crc_of(std::string_view bytes) {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> made{};
        for (std::uint32_t n = 0; n < made.size(); ++n) {
            std::uint32_t value = n;
            for (int k = 0; k < 8; ++k)
                value = (value & 1U) != 0 ? 0xEDB88320U ^ (value >> 1) : value >> 1;
            made[n] = value;
        }
        return made;
    }();
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char c : bytes)
        crc = table[(crc ^ static_cast<unsigned char>(c)) & 0xFFU] ^ (crc >> 8);
    return ~crc;
}

void append_word(std::string& out, std::uint32_t value) { // the high byte first
    for (int shift = 24; shift >= 0; shift -= 8)
        out += static_cast<char>(value >> shift);
}

void append_chunk(std::string& out, std::string_view type, std::string_view data) {
    append_word(out, static_cast<std::uint32_t>(data.size()));
    const std::string content = std::string(type).append(data);
    out += content;
    append_word(out, crc_of(content));
}

// Bits from the low end of each byte.
class BitWriter {
public:
    explicit BitWriter(std::string& out) : out_(out) {}
    void put(std::uint32_t value, int count) {
        held_ |= std::uint64_t(value) << count_;
        for (count_ += count; count_ >= 8; count_ -= 8) {
            out_ += static_cast<char>(held_);
            held_ >>= 8;
        }
    }
    // A Huffman code, its first bit first.
    void put_code(std::uint32_t code, int count) {
        std::uint32_t turned = 0;
        for (int i = 0; i < count; ++i)
            turned |= ((code >> i) & 1U) << (count - 1 - i);
        put(turned, count);
    }
    void finish() {
        if (count_ > 0) put(0, 8 - count_);
    }

private:
    std::string& out_;
    std::uint64_t held_ = 0;
    int count_ = 0;
};

// Deflate with the fixed code. A match is looked for one byte back, one row back, and at the last
// place with the same four bytes: flat areas, edges that run down, and shades that come again.
class Deflater {
public:
    Deflater(const Bytes& data, std::size_t row, std::string& out)
        : data_(data), row_(row), bits_(out), last_(std::size_t(1) << hash_bits, nowhere) {}

    void run() {
        bits_.put(1, 1); // the last block
        bits_.put(1, 2); // of the fixed code
        for (std::size_t at = 0; at < data_.size();) {
            const Match match = best_match(at);
            if (match.length < 4) {
                put_symbol(data_[at]);
                remember(at++);
                continue;
            }
            put_match(match);
            for (std::size_t i = 0; i < match.length; ++i)
                remember(at++);
        }
        put_symbol(256);
        bits_.finish();
    }

private:
    struct Match {
        std::size_t length = 0, distance = 0;
    };
    static constexpr std::size_t longest = 258, farthest = 32768, nowhere = std::size_t(-1);
    static constexpr int hash_bits = 15;

    std::size_t hash_at(std::size_t at) const {
        std::uint32_t four = 0;
        for (std::size_t i = 0; i < 4; ++i)
            four = (four << 8) | data_[at + i];
        return (four * 2654435761U) >> (32 - hash_bits);
    }
    void remember(std::size_t at) {
        if (at + 4 <= data_.size()) last_[hash_at(at)] = at;
    }
    Match best_match(std::size_t at) const {
        Match best;
        const auto attempt = [&](std::size_t distance) {
            if (distance == 0 || distance > at || distance > farthest) return;
            std::size_t length = 0;
            const std::size_t most = std::min(longest, data_.size() - at);
            while (length < most && data_[at + length] == data_[at + length - distance])
                ++length;
            if (length > best.length) best = {length, distance};
        };
        attempt(1);
        attempt(row_);
        if (at + 4 <= data_.size())
            if (const std::size_t before = last_[hash_at(at)]; before != nowhere)
                attempt(at - before);
        return best;
    }

    void put_symbol(std::uint32_t symbol) {
        if (symbol < 144)
            bits_.put_code(0x30 + symbol, 8);
        else if (symbol < 256)
            bits_.put_code(0x190 + symbol - 144, 9);
        else if (symbol < 280)
            bits_.put_code(symbol - 256, 7);
        else
            bits_.put_code(0xC0 + symbol - 280, 8);
    }
    // Lengths and distances come in groups, each with twice the room of that before the last: of a
    // length from 11 on four groups have the same number of further bits, of a distance two.
    void put_match(const Match& match) {
        const auto length = static_cast<std::uint32_t>(match.length) - 3;
        if (match.length == longest) {
            put_symbol(285);
        } else if (length < 8) {
            put_symbol(257 + length);
        } else {
            int extra = 0;
            while ((length >> extra) >= 8)
                ++extra;
            put_symbol(257 + 4 * static_cast<std::uint32_t>(extra) + (length >> extra));
            bits_.put(length & ((1U << extra) - 1U), extra);
        }
        const auto distance = static_cast<std::uint32_t>(match.distance) - 1;
        if (distance < 4) {
            bits_.put_code(distance, 5);
        } else {
            int extra = 0;
            while ((distance >> extra) >= 4)
                ++extra;
            bits_.put_code(2 * static_cast<std::uint32_t>(extra) + (distance >> extra), 5);
            bits_.put(distance & ((1U << extra) - 1U), extra);
        }
    }

    const Bytes& data_;
    std::size_t row_;
    BitWriter bits_;
    std::vector<std::size_t> last_;
};

std::string zlib_of(const Bytes& data, std::size_t row) {
    std::string out("\x78\x01", 2);
    Deflater(data, row, out).run();
    std::uint32_t a = 1, b = 0; // Adler-32
    for (const std::uint8_t byte : data) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    append_word(out, (b << 16) | a);
    return out;
}

} // namespace

std::string IndexedImage::png() const {
    std::string header;
    append_word(header, static_cast<std::uint32_t>(width));
    append_word(header, static_cast<std::uint32_t>(height));
    header += std::string("\x08\x03\x00\x00\x00", 5); // eight bits a pixel, by a palette
    std::string colors;
    for (const auto& color : palette)
        for (const std::uint8_t part : color)
            colors += static_cast<char>(part);
    Bytes rows;
    const auto wide = static_cast<std::size_t>(width);
    for (std::size_t row = 0; row < static_cast<std::size_t>(height); ++row) {
        rows.push_back(0); // unfiltered
        const auto start = pixels.begin() + static_cast<std::ptrdiff_t>(row * wide);
        rows.insert(rows.end(), start, start + static_cast<std::ptrdiff_t>(wide));
    }
    std::string out("\x89PNG\r\n\x1a\n", 8);
    append_chunk(out, "IHDR", header);
    append_chunk(out, "PLTE", colors);
    append_chunk(out, "tRNS", std::string(1, '\0'));
    append_chunk(out, "IDAT", zlib_of(rows, wide + 1));
    append_chunk(out, "IEND", "");
    return out;
}

std::string base64(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view letters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t three = 0;
        for (std::size_t k = 0; k < 3; ++k)
            three = (three << 8) | (i + k < bytes.size() ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            out += i + k <= bytes.size() ? letters[(three >> (18 - 6 * k)) & 63U] : '=';
    }
    return out;
}

} // namespace velm::inspect
