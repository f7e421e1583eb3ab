#include "velm/frame/isv_chain.h"

#include "velm/frame/isv_dlist.h"
#include "velm/frame/isv_slist.h"

template class velm::detail::IsvChain<ERIsvSlink>;
template class velm::detail::IsvChain<ERIsvDlink>;
