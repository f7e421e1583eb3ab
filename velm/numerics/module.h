// InitVelmDLL, CDynLinkLibraryVELM and getFactiorielleFactory: how the library joins the
// application that loads it.
#pragma once

#include "velm/export.h"
#include "velm/numerics/binomials.h"
#include "velm/platform/extension_module.h"

/// The library's entry in an application's list of libraries.
///
/// When the library is loaded it says so in the debug output ("VELM.DLL Initializing!\n") and, if
/// the application's own module state is in force, enters itself. It leaves when it is unloaded.
/// Each entry has a table of factorials of its own.
class VELM_API CDynLinkLibraryVELM : public CDynLinkLibrary {
public:
    CDynLinkLibraryVELM();
    ~CDynLinkLibraryVELM() override;

    ERFactorialFactory factory;
};

/// For a library of the host that uses this one and has a module state of its own: enters velm
/// there. Enters it unconditionally, a second time where it has already been entered.
VELM_API void InitVelmDLL();

/// The factorials of the library's youngest entry in the module state in force, and
/// theFactorielleFactory where there is no entry.
VELM_API ERFactorialFactory& getFactiorielleFactory();
