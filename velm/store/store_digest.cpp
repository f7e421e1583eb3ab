#include "velm/store/store_digest.h"

#include "velm/platform/file_exception.h"
#include "velm/store/store_image.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>

namespace velm {

// ---- SHA-256, FIPS 180-4 section 6.2 ----

namespace detail {

namespace {

constexpr std::array<std::uint32_t, 64> kRound = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

using State = std::array<std::uint32_t, 8>;

void add_block(State& state, const char* bytes) {
    std::array<std::uint32_t, 64> w;
    for (std::size_t t = 0; t < 16; ++t) {
        std::uint32_t word;
        std::memcpy(&word, bytes + 4 * t, sizeof word);
        w[t] = __builtin_bswap32(word);
    }
    for (std::size_t t = 16; t < 64; ++t) {
        const std::uint32_t s0 =
            std::rotr(w[t - 15], 7) ^ std::rotr(w[t - 15], 18) ^ (w[t - 15] >> 3);
        const std::uint32_t s1 =
            std::rotr(w[t - 2], 17) ^ std::rotr(w[t - 2], 19) ^ (w[t - 2] >> 10);
        w[t] = w[t - 16] + s0 + w[t - 7] + s1;
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t t = 0; t < 64; ++t) {
        const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
        const std::uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + kRound[t] + w[t];
        const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
        const std::uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
        h = g, g = f, f = e, e = d + t1, d = c, c = b, b = a, a = t1 + t2;
    }
    const State added = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += added[i];
}

} // namespace

std::string sha256(std::string_view bytes) {
    State state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                   0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    const std::size_t whole = bytes.size() / 64 * 64;
    for (std::size_t at = 0; at < whole; at += 64)
        add_block(state, bytes.data() + at);
    std::string last(bytes.substr(whole));
    last += '\x80';
    last.resize((last.size() + 8 + 63) / 64 * 64);
    const std::uint64_t bits = __builtin_bswap64(std::uint64_t{bytes.size()} * 8);
    std::memcpy(last.data() + last.size() - sizeof bits, &bits, sizeof bits);
    for (std::size_t at = 0; at < last.size(); at += 64)
        add_block(state, last.data() + at);
    std::string digits;
    for (const std::uint32_t word : state)
        for (int shift = 28; shift >= 0; shift -= 4)
            digits += "0123456789abcdef"[word >> shift & 15];
    return digits;
}

} // namespace detail

// ---- the digests of a file ----

std::vector<ObjectDigest> digest_store(const char* name) {
    const StoreImage image(name);
    if (!image.header_known || !image.classes.whole || !image.objects.whole ||
        (image.has_index && !image.index.whole))
        AfxThrowFileException(CFileException::invalidFile, -1, name);
    std::vector<ObjectDigest> digests;
    for (const RecordImage& record : image.records) {
        const std::string class_name = image.class_name(record.signature);
        std::string bytes = class_name + '\0';
        if (image.has_index && record.identifier == 1) {
            for (const TreeImage::Entry& entry : image.index.entries)
                bytes += entry.key + ' ' + std::to_string(entry.value) + '\n';
        } else {
            std::string guts = image.guts(record);
            guts.resize(
                static_cast<std::size_t>(std::max(record.size - 4, 0L))); // at the file's end
            bytes += guts;
        }
        digests.push_back({record.identifier, class_name, detail::sha256(bytes)});
    }
    return digests;
}

std::string digest_text(const std::vector<ObjectDigest>& digests) {
    std::string text;
    for (const ObjectDigest& digest : digests) {
        std::string name = digest.class_name; // of a damaged file it may be anything
        std::replace_if(
            name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
        text += std::to_string(digest.identifier) + ' ' + digest.sha256 + ' ' + name + '\n';
    }
    return text;
}

bool parse_digests(std::string_view text, std::vector<ObjectDigest>& digests) {
    constexpr std::size_t kDigits = 64;
    digests.clear();
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.size() == text.size()) return false; // the last line, too, is ended
        text.remove_prefix(line.size() + 1);
        ObjectDigest digest{};
        const char* const end = line.data() + line.size();
        const auto [rest, error] = std::from_chars(line.data(), end, digest.identifier);
        if (error != std::errc() || end - rest < long{kDigits} + 2 || *rest != ' ' ||
            rest[kDigits + 1] != ' ')
            return false;
        digest.sha256.assign(rest + 1, kDigits);
        digest.class_name.assign(rest + kDigits + 2, end);
        if (digest.sha256.find_first_not_of("0123456789abcdef") != std::string::npos) return false;
        if (!digests.empty() && digests.back().identifier >= digest.identifier) return false;
        digests.push_back(std::move(digest));
    }
    return true;
}

std::vector<DigestDifference> compare_digests(const std::vector<ObjectDigest>& kept,
                                              const std::vector<ObjectDigest>& present) {
    std::vector<DigestDifference> differences;
    auto k = kept.begin();
    auto p = present.begin();
    const auto add = [&](DigestDifference::Kind kind, const ObjectDigest& digest) {
        differences.push_back({kind, digest.identifier, digest.class_name});
    };
    while (k != kept.end() || p != present.end()) {
        if (p == present.end() || (k != kept.end() && k->identifier < p->identifier)) {
            add(DigestDifference::is_missing, *k++);
        } else if (k == kept.end() || p->identifier < k->identifier) {
            add(DigestDifference::is_new, *p++);
        } else {
            if (k->sha256 != p->sha256) add(DigestDifference::differs, *p);
            ++k, ++p;
        }
    }
    return differences;
}

} // namespace velm
