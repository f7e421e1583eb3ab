#include "velm/frame/thread_data.h"

#include "velm/frame/detail/thread_record.h"
#include "velm/frame/memory_pool.h"
#include "velm/frame/vec_rep.h"
#include "velm/frame/vec_rep_cache.h"
#include "velm/platform/critical_section.h"
#include "velm/platform/exception.h"

#include <memory>
#include <utility>

#if defined(__unix__)
#include <pthread.h>
#endif

constinit thread_local velm::detail::ThreadRecord velm::detail::thread_record = {nullptr, false};

namespace {

constexpr std::size_t cache_byte_limit = 0x1FA000;
constexpr std::size_t cache_count_limit = 10000;

constinit CThreadLocalObject thread_data_slot;
// Held while a record is made: its pools take their sizes from one shared counter.
constinit Concurrency::critical_section threadDataLock;

velmThreadLocalData* data_from_slot() {
    auto* const data =
        static_cast<velmThreadLocalData*>(thread_data_slot.GetData(MakeVelmThreadLocalData));
    if (data == nullptr) AfxThrowInvalidArgException();
    velm::detail::thread_record.data = data;
    return data;
}

} // namespace

velmThreadLocalData& velm::detail::required_thread_data() {
    velmThreadLocalData* const data = thread_record.data;
    return data != nullptr ? *data : *data_from_slot();
}

velmThreadLocalData* velm::detail::first_thread_data() {
    return thread_record.ended ? nullptr : data_from_slot();
}

CNoTrackObject* MakeVelmThreadLocalData() {
    std::unique_ptr<velmThreadLocalData> data(new velmThreadLocalData);
    data->fill();
    return data.release();
}

// The child of a fork has one thread: a lock held by another one would never be released.
void velmThreadLocalData::before_fork() {
    threadDataLock.lock();
    ERMemPool::hold_hand_over();
}
void velmThreadLocalData::after_fork() {
    ERMemPool::resume_hand_over();
    threadDataLock.unlock();
}

void velmThreadLocalData::fill() {
    const Concurrency::critical_section::scoped_lock lock(threadDataLock);
#if defined(__unix__)
    static constinit bool prepared_for_fork = false;
    if (!prepared_for_fork)
        prepared_for_fork = pthread_atfork(before_fork, after_fork, after_fork) == 0;
#endif
    fastPools = ERMemPool::make_thread_pools(this);
    repCache = new ERVecRepCache(cache_byte_limit, cache_count_limit);
}

velmThreadLocalData::~velmThreadLocalData() {
    if (identityMatrix != nullptr) deleteIdentityMatrix(std::exchange(identityMatrix, nullptr));
    if (scratchRep != nullptr) std::exchange(scratchRep, nullptr)->free();
    delete std::exchange(repCache, nullptr);
    ERMemPool::end_thread_pools(std::exchange(fastPools, nullptr));
    if (velm::detail::thread_record.data == this) velm::detail::thread_record = {nullptr, true};
}

double* GetThreadScratch(int n) {
    velmThreadLocalData& data = velm::detail::required_thread_data();
    const std::size_t bytes = sizeof(double) * static_cast<std::size_t>(n);
    if (data.scratchRep == nullptr || data.scratchCapacity < bytes) {
        if (data.scratchRep != nullptr) std::exchange(data.scratchRep, nullptr)->free();
        data.scratchCapacity = 0;
        data.scratchRep = ERVecRep::getRep(bytes, 1);
        data.scratchCapacity = bytes;
    }
    return static_cast<double*>(data.scratchRep->data());
}

ERMemPool* GetFastPools() { return velm::detail::required_thread_data().fastPools; }
