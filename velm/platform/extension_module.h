// AFX_MODULE_STATE, AFX_EXTENSION_MODULE, CDynLinkLibrary and the calls with which a shared library
// joins the application that loads it.
#pragma once

#include "velm/export.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/root_class.h"

/// The identity of a loaded library: any address within it.
using HINSTANCE = const void*;

class CDynLinkLibrary;

/// The framework's state of an application or library: the libraries that have joined it, the
/// youngest first.
struct AFX_MODULE_STATE {
    CDynLinkLibrary* m_libraryList = nullptr;
};

/// The record of a library.
struct AFX_EXTENSION_MODULE {
    BOOL bInitialized = 0;
    HINSTANCE hModule = nullptr;
};

/// The state in force in this thread: the application's unless AfxSetModuleState set another.
VELM_API AFX_MODULE_STATE* AfxGetModuleState();
VELM_API AFX_MODULE_STATE* AfxGetAppModuleState();
/// Sets the state for this thread, null for the application's; returns the one that was in force.
VELM_API AFX_MODULE_STATE* AfxSetModuleState(AFX_MODULE_STATE* state);

/// Keeps the handle in the record. A second call changes nothing. Returns 1.
VELM_API BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& module, HINSTANCE handle);
/// Deletes the CDynLinkLibrary objects that the library has in the state in force, or, with all
/// set, in the application's state too.
VELM_API void AfxTermExtensionModule(AFX_EXTENSION_MODULE& module, BOOL all = 0);

/// A library's entry in the list of the state in force: made by new, it enters itself and is
/// deleted by AfxTermExtensionModule. Made and deleted while libraries load and unload, by one
/// thread.
class VELM_API CDynLinkLibrary : public CObject {
public:
    explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& module);
    CDynLinkLibrary(const CDynLinkLibrary&) = delete;
    CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;
    ~CDynLinkLibrary() override;

    HINSTANCE m_hModule;
    CDynLinkLibrary* m_pNextDLL;

private:
    AFX_MODULE_STATE* state_;
};
