// velm::detail::DerivedCache: what an object has computed from itself and keeps. Not copied.
#pragma once

#include <memory>
#include <utility>

namespace velm::detail {

/// Nothing, or a T, which may be incomplete except where it is made. A copy of the owner starts
/// with nothing, and assignment drops what the target had: its T was another object's.
template <class T>
class DerivedCache {
public:
    DerivedCache() = default;
    DerivedCache(const DerivedCache&) noexcept {}
    DerivedCache& operator=(const DerivedCache&) noexcept {
        reset();
        return *this;
    }

    T* get() const { return held_.get(); }
    explicit operator bool() const { return held_ != nullptr; }
    T& operator*() const { return *held_; }
    T* operator->() const { return held_.get(); }

    template <class... Arguments>
    T& emplace(Arguments&&... arguments) {
        held_ = {new T(std::forward<Arguments>(arguments)...), [](T* held) { delete held; }};
        return *held_;
    }
    void reset() noexcept { held_.reset(); }

private:
    std::unique_ptr<T, void (*)(T*)> held_{nullptr, [](T*) {}};
};

} // namespace velm::detail
