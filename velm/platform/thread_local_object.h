// CNoTrackObject, CThreadLocalObject: one object per thread, made on first use.
#pragma once

#include "velm/export.h"

#include <atomic>

/// The base of per-thread objects.
class VELM_API CNoTrackObject {
public:
    virtual ~CNoTrackObject();

protected:
    CNoTrackObject() = default;
    CNoTrackObject(const CNoTrackObject&) = default;
    CNoTrackObject& operator=(const CNoTrackObject&) = default;
};

namespace velm::detail {

/// The objects of one thread, indexed by the slot of their CThreadLocalObject.
struct ThreadSlots {
    CNoTrackObject** objects;
    int count;
};

#if defined(__GNUC__) && defined(__ELF__)
__attribute__((tls_model("initial-exec")))
#endif
VELM_API extern constinit thread_local ThreadSlots thread_slots;

} // namespace velm::detail

/// A process-wide handle on an object of which each thread has its own.
///
/// The handle is made for static storage: it needs no code at load, has no destructor and keeps its
/// slot for the life of the process, so it may be used before and after any other static object.
///
/// A thread's objects are destroyed when the thread ends, the youngest first; the slot still holds
/// the object while its destructor runs and is empty afterwards. On the main thread that moment
/// comes before the destructors of static objects. An object made after that moment lives until the
/// process ends.
class VELM_API CThreadLocalObject {
public:
    constexpr CThreadLocalObject() = default;
    CThreadLocalObject(const CThreadLocalObject&) = delete;
    CThreadLocalObject& operator=(const CThreadLocalObject&) = delete;

    /// This thread's object; on the first call in a thread the factory makes it. Null if the
    /// factory gives null; a caller that can't go on without it calls AfxThrowInvalidArgException.
    CNoTrackObject* GetData(CNoTrackObject* (*factory)()) {
        CNoTrackObject* const object = GetDataNA();
        return object != nullptr ? object : make(factory);
    }

    /// This thread's object if it has one, else null: makes nothing. For code that may run after
    /// the thread's objects have been destroyed.
    CNoTrackObject* GetDataNA() const {
        const int slot = slot_.load(std::memory_order_relaxed);
        const velm::detail::ThreadSlots& slots = velm::detail::thread_slots;
        return static_cast<unsigned>(slot) < static_cast<unsigned>(slots.count)
                   ? slots.objects[slot]
                   : nullptr;
    }

private:
    CNoTrackObject* make(CNoTrackObject* (*factory)());

    std::atomic<int> slot_{-1};
};

/// The typed form of CThreadLocalObject: T derives from CNoTrackObject and is made by its default
/// constructor.
template <class T>
class CThreadLocal : public CThreadLocalObject {
public:
    T* GetData() {
        return static_cast<T*>(
            CThreadLocalObject::GetData([]() -> CNoTrackObject* { return new T; }));
    }
    T* GetDataNA() const { return static_cast<T*>(CThreadLocalObject::GetDataNA()); }
    T* operator->() { return GetData(); }
    operator T*() { return GetData(); }
};
