// OutputDebugStringA, wsprintfA and the sink that a host sets for debug text.
#pragma once

#include "velm/export.h"

#include <cstddef>

/// Sends text to the debug output. It never reaches stdout or stderr: without a sink the text is
/// kept for the first sink that a host sets, up to velm::debug_output_kept bytes; text beyond that
/// is dropped. Any thread may call it; a null pointer is ignored.
VELM_API void OutputDebugStringA(const char* text);

/// Formats like snprintf into at most 1024 bytes, the closing NUL included; longer text is cut.
/// Returns the number of characters written without the NUL.
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
VELM_API int
wsprintfA(char* buffer, const char* format, ...);

namespace velm {

/// Receives debug text, one call at a time. It must not throw.
using DebugSink = void (*)(const char* text, void* context);

/// The most bytes kept while no sink has been set.
inline constexpr std::size_t debug_output_kept = 65536;

/// Sets the receiver of debug text, null for none; the first real sink gets the text kept until
/// then. The context is passed on and not owned.
VELM_API void set_debug_sink(DebugSink sink, void* context = nullptr);

} // namespace velm
