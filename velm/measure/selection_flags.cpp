#include "velm/measure/selection_flags.h"

#include "velm/frame/detail/archive_count.h"
#include "velm/platform/archive.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <numeric>

namespace {

constexpr int word_bits = 64;

std::size_t word_of(int index) { return static_cast<std::size_t>(index / word_bits); }
std::uint64_t mask_of(int index) { return std::uint64_t{1} << (index % word_bits); }
std::size_t words_for(int bits) {
    return static_cast<std::size_t>(bits / word_bits) + (bits % word_bits != 0 ? 1 : 0);
}

} // namespace

int gmBinaryFlagsEx::s_loading_version = gmBinaryFlagsEx::newest_version;

gmBinaryFlagsEx::gmBinaryFlagsEx(std::span<const int> selected) {
    for (const int index : selected)
        size_ = std::max(size_, index < INT_MAX ? index + 1 : 0);
    words_.resize(words_for(size_));
    for (const int index : selected) {
        if (index >= 0 && index < size_) set_bit(index, true);
    }
    count_ = static_cast<int>(selected.size());
}

bool gmBinaryFlagsEx::get(int index) const {
    return index >= 0 && index < size_ && (words_[word_of(index)] & mask_of(index)) != 0;
}

void gmBinaryFlagsEx::set_bit(int index, bool value) {
    std::uint64_t& word = words_[word_of(index)];
    word = value ? word | mask_of(index) : word & ~mask_of(index);
}

void gmBinaryFlagsEx::know_count(int count) {
    count_ = count;
    stale_ = false;
}

void gmBinaryFlagsEx::set(int index, bool value) {
    if (index < 0 || index == INT_MAX) return;
    const bool first = empty();
    if (index >= size_) {
        if (words_for(index + 1) > words_.capacity()) words_.reserve(2 * words_for(index + 1));
        resize(index + 1);
    }
    set_bit(index, value);
    if (first) {
        know_count(value ? 1 : 0);
    } else {
        mark_stale();
    }
}

void gmBinaryFlagsEx::set_all(bool value) {
    std::fill(words_.begin(), words_.end(), 0);
    if (value) fill(0, size_);
    know_count(value ? size_ : 0);
}

// Sets the bits from `from` to just before `to`.
void gmBinaryFlagsEx::fill(int from, int to) {
    for (; from < to && from % word_bits != 0; ++from)
        set_bit(from, true);
    for (; from <= to - word_bits; from += word_bits)
        words_[word_of(from)] = ~std::uint64_t{0};
    for (; from < to; ++from)
        set_bit(from, true);
}

// Drops the bits from a lower size on.
void gmBinaryFlagsEx::cut_to(int size) {
    size_ = size;
    words_.resize(words_for(size));
    if (size % word_bits != 0) words_.back() &= mask_of(size) - 1;
}

void gmBinaryFlagsEx::resize(int size) {
    size = std::max(size, 0);
    if (size < size_) {
        cut_to(size);
        mark_stale();
    } else {
        words_.resize(words_for(size));
        size_ = size;
    }
}

int gmBinaryFlagsEx::num_of_selected_points() const {
    if (stale_) {
        count_ = count_selected_points();
        stale_ = false;
    }
    return count_;
}

int gmBinaryFlagsEx::count_selected_points() const {
    return std::accumulate(words_.begin(), words_.end(), 0,
                           [](int sum, std::uint64_t word) { return sum + std::popcount(word); });
}

void gmBinaryFlagsEx::negate(int n) {
    const int before = size_;
    // A count from an archive may be any number: the difference can be beyond an int.
    if (!stale_) count_ = static_cast<int>(LONGLONG{n > 0 ? n : before} - count_);
    for (std::uint64_t& word : words_)
        word = ~word;
    cut_to(before);
    if (n > before) {
        resize(n);
        fill(before, n);
    }
}

