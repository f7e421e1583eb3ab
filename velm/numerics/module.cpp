#include "velm/numerics/module.h"

#include "velm/platform/debug_output.h"

namespace {

constinit AFX_EXTENSION_MODULE velm_module;

// The record, ready even if a host's static initialiser runs before the library's own.
AFX_EXTENSION_MODULE& initialised_module() {
    AfxInitExtensionModule(velm_module, &velm_module);
    return velm_module;
}

enum class Reason { process_attach, process_detach };

// The library's entry point. Threads need nothing here: their records are made at first use and
// end with the thread.
int entry_point(Reason reason) {
    if (reason == Reason::process_attach) {
        OutputDebugStringA("VELM.DLL Initializing!\n");
        initialised_module();
        if (AfxGetModuleState() == AfxGetAppModuleState()) new CDynLinkLibraryVELM;
    } else {
        AfxTermExtensionModule(velm_module);
    }
    return 1;
}

struct EntryPointCaller {
    EntryPointCaller() { entry_point(Reason::process_attach); }
    ~EntryPointCaller() { entry_point(Reason::process_detach); }
};
VELM_INIT_FIRST const EntryPointCaller entry_point_caller;

} // namespace

CDynLinkLibraryVELM::CDynLinkLibraryVELM() : CDynLinkLibrary(initialised_module()) {}

CDynLinkLibraryVELM::~CDynLinkLibraryVELM() = default;

void InitVelmDLL() { new CDynLinkLibraryVELM; }

ERFactorialFactory& getFactiorielleFactory() {
    const HINSTANCE own = initialised_module().hModule;
    for (CDynLinkLibrary* l = AfxGetModuleState()->m_libraryList; l != nullptr; l = l->m_pNextDLL)
        if (l->m_hModule == own) return static_cast<CDynLinkLibraryVELM*>(l)->factory;
    return theFactorielleFactory;
}
