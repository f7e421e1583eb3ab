// velmThreadLocalData: the library's record of a thread, and the functions that reach it.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"
#include "velm/platform/thread_local_object.h"

#include <cstddef>

/// A thread's body cache, scratch buffer and small-block pools. It is made on the thread's first
/// use of the library and deleted when the thread ends; no other thread touches it.
class VELM_API velmThreadLocalData : public CNoTrackObject {
public:
    velmThreadLocalData(const velmThreadLocalData&) = delete;
    velmThreadLocalData& operator=(const velmThreadLocalData&) = delete;
    ~velmThreadLocalData() override;

    ERVecRepCache* repCache = nullptr; // null again during the record's destruction
    ERVecRep* scratchRep = nullptr;
    std::size_t scratchCapacity = 0; // bytes of the last request for scratchRep
    QuickAlgebra::ERMatrix<double>* identityMatrix = nullptr;
    /// Deletes identityMatrix, whose class is unknown on this floor; set together with it.
    void (*deleteIdentityMatrix)(QuickAlgebra::ERMatrix<double>*) = nullptr;
    ERMemPool* fastPools = nullptr; // 49: FastAllocate's index runs from 0 to 48

private:
    friend CNoTrackObject* MakeVelmThreadLocalData();
    velmThreadLocalData() = default;
    void fill();
    static void before_fork();
    static void after_fork();
};

/// Makes the record of the calling thread.
VELM_API CNoTrackObject* MakeVelmThreadLocalData();

/// The thread's buffer of n doubles, not cleared. It is overwritten by the next call in the thread
/// and may move then: don't hold it across a call that may use it.
VELM_API double* GetThreadScratch(int n);

/// The thread's 3 x 3 identity matrix, made on first use, deleted with the thread. Defined with the
/// matrices, in numerics/thread_identity_matrix.cpp.
VELM_API const QuickAlgebra::ERMatrix<double>& GetThreadIdentityMatrix();

/// The thread's pools of small blocks; pool i has items of 8 * (i + 1) bytes.
VELM_API ERMemPool* GetFastPools();