void gmBinaryFlagsEx::or_(const gmBinaryFlagsEx& other) {
    if (empty()) {
        *this = other;
        return;
    }
    if (other.size_ > size_) resize(other.size_);
    for (std::size_t n = 0; n < other.words_.size(); ++n)
        words_[n] |= other.words_[n];
    mark_stale();
}

void gmBinaryFlagsEx::and_(const gmBinaryFlagsEx& other) {
    if (empty()) return;
    if (other.size_ < size_) cut_to(other.size_);
    for (std::size_t n = 0; n < words_.size(); ++n)
        words_[n] &= other.words_[n];
    mark_stale();
}

gmBinaryFlagsEx& gmBinaryFlagsEx::operator|=(const gmBinaryFlagsEx& other) {
    or_(other);
    return *this;
}

gmBinaryFlagsEx& gmBinaryFlagsEx::operator&=(const gmBinaryFlagsEx& other) {
    and_(other);
    return *this;
}

void gmBinaryFlagsEx::subtract(const gmBinaryFlagsEx& other) {
    const std::size_t common = std::min(words_.size(), other.words_.size());
    for (std::size_t n = 0; n < common; ++n)
        words_[n] &= ~other.words_[n];
    if (count_selected_points() == 0) {
        clear();
    } else {
        mark_stale();
    }
}

void gmBinaryFlagsEx::erase(const gmBinaryFlagsEx& other) {
    gmBinaryFlagsEx kept;
    kept.resize(size_);
    int size = 0;
    for (int index = 0; index < size_; ++index) {
        if (other.get(index)) continue;
        if (get(index)) kept.set_bit(size, true);
        ++size;
    }
    kept.cut_to(size);
    kept.know_count(kept.count_selected_points());
    *this = std::move(kept);
}

bool gmBinaryFlagsEx::operator==(const gmBinaryFlagsEx& other) const {
    return size_ == other.size_ && words_ == other.words_;
}

void gmBinaryFlagsEx::serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        store(archive);
    } else if (s_loading_version < 2) {
        serialize_old(archive);
    } else {
        load(archive);
    }
}

void gmBinaryFlagsEx::store(CArchive& archive) const {
    archive.WriteCount(static_cast<DWORD>(size_));
    for (int index = 0; index < size_; ++index)
        archive << static_cast<BYTE>(get(index));
    archive << static_cast<BYTE>(stale_) << static_cast<DWORD>(count_);
}

void gmBinaryFlagsEx::load(CArchive& archive) {
    const DWORD size = archive.ReadCount();
    if (size > archive.bytes_left()) archive.raise(CArchiveException::endOfFile);
    if (size > INT_MAX) archive.raise(CArchiveException::badIndex);
    gmBinaryFlagsEx read;
    read.resize(static_cast<int>(size));
    for (int index = 0; index < read.size_; ++index) {
        BYTE bit;
        archive >> bit;
        if (bit != 0) read.set_bit(index, true);
    }
    BYTE stale;
    DWORD count;
    archive >> stale >> count;
    read.stale_ = stale != 0;
    read.count_ = static_cast<int>(count);
    *this = std::move(read);
}

void gmBinaryFlagsEx::serialize_old(CArchive& archive) {
    const DWORD count = velm::detail::get_count(archive, 1);
    if (count == 0) {
        clear();
        return;
    }
    std::vector<BYTE> bytes(count);
    archive.get_bytes(bytes.data(), bytes.size());
    DWORD size;
    archive >> size;
    if (size > INT_MAX || (size + ULONGLONG{7}) / 8 > count)
        archive.raise(CArchiveException::badIndex);
    gmBinaryFlagsEx read;
    read.resize(static_cast<int>(size));
    for (int index = 0; index < read.size_; ++index) {
        const BYTE byte = bytes[static_cast<std::size_t>(index / 8)];
        if ((byte >> (index % 8) & 1) != 0) read.set_bit(index, true);
    }
    read.mark_stale();
    *this = std::move(read);
}
