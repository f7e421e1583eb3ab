#include "velm/platform/thread_local_object.h"

#include <algorithm>
#include <vector>

constinit thread_local velm::detail::ThreadSlots velm::detail::thread_slots = {nullptr, 0};

namespace {

using velm::detail::thread_slots;

std::atomic<int> slots_in_use{0};

// How many of the two owners have ended in this thread.
constinit thread_local int owners_ended = 0;

// Owns objects of a thread.
class ThreadObjects {
public:
    ThreadObjects() = default;
    ThreadObjects(const ThreadObjects&) = delete;
    ThreadObjects& operator=(const ThreadObjects&) = delete;

    ~ThreadObjects() {
        // A destructor may make further objects: they are destroyed in turn.
        while (!order_.empty()) {
            const int slot = order_.back();
            delete thread_slots.objects[slot];
            thread_slots.objects[slot] = nullptr;
            order_.erase(std::find(order_.begin(), order_.end(), slot));
        }
        delete[] thread_slots.objects;
        thread_slots = {nullptr, 0};
        ++owners_ended;
    }

    void made(int slot) { order_.push_back(slot); }

private:
    std::vector<int> order_; // of creation
};

// Each is made when first used, so that the second is made only after the first has ended: it owns
// the objects that the destructors of a worker's other thread_local objects make.
ThreadObjects& owner() {
    if (owners_ended == 0) {
        thread_local ThreadObjects objects;
        return objects;
    }
    thread_local ThreadObjects late_objects;
    return late_objects;
}

void reserve_slot(int slot) {
    if (slot < thread_slots.count) return;
    const int count = std::max(slot + 1, 2 * thread_slots.count);
    auto** const objects = new CNoTrackObject* [static_cast<std::size_t>(count)] {};
    std::copy_n(thread_slots.objects, thread_slots.count, objects);
    delete[] thread_slots.objects;
    thread_slots = {objects, count};
}

} // namespace

CNoTrackObject::~CNoTrackObject() = default;

CNoTrackObject* CThreadLocalObject::make(CNoTrackObject* (*factory)()) {
    int slot = slot_.load(std::memory_order_relaxed);
    if (slot < 0) {
        const int fresh = slots_in_use.fetch_add(1, std::memory_order_relaxed);
        if (slot_.compare_exchange_strong(slot, fresh, std::memory_order_relaxed)) slot = fresh;
    }
    CNoTrackObject* const object = factory();
    if (object == nullptr) return nullptr;
    reserve_slot(slot);
    if (owners_ended < 2) owner().made(slot);
    thread_slots.objects[slot] = object;
    return object;
}
