// InitVelmDLL and CDynLinkLibraryVELM: how the library joins the application that loads it.
#pragma once

#include "velm/export.h"
#include "velm/platform/extension_module.h"

/// The library's entry in an application's list of libraries.
///
/// When the library is loaded it says so in the debug output ("VELM.DLL Initializing!\n") and, if
/// the application's own module state is in force, enters itself. It leaves when it is unloaded.
class VELM_API CDynLinkLibraryVELM : public CDynLinkLibrary {
public:
    CDynLinkLibraryVELM();
    ~CDynLinkLibraryVELM() override;
};

/// For a library of the host that uses this one and has a module state of its own: enters velm
/// there. Enters it unconditionally, a second time where it has already been entered.
VELM_API void InitVelmDLL();
