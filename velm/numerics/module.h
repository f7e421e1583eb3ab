// InitVelmDLL, CDynLinkLibraryVELM and getFactiorielleFactory: how the library joins the
// application that loads it.
#pragma once

#include "velm/export.h"
#include "velm/numerics/binomials.h"
#include "velm/platform/extension_module.h"

/// The library's entry in an application's list of libraries.
///
/// When the library is loaded it writes "VELM.DLL Initializing!\n" to the debug output and, if the
/// application's own module state is in force, adds its entry. Unloading the library removes the
/// entry. Each entry has a table of factorials of its own.
class VELM_API CDynLinkLibraryVELM : public CDynLinkLibrary {
public:
    CDynLinkLibraryVELM();
    ~CDynLinkLibraryVELM() override;

    ERFactorialFactory factory;
};

/// For a library of the host that uses this one and has a module state of its own: adds an entry
/// for velm there. Adds it unconditionally, also a second time.
VELM_API void InitVelmDLL();

/// The factorials of the library's latest entry in the module state in force, or
/// theFactorielleFactory if there is no entry.
VELM_API ERFactorialFactory& getFactiorielleFactory();
