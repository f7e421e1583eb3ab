#include "velm/frame/ptr_vector.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

void** make_slots(int n) {
    return n > 0 ? new void* [static_cast<std::size_t>(n)] {} : nullptr;
}

} // namespace

ERPtrVector::ERPtrVector(int n) : npts(std::max(n, 0)), array(make_slots(n)) {}

ERPtrVector::ERPtrVector(int n, void* value) : ERPtrVector(n) { std::fill(begin(), end(), value); }

ERPtrVector::ERPtrVector(const ERPtrVector& other) : ERPtrVector(other.npts) {
    std::copy(other.begin(), other.end(), array);
}

ERPtrVector::ERPtrVector(ERPtrVector&& other) noexcept
    : npts(std::exchange(other.npts, 0)), array(std::exchange(other.array, nullptr)) {}

ERPtrVector::~ERPtrVector() { delete[] array; }

ERPtrVector& ERPtrVector::operator=(const ERPtrVector& other) {
    if (this != &other) *this = ERPtrVector(other);
    return *this;
}

ERPtrVector& ERPtrVector::operator=(ERPtrVector&& other) noexcept {
    std::swap(npts, other.npts);
    std::swap(array, other.array);
    return *this;
}

ERPtrVector& ERPtrVector::operator=(void* value) {
    std::fill(begin(), end(), value);
    return *this;
}

bool ERPtrVector::equals(const ERPtrVector& other) const {
    return std::equal(begin(), end(), other.begin(), other.end());
}

void ERPtrVector::reshape(int n) {
    n = std::max(n, 0);
    if (n == npts) return;
    void** const slots = make_slots(n);
    std::copy_n(array, std::min(npts, n), slots);
    delete[] array;
    array = slots;
    npts = n;
}

void ERPtrVector::resize(int n) { reshape(n); }
