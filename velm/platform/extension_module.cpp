#include "velm/platform/extension_module.h"

namespace {

constinit AFX_MODULE_STATE application_state;
constinit thread_local AFX_MODULE_STATE* state_in_force = nullptr;

void delete_libraries(AFX_MODULE_STATE& state, HINSTANCE handle) {
    for (CDynLinkLibrary* library = state.m_libraryList; library != nullptr;) {
        CDynLinkLibrary* const next = library->m_pNextDLL;
        if (library->m_hModule == handle) delete library;
        library = next;
    }
}

} // namespace

AFX_MODULE_STATE* AfxGetAppModuleState() { return &application_state; }

AFX_MODULE_STATE* AfxGetModuleState() {
    return state_in_force != nullptr ? state_in_force : &application_state;
}

AFX_MODULE_STATE* AfxSetModuleState(AFX_MODULE_STATE* state) {
    AFX_MODULE_STATE* const previous = AfxGetModuleState();
    state_in_force = state;
    return previous;
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& module, HINSTANCE handle) {
    if (!module.bInitialized) module = {1, handle};
    return 1;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& module, BOOL all) {
    if (!module.bInitialized) return;
    delete_libraries(*AfxGetModuleState(), module.hModule);
    if (all) delete_libraries(application_state, module.hModule);
    module.bInitialized = 0;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& module)
    : m_hModule(module.hModule), m_pNextDLL(AfxGetModuleState()->m_libraryList),
      state_(AfxGetModuleState()) {
    state_->m_libraryList = this;
}

CDynLinkLibrary::~CDynLinkLibrary() {
    CDynLinkLibrary** link = &state_->m_libraryList;
    while (*link != nullptr && *link != this)
        link = &(*link)->m_pNextDLL;
    if (*link == this) *link = m_pNextDLL;
}
