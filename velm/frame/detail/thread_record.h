// velm::detail::thread_data: the short way to the calling thread's record.
#pragma once

#include "velm/frame/thread_data.h"

namespace velm::detail {

/// The calling thread's record, without the way through the platform.
struct ThreadRecord {
    velmThreadLocalData* data; // null before the first use and after the end
    bool ended;
};

#if defined(__GNUC__) && defined(__ELF__)
__attribute__((tls_model("initial-exec")))
#endif
extern constinit thread_local ThreadRecord thread_record;

/// Makes the record; null if the thread's has ended. Throws CInvalidArgException* if there can be
/// none.
velmThreadLocalData* first_thread_data();

/// The calling thread's record, even where its first one has ended and a new one must be made.
/// Throws as first_thread_data does.
velmThreadLocalData& required_thread_data();

/// The calling thread's record, made on first use. Null if it has ended: what the thread lets go of
/// then goes to the allocator.
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
