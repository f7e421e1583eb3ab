// velm::detail::thread_data: fast access to the calling thread's record.
#pragma once

#include "velm/frame/thread_data.h"

namespace velm::detail {

/// The calling thread's record, reached without the platform layer.
struct ThreadRecord {
    velmThreadLocalData* data; // null before the first use and after the end
    bool ended;
};

#if defined(__GNUC__) && defined(__ELF__)
__attribute__((tls_model("initial-exec")))
#endif
extern constinit thread_local ThreadRecord thread_record;

/// Makes the record; null if the thread's record has ended. Throws CInvalidArgException* if it
/// can't be made.
velmThreadLocalData* first_thread_data();

/// The calling thread's record, made again if the first one has ended. Throws as first_thread_data
/// does.
velmThreadLocalData& required_thread_data();

/// The calling thread's record, made on first use. Null if it has ended: memory that the thread
/// frees then goes to the allocator.
inline velmThreadLocalData* thread_data() {
    velmThreadLocalData* const data = thread_record.data;
    return data != nullptr ? data : first_thread_data();
}

/// The calling thread's body cache; null while the record is torn down and after.
inline ERVecRepCache* thread_rep_cache() {
    const velmThreadLocalData* const data = thread_data();
    return data != nullptr ? data->repCache : nullptr;
}

} // namespace velm::detail
