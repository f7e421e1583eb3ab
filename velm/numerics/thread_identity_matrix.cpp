#include "velm/frame/detail/thread_record.h"
#include "velm/frame/thread_data.h"
#include "velm/numerics/matrix.h"

const ERMatrix<double>& GetThreadIdentityMatrix() {
    velmThreadLocalData& data = velm::detail::required_thread_data();
    if (data.identityMatrix == nullptr) {
        data.deleteIdentityMatrix = [](ERMatrix<double>* matrix) { delete matrix; };
        data.identityMatrix = new ERMatrix<double>(IdentityMatrix(3));
    }
    return *data.identityMatrix;
}
